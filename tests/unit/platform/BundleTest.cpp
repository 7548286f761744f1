#include "Bundle.h"

#include "TestSandbox.h"

#include <array>
#include <cstdlib>
#include <filesystem>
#include <gtest/gtest.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

using platform::Bundle;
using platform::PropertyList;

namespace {

constexpr const char* kExpectedBundle = "EXPECTED_BUNDLE";

// Runs a copy of this program that stands at `place` and looks for the bundle around it. Returns its exit
// status.
int statusOfCopy(const std::string& place, const char* expectedBundle) {
    const auto copy = sandbox::folder() + place;
    sandbox::makeFolder(std::filesystem::path(copy).parent_path());
    std::filesystem::copy_file(platform::mainExecutablePath(), copy);
    setenv(kExpectedBundle, expectedBundle, 1);
    std::string program = copy;
    std::string filter = "--gtest_filter=Bundle.IsTheOneAroundTheExecutable";
    std::array<char*, 3> arguments{program.data(), filter.data(), nullptr};
    pid_t child = 0;
    int status = -1;
    if (posix_spawn(&child, program.c_str(), nullptr, nullptr, arguments.data(), environ) == 0) {
        waitpid(child, &status, 0);
    }
    unsetenv(kExpectedBundle);
    return status;
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
