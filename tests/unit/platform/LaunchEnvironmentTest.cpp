#include "linux/LaunchEnvironment.h"

#include <cstdlib>
#include <gmock/gmock.h>

using testing::Contains;
using testing::Not;
using testing::StartsWith;

TEST(LaunchEnvironment, LeavesOutTheLibrariesOfItsOwnBundle) {
    auto libraryPath = [](const char* value) {
        setenv("LD_LIBRARY_PATH", value, 1);
        for (const auto& variable : platform::launchEnvironment(platform::Bundle{"/opt/Launcher.app"})) {
            if (variable.starts_with("LD_LIBRARY_PATH=")) {
                return variable.substr(variable.find('=') + 1);
            }
        }
        return std::string("(none)");
    };
    EXPECT_EQ(libraryPath("/opt/Launcher.app/Contents/lib:/usr/lib"), "/usr/lib");
    EXPECT_EQ(libraryPath("/a:/opt/Launcher.app/x:/b"), "/a:/b");
    EXPECT_EQ(libraryPath("/opt/Launcher.app"), "(none)");
    EXPECT_EQ(libraryPath("/opt/Launcher.app.old/lib"), "/opt/Launcher.app.old/lib");
    EXPECT_EQ(libraryPath(":/a::/b"), ":/a::/b"); // whatever is meant by that
}

TEST(LaunchEnvironment, LeavesOutWhatIsMeantForThisProgram) {
    setenv("DESKTOP_STARTUP_ID", "id", 1);
    setenv("XDG_ACTIVATION_TOKEN", "token", 1);
    setenv("DESKTOP_STARTUP_ID_OF_OTHERS", "id", 1);
    setenv("LD_LIBRARY_PATH", "/opt/lib:/usr/local/lib", 1); // this test lies in no bundle
    setenv("ODD", "a=b\nc", 1);
    auto variables = platform::launchEnvironment();
    EXPECT_THAT(variables, Not(Contains(StartsWith("DESKTOP_STARTUP_ID="))));
    EXPECT_THAT(variables, Not(Contains(StartsWith("XDG_ACTIVATION_TOKEN="))));
    EXPECT_THAT(variables, Contains("DESKTOP_STARTUP_ID_OF_OTHERS=id"));
    EXPECT_THAT(variables, Contains("LD_LIBRARY_PATH=/opt/lib:/usr/local/lib"));
    EXPECT_THAT(variables, Contains("ODD=a=b\nc"));
    EXPECT_THAT(variables, Contains(StartsWith("HOME=")));
}
