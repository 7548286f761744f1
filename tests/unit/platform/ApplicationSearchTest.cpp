#include "linux/ApplicationSearch.h"

#include "TestSandbox.h"

#include <filesystem>
#include <gtest/gtest.h>

using platform::findApplication;

namespace {

void makeBundle(const std::string& path, const std::string& identifier) {
    sandbox::writeFile(path + "/Contents/Info.plist",
                       "<plist version=\"1.0\"><dict><key>CFBundleIdentifier</key><string>" + identifier +
                           "</string></dict></plist>");
}

} // namespace

TEST(ApplicationSearch, FindsAnApplicationByItsIdentifier) {
    const auto applications = sandbox::root() + "/Applications";
    makeBundle(applications + "/Group/Deep/Tool.APP", "com.vantorel.Tool");
    makeBundle(applications + "/Other.app", "com.vantorel.Other");
    EXPECT_EQ(findApplication("com.vantorel.Tool"), applications + "/Group/Deep/Tool.APP");
    EXPECT_EQ(findApplication("COM.vantorel.tool"), applications + "/Group/Deep/Tool.APP");
    EXPECT_EQ(findApplication("com.vantorel"), std::nullopt);
    EXPECT_EQ(findApplication(""), std::nullopt);
}

TEST(ApplicationSearch, TheUsersOwnComesFirstAndTheTopBeforeTheDepth) {
    const auto applications = sandbox::root() + "/Applications";
    makeBundle(applications + "/A/Tool.app", "com.vantorel.Tool");
    makeBundle(applications + "/Tool.app", "com.vantorel.Tool");
    EXPECT_EQ(findApplication("com.vantorel.Tool"), applications + "/Tool.app");
    if (getuid() != 0) {
        makeBundle(sandbox::home() + "/Applications/Tool.app", "com.vantorel.Tool");
        EXPECT_EQ(findApplication("com.vantorel.Tool"), sandbox::home() + "/Applications/Tool.app");
    }
}

TEST(ApplicationSearch, LooksIntoNoBundleAndFollowsNoLinkedFolder) {
    const auto applications = sandbox::root() + "/Applications";
    makeBundle(applications + "/Outer.app/Inner.app", "com.vantorel.Inner");
    makeBundle(sandbox::root() + "/Elsewhere/Far.app", "com.vantorel.Far");
    sandbox::makeFolder(applications);
    std::filesystem::create_directory_symlink(sandbox::root() + "/Elsewhere", applications + "/Linked");
    std::filesystem::create_directory_symlink(".", applications + "/loop");
    EXPECT_EQ(findApplication("com.vantorel.Inner"), std::nullopt);
    EXPECT_EQ(findApplication("com.vantorel.Far"), std::nullopt);

    // A bundle itself may be a link.
    std::filesystem::create_directory_symlink(sandbox::root() + "/Elsewhere/Far.app",
                                              applications + "/Far.app");
    EXPECT_EQ(findApplication("com.vantorel.Far"), applications + "/Far.app");
}
