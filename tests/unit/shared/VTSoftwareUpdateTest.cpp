#include "VTSoftwareUpdate.h"

#include "Bundle.h"
#include "LogFixture.h"
#include "MainLoop.h"
#include "Platform.h"
#include "PrivateTmp.h"
#include "ProgramCopy.h"

#include <cstdlib>
#include <filesystem>
#include <gmock/gmock.h>
#include <latch>
#include <new>
#include <sys/stat.h>
#include <unistd.h>

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

constexpr const char* kVersionInside = "VERSION_INSIDE"; // set for the copies of this program
constexpr const char* kName = "Vantorel Software Update.app";

std::string installed() {
    return sandbox::root() + "/Applications/Vantorel/" + kName;
}

void makeUpdater(const std::string& bundle, const std::string& version) {
    sandbox::writeFile(
        bundle + "/Contents/Info.plist",
        "<plist version=\"1.0\"><dict>" +
            (version.empty() ? "" : "<key>CFBundleVersion</key><string>" + version + "</string>") +
            "</dict></plist>");
    sandbox::writeFile(bundle + "/Contents/version", version);
}

// Runs the test in a copy of this program that lies in a bundle with an updater of that version inside.
int statusOfCopy(const std::string& versionInside) {
    makeUpdater(sandbox::path("Launcher.app/Contents/Resources/") + kName, versionInside);
    return sandbox::statusOfCopy("Launcher.app/Contents/MacOS/Launcher", kVersionInside, versionInside);
}

class VTSoftwareUpdateTest : public LogTest {
protected:
    VTSoftwareUpdateTest() {
        temporary_ = sandbox::home() + "/temporary";
        sandbox::makeFolder(temporary_);
        ::chmod(temporary_.c_str(), 0700);
        ::setenv("TMPDIR", temporary_.c_str(), 1);
    }
    ~VTSoftwareUpdateTest() override { ::unsetenv("TMPDIR"); }

    std::string copied() const { return temporary_ + "/" + kName; }

private:
    std::string temporary_;
};

// A main thread that does what it is handed when the test says so.
class MainThread {
public:
    void runOne() { loop_->runOne(); }

private:
    std::shared_ptr<MainLoop> loop_ = std::make_shared<MainLoop>();
    platform::ScopedPlatform platform_{[this] {
        auto services = platform::current();
        services.mainThread = loop_;
        return services;
    }()};
};

} // namespace

TEST_F(VTSoftwareUpdateTest, WithoutAnyUpdaterThePathIsTheInstalledOnes) {
    EXPECT_EQ(VTSoftwareUpdate::updaterPath(), installed());
    EXPECT_FALSE(sandbox::exists(copied()));
    makeUpdater(installed(), "5");
    EXPECT_EQ(VTSoftwareUpdate::updaterPath(), installed());
}

