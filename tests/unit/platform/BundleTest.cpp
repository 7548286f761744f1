#include "Bundle.h"

#include "ProgramCopy.h"
#include "TestSandbox.h"

#include <cstdlib>
#include <filesystem>
#include <gtest/gtest.h>

using platform::Bundle;
using platform::PropertyList;

namespace {

constexpr const char* kExpectedBundle = "EXPECTED_BUNDLE";

// The status of a copy that stands at `place` and looks for the bundle around it.
int statusOfCopy(const std::string& place, const char* expectedBundle) {
    return sandbox::statusOfCopy(place, kExpectedBundle, expectedBundle);
}

} // namespace

TEST(Bundle, IsTheOneAroundTheExecutable) {
    if (const char* expected = std::getenv(kExpectedBundle)) {
        auto bundle = Bundle::main(); // in the copy
        EXPECT_EQ(bundle ? bundle->path : "", expected);
        return;
    }
    EXPECT_FALSE(Bundle::main());
    const auto applications = sandbox::folder() + "/Applications";
    EXPECT_EQ(
        statusOfCopy("/Applications/A Tool.app/Contents/MacOS/Tool", (applications + "/A Tool.app").c_str()),
        0);
    EXPECT_EQ(statusOfCopy("/Outer.app/Contents/MacOS/Inner.app/Contents/MacOS/Tool",
                           (sandbox::folder() + "/Outer.app/Contents/MacOS/Inner.app").c_str()),
              0);
    EXPECT_EQ(
        statusOfCopy("/Deep.app/Contents/MacOS/helpers/Tool", (sandbox::folder() + "/Deep.app").c_str()), 0);
    EXPECT_EQ(statusOfCopy("/Other.app/Contents/Resources/Tool", ""), 0);
    EXPECT_NE(statusOfCopy("/Wrong.app/Contents/MacOS/Tool", "/somewhere else"), 0); // the copy does look
}

TEST(Bundle, ExecutableIsTheRunningOneWithLinksResolved) {
    EXPECT_EQ(platform::mainExecutablePath(), std::filesystem::canonical("/proc/self/exe").native());
}

TEST(Bundle, ReadsItsInformationAfresh) {
    Bundle bundle{sandbox::folder() + "/Tool.app"};
    const auto file = bundle.path + "/Contents/Info.plist";
    EXPECT_EQ(bundle.infoDictionary(), PropertyList::Dictionary());
    sandbox::writeFile(
        file, "<plist version=\"1.0\"><dict><key>CFBundleName</key><string>Tool</string></dict></plist>");
    EXPECT_EQ(bundle.infoDictionary(), (PropertyList::Dictionary{{"CFBundleName", PropertyList("Tool")}}));
    for (const char* damaged : {"", "<plist><dict>", "<plist><array/></plist>"}) {
        sandbox::writeFile(file, damaged);
        EXPECT_EQ(bundle.infoDictionary(), PropertyList::Dictionary()) << damaged;
    }
}

TEST(Bundle, KeepsItsResourcesBelowContents) {
    EXPECT_EQ((Bundle{"/Applications/Tool.app"}.resourcePath()), "/Applications/Tool.app/Contents/Resources");
}
