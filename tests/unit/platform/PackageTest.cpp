#include "Package.h"

#include <gtest/gtest.h>

using platform::isPackageName;
using platform::lastPathComponent;
using platform::nameWithoutExtension;
using platform::pathExtension;

TEST(Package, ExtensionIsWhatFollowsTheLastDot) {
    EXPECT_EQ(pathExtension("Tool.app"), "app");
    EXPECT_EQ(pathExtension("/Applications/Tool.2.APP"), "APP");
    EXPECT_EQ(pathExtension("/Folder.bundle/Tool"), "");
    EXPECT_EQ(pathExtension("/Folder/Tool.app/"), "app");
    EXPECT_EQ(pathExtension("/Folder/Tool.app///"), "app");
    EXPECT_EQ(pathExtension("Tool."), "");
    EXPECT_EQ(pathExtension("Tool"), "");
    EXPECT_EQ(pathExtension(".hidden"), "");
    EXPECT_EQ(pathExtension(".hidden.app"), "app");
    EXPECT_EQ(pathExtension("/Folder/.app"), "");
    EXPECT_EQ(pathExtension("."), "");
    EXPECT_EQ(pathExtension(".."), "");
    EXPECT_EQ(pathExtension("/"), "");
    EXPECT_EQ(pathExtension(""), "");
}

TEST(Package, LastComponentIsWhatFollowsTheLastSlash) {
    EXPECT_EQ(lastPathComponent("/Applications/Tool.app"), "Tool.app");
    EXPECT_EQ(lastPathComponent("/Applications/Tool.app//"), "Tool.app");
    EXPECT_EQ(lastPathComponent("Tool.app"), "Tool.app");
    EXPECT_EQ(lastPathComponent("/Tool"), "Tool");
    EXPECT_EQ(lastPathComponent("/"), "/");
    EXPECT_EQ(lastPathComponent("//"), "/");
    EXPECT_EQ(lastPathComponent(""), "");
}

TEST(Package, NamesLoseTheirExtensionOnly) {
    EXPECT_EQ(nameWithoutExtension("/Applications/Purgel.app"), "Purgel");
    EXPECT_EQ(nameWithoutExtension("/Applications/Purgel.app//"), "Purgel");
    EXPECT_EQ(nameWithoutExtension("Guide.PDF"), "Guide");
    EXPECT_EQ(nameWithoutExtension("/Folder.bundle/Tool"), "Tool");
    EXPECT_EQ(nameWithoutExtension("Tool.2.app"), "Tool.2");
    EXPECT_EQ(nameWithoutExtension(".hidden"), ".hidden");
    EXPECT_EQ(nameWithoutExtension(".hidden.pdf"), ".hidden");
    EXPECT_EQ(nameWithoutExtension("/Folder/.app"), ".app");
    EXPECT_EQ(nameWithoutExtension("\xFF & Φ.app"), "\xFF & Φ");
    EXPECT_EQ(nameWithoutExtension("/"), "/");
    EXPECT_EQ(nameWithoutExtension(""), "");
}

TEST(Package, KnownTypesArePackagesInAnyCase) {
    for (const char* extension : {"app", "bundle", "framework", "plugin", "prefpane", "kext", "pkg", "mpkg",
                                  "rtfd", "APP", "PrefPane", "dSYM"}) {
        EXPECT_TRUE(isPackageName(std::string("Name.") + extension)) << extension;
        EXPECT_TRUE(isPackageName(std::string("/Library/Name.") + extension + "/")) << extension;
    }
}

TEST(Package, EverythingElseIsAFolder) {
    for (const char* name : {"Name", "Name.localized", "Name.appx", "Name.app.old", "Name.", "app", ".app",
                             "Name.app/Contents", "", "Name.\xFF"}) {
        EXPECT_FALSE(isPackageName(name)) << name;
    }
}