TEST_F(VTSoftwareUpdateTest, ANewerOneInsideIsCopiedAndRun) {
    if (const char* inside = std::getenv(kVersionInside)) { // in the copy of this program
        makeUpdater(installed(), "5");
        makeUpdater(copied(), "older");
        sandbox::writeFile(copied() + "/Contents/of the older", "");
        EXPECT_EQ(VTSoftwareUpdate::updaterPath(), copied());
        EXPECT_EQ(sandbox::readFile(copied() + "/Contents/version"), inside);
        EXPECT_FALSE(sandbox::exists(copied() + "/Contents/of the older"));

        // Who asks for it waits for no copy, and opens it afterwards.
        std::latch released(1);
        fileManager().copyItemFailure = [&](const std::string&) {
            EXPECT_FALSE(platform::isMainThread());
            released.wait();
            return std::error_code();
        };
        MainThread mainThread;
        VTSoftwareUpdate().manualUpdateCheck();
        EXPECT_THAT(sandbox::workspace().events(), IsEmpty());
        released.count_down();
        mainThread.runOne();
        EXPECT_THAT(sandbox::workspace().events(), ElementsAre("open " + copied()));
        EXPECT_EQ(sandbox::readFile(copied() + "/Contents/version"), inside);
        fileManager().copyItemFailure = nullptr;

        // What cannot be deleted or copied is run as it is.
        sandbox::writeFile(copied() + "/Contents/version", "kept");
        fileManager().removeItemFailure = [](const std::string&) {
            return std::make_error_code(std::errc::permission_denied);
        };
        EXPECT_EQ(VTSoftwareUpdate::updaterPath(), copied());
        EXPECT_EQ(sandbox::readFile(copied() + "/Contents/version"), "kept");
        fileManager().removeItemFailure = nullptr;
        fileManager().copyItemFailure = [](const std::string&) {
            return std::make_error_code(std::errc::no_space_on_device);
        };
        EXPECT_EQ(VTSoftwareUpdate::updaterPath(), copied());
        EXPECT_FALSE(sandbox::exists(copied()));
        return;
    }
    EXPECT_EQ(statusOfCopy("6"), 0);
    EXPECT_EQ(statusOfCopy("6.0b1"), 0);
    EXPECT_NE(statusOfCopy("5"), 0); // the copy does look
}

TEST_F(VTSoftwareUpdateTest, OneInsideThatIsNotNewerIsLeftThere) {
    if (std::getenv(kVersionInside)) {
        for (const char* version : {"3", "3.0", "3.9.1", "4", "12"}) {
            makeUpdater(installed(), version);
            EXPECT_EQ(VTSoftwareUpdate::updaterPath(), installed()) << version;
        }
        EXPECT_FALSE(sandbox::exists(copied()));
        for (const char* version : {"", "2.9.9", "x9", "0"}) {
            makeUpdater(installed(), version);
            EXPECT_EQ(VTSoftwareUpdate::updaterPath(), copied()) << version;
        }
        std::filesystem::remove_all(installed());
        EXPECT_EQ(VTSoftwareUpdate::updaterPath(), copied());
        return;
    }
    EXPECT_EQ(statusOfCopy("3.2.1"), 0);
}

TEST_F(VTSoftwareUpdateTest, OneInsideWithoutAVersionIsNoNewerThanNone) {
    if (std::getenv(kVersionInside)) {
        EXPECT_EQ(VTSoftwareUpdate::updaterPath(), installed());
        return;
    }
    EXPECT_EQ(statusOfCopy(""), 0);
}

TEST_F(VTSoftwareUpdateTest, WithoutAPlaceForTheCopyThereIsNoPath) {
    if (std::getenv(kVersionInside)) { // in the copy of this program
        sandbox::inPrivateTmp([] {
            sandbox::makeFolder(sandbox::folder());
            // The folder of ours is somebody else's, and there is no cache folder.
            const auto ours = "/tmp/com.vantorel." + std::to_string(::geteuid());
            sandbox::makeFolder(ours);
            ::chmod(ours.c_str(), 0777);
            makeUpdater(platform::Bundle::main()->resourcePath() + "/" + kName, "6");
            EXPECT_EQ(VTSoftwareUpdate::updaterPath(), std::nullopt);
            // The log's folder is gone as well, which the log may say in between.
            constexpr const char* kMessage = "Unable to launch Software Update - path doesn't exist\n";
            EXPECT_THAT(output(VTSoftwareUpdate::launchSoftwareUpdate), testing::HasSubstr(kMessage));
            EXPECT_THAT(output(VTSoftwareUpdate::automaticallyCheckForUpdates), testing::HasSubstr(kMessage));
            EXPECT_THAT(sandbox::workspace().events(), IsEmpty());
        });
        return;
    }
    if (!sandbox::inPrivateTmp([] {})) {
        GTEST_SKIP() << "the system allows no private /tmp";
    }
    EXPECT_EQ(statusOfCopy("6"), 0);
}

TEST_F(VTSoftwareUpdateTest, AnExceptionEndsTheAutomaticCheckAlone) {
    if (std::getenv(kVersionInside)) { // in the copy of this program
        makeCurrentFile();
        fileManager().copyItemFailure = [](const std::string&) -> std::error_code { throw std::bad_alloc(); };
        const auto* logged = "Exception in +[VTSoftwareUpdate automaticallyCheckForUpdates]. "
                             "std::bad_alloc - std::bad_alloc.";
        EXPECT_EQ(output([] { onAnotherThread(VTSoftwareUpdate::automaticallyCheckForUpdates); }),
                  logged + std::string("\n"));
        VTLog::finishWriting();
        EXPECT_THAT(entries(1), ElementsAre(logged));
        return;
    }
    EXPECT_EQ(statusOfCopy("6"), 0);
}

TEST_F(VTSoftwareUpdateTest, TheUserMayAskForTheUpdater) {
    MainThread mainThread;
    sandbox::workspace().onEvent = [](const std::string&) { EXPECT_TRUE(platform::isMainThread()); };
    const auto printed = output([&] {
        VTSoftwareUpdate().manualUpdateCheck();
        mainThread.runOne();
    });
    sandbox::workspace().onEvent = nullptr;
    EXPECT_EQ(printed, "");
    EXPECT_THAT(sandbox::workspace().events(), ElementsAre("open " + installed()));
}

TEST_F(VTSoftwareUpdateTest, AnAutomaticCheckSaysWhyThereIsNone) {
    makeCurrentFile();
    EXPECT_EQ(output(VTSoftwareUpdate::automaticallyCheckForUpdates),
              "Unable to launch Software Update - updater bundle not found.\n");
    makeUpdater(installed(), "5"); // without a program
    EXPECT_EQ(output(VTSoftwareUpdate::automaticallyCheckForUpdates),
              "Unable to launch Software Update - executable path doesn't exist\n");
    VTLog::finishWriting();
    EXPECT_THAT(entries(1), ElementsAre("Unable to launch Software Update - updater bundle not found.",
                                        "Unable to launch Software Update - executable path doesn't exist"));
    EXPECT_THAT(sandbox::workspace().events(), IsEmpty());
}

TEST_F(VTSoftwareUpdateTest, ChecksAtStartUnlessThePreferenceIsZero) {
    makeUpdater(installed(), "5");
    const auto pipe = sandbox::folder() + "/arguments";
    ASSERT_EQ(::mkfifo(pipe.c_str(), 0600), 0);
    const auto program = installed() + "/Contents/MacOS/Vantorel Software Update";
    const auto count = sandbox::folder() + "/count";
    sandbox::writeFile(program,
                       "#!/bin/sh\necho started >> " + count + "\necho \"$# $1 $2\" > " + pipe + "\n");
    std::filesystem::permissions(program, std::filesystem::perms::owner_all);

    using platform::PropertyList;
    for (const auto& value : {PropertyList(false), PropertyList(0), PropertyList(0.0)}) {
        setPreferences({{"SUCheckAtStartup", value}});
        VTSoftwareUpdate().awakeFromNib();
    }
    const auto executable = platform::mainExecutablePath();
    const auto expected = "2 -checkpath " + executable.substr(0, executable.rfind('/')) + "\n";
    std::string starts;
    for (const auto& value : {PropertyList(true), PropertyList(1), PropertyList("0"), PropertyList("NO")}) {
        setPreferences({{"SUCheckAtStartup", value}});
        VTSoftwareUpdate().awakeFromNib();
        EXPECT_EQ(sandbox::readFile(pipe), expected); // waits for the updater
        starts += "started\n";
        EXPECT_EQ(sandbox::readFile(count), starts);
    }
    setPreferences({});
    VTSoftwareUpdate().startup();
    EXPECT_EQ(sandbox::readFile(pipe), expected);
    EXPECT_EQ(sandbox::readFile(count), starts + "started\n");
    EXPECT_THAT(sandbox::workspace().events(), IsEmpty()); // it stays in the background
}
