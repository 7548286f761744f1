#include "VTBugReporter.h"

#include "Bundle.h"
#include "FakeMainThread.h"
#include "LogFixture.h"
#include "MainLoop.h"
#include "Platform.h"
#include "ProgramCopy.h"
#include "PropertyListSerialization.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <ctime>
#include <fcntl.h>
#include <filesystem>
#include <gmock/gmock.h>
#include <sys/stat.h>
#include <unistd.h>

using platform::PropertyList;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

namespace {

constexpr double kLaunch = 1000; // seconds since the reference date
constexpr const char* kHelper = " with bundle com.vantorel.BugReporter";

PropertyList date(double seconds) {
    return PropertyList::Date{seconds};
}

double now() {
    const std::chrono::duration<double> since1970 = std::chrono::system_clock::now().time_since_epoch();
    return since1970.count() - static_cast<double>(PropertyList::Date::kReferenceDate);
}

std::string userLogs(const std::string& name) {
    return sandbox::home() + "/Library/Logs/" + name;
}
std::string machineLogs(const std::string& name) {
    return sandbox::root() + "/Library/Logs/" + name;
}

// A crash log modified that long after the launch.
std::string makeLog(const std::string& folder, const std::string& name, double afterLaunch = 1) {
    auto path = folder + "/" + name;
    sandbox::writeFile(path, "crashed");
    const auto nanoseconds = static_cast<long>(
        (kLaunch + afterLaunch + static_cast<double>(PropertyList::Date::kReferenceDate)) * 1e3);
    const timespec time{nanoseconds / 1000, nanoseconds % 1000 * 1'000'000};
    const std::array<timespec, 2> times{time, time};
    ::utimensat(AT_FDCWD, path.c_str(), times.data(), 0);
    return path;
}

std::optional<std::string> check(const std::string& name = "Launcher") {
    return VTBugReporter::checkForCrashes(name);
}

struct {
    std::atomic<bool> areSkipped = false;
    std::atomic<time_t> last = 0; // seconds
} sleeps;

class VTBugReporterTest : public LogTest {
protected:
    VTBugReporterTest() {
        makeCurrentFile();
        sandbox::defaults().setObject(date(kLaunch), "launch");
    }

    // Entries of the log once they are written.
    static std::vector<std::string> logged() {
        VTLog::finishWriting();
        return entries(1);
    }
    static std::vector<std::string> opened() { return sandbox::workspace().events(); }

    static void expectNothingFound() {
        EXPECT_EQ(check(), std::nullopt);
        EXPECT_THAT(opened(), IsEmpty());
        EXPECT_THAT(logged(), IsEmpty());
    }
};

} // namespace

// Takes the place of the system's for the whole program, as a time-out's thread sleeps where no test can see
// it.
extern "C" int nanosleep(const timespec* time, timespec* left) {
    if (sleeps.areSkipped) {
        sleeps.last = time->tv_sec;
        return 0;
    }
    const int error = ::clock_nanosleep(CLOCK_REALTIME, 0, time, left);
    errno = error;
    return error == 0 ? 0 : -1;
}

TEST_F(VTBugReporterTest, FirstStartFindsNothing) {
    sandbox::defaults().setObject("yesterday", "launch"); // no date
    makeLog(userLogs("DiagnosticReports"), "Launcher_2011-05-01-101010_host.crash");
    expectNothingFound();
    EXPECT_EQ(VTBugReporter::checkForCrashes("Launcher", sandbox::home() + "/none.plist"), std::nullopt);
    EXPECT_THAT(opened(), IsEmpty());
}

TEST_F(VTBugReporterTest, AnOrderlyEndFindsNothing) {
    makeLog(userLogs("DiagnosticReports"), "Launcher_2011-05-01-101010_host.crash");
    for (double after : {0.0, 0.001, 5.0}) {
        sandbox::defaults().setObject(date(kLaunch + after), "exit");
        expectNothingFound();
    }
    sandbox::defaults().setObject(date(kLaunch - 0.001), "exit");
    EXPECT_TRUE(check());
}

TEST_F(VTBugReporterTest, HandsTheLogOfACrashToTheBugReporter) {
    const auto log = makeLog(userLogs("DiagnosticReports"), "Launcher_2011-05-01-101010_host.crash");
    makeLog(userLogs("CrashReporter"), "Launcher_2010-01-01-101010_host.crash", -1);
    EXPECT_EQ(check(), log);
    EXPECT_THAT(opened(), ElementsAre("open " + log + kHelper));
    EXPECT_THAT(logged(), ElementsAre("Application crashed on last launch"));
    EXPECT_THAT(sandbox::console().lines(), IsEmpty());
}

TEST_F(VTBugReporterTest, ACrashWithoutALogIsNotReported) {
    expectNothingFound();
    makeLog(userLogs("DiagnosticReports"), "Launcher_2011-05-01-101010_host.crash", 0); // not later
    expectNothingFound();
    makeLog(userLogs("DiagnosticReports"), "Launcher_2011-05-01-101010_host.crash", 0.002);
    EXPECT_TRUE(check());
}

TEST_F(VTBugReporterTest, LooksThroughFourFoldersInOrder) {
    const std::string name = "Launcher_2011-05-01-101010_host.crash";
    std::vector<std::string> logs;
    for (const auto& folder : {machineLogs("DiagnosticReports"), machineLogs("CrashReporter"),
                               userLogs("DiagnosticReports"), userLogs("CrashReporter")}) {
        logs.push_back(makeLog(folder, name));
        EXPECT_EQ(check(), logs.back());
    }
    makeLog(userLogs("CrashReporter"), name, -1); // too old to stop the search
    EXPECT_EQ(check(), logs[2]);
}

TEST_F(VTBugReporterTest, LooksAtTheLastOneInListingOrderOnly) {
    const auto folder = userLogs("DiagnosticReports");
    makeLog(folder, "Launcher_2011-05-01-101010_host.crash", 5);
    makeLog(folder, "Launcher_2011-05-02-101010_host.crash", -1);
    expectNothingFound();
    const auto last = makeLog(folder, "launcher_2011-05-03-101010_host.crash", 1);
    EXPECT_EQ(check(), last);
}

TEST_F(VTBugReporterTest, NamesBeginWithTheApplicationsAndAnUnderscore) {
    const auto folder = userLogs("DiagnosticReports");
    makeLog(folder, "LauncherHelper.crash");
    makeLog(folder, "Launcher.crash");
    makeLog(folder, "My Launcher_1.crash");
    expectNothingFound();
    const auto log = makeLog(folder, "launcher_1.crash");
    EXPECT_EQ(check(), log);
    EXPECT_EQ(check("LAUNCHER"), log);
    const auto other = makeLog(folder, "\xC3\x89tude_1.crash"); // É composed, é decomposed
    EXPECT_EQ(check("e\xCC\x81tude"), other);
    const auto quoted = makeLog(folder, "It's %@_1.crash");
    EXPECT_EQ(check("it's %@"), quoted);
}

TEST_F(VTBugReporterTest, WithoutANameTheMainBundleSaysIt) {
    if (const char* expected = std::getenv("EXPECTED_LOG_NAME")) { // in the copy of this program
        makeLog(userLogs("DiagnosticReports"), "LauncherTest_1.crash");
        makeLog(userLogs("DiagnosticReports"), "(null)_1.crash");
        const auto log = VTBugReporter::checkForCrashes();
        ASSERT_TRUE(log);
        EXPECT_THAT(*log, testing::EndsWith(expected));
        const auto helper = platform::Bundle::main()->resourcePath() + "/Bug Reporter.app";
        const auto with = sandbox::exists(helper) ? " with " + helper : kHelper;
        EXPECT_THAT(opened(), ElementsAre("open " + *log + with));
        return;
    }
    const auto bundle = sandbox::folder() + "/Launcher.app";
    const auto statusOfCopy = [](const char* expected) {
        return sandbox::statusOfCopy("Launcher.app/Contents/MacOS/Launcher", "EXPECTED_LOG_NAME", expected);
    };
    EXPECT_EQ(statusOfCopy("/(null)_1.crash"), 0);
    sandbox::writeFile(bundle + "/Contents/Info.plist", "<plist version=\"1.0\"><dict><key>CFBundleName</key>"
                                                        "<string>LauncherTest</string></dict></plist>");
    EXPECT_EQ(statusOfCopy("/LauncherTest_1.crash"), 0);
    sandbox::makeFolder(bundle + "/Contents/Resources/Bug Reporter.app"); // the class's own helper
    EXPECT_EQ(statusOfCopy("/LauncherTest_1.crash"), 0);
    EXPECT_NE(statusOfCopy("/other"), 0); // the copy does look
}

TEST_F(VTBugReporterTest, APreferenceKeepsTheReporterAway) {
    const auto log = makeLog(userLogs("DiagnosticReports"), "Launcher_1.crash");
    std::size_t disabled = 0;
    for (const auto& value : {PropertyList("1"), PropertyList(true), PropertyList(1),
                              PropertyList(std::uint64_t{1}), PropertyList(1.0)}) {
        setPreferences({{"disable-crash-reporter", value}});
        EXPECT_EQ(check(), log);
        EXPECT_THAT(opened(), IsEmpty());
        EXPECT_EQ(sandbox::console().lines(),
                  std::vector<std::string>(++disabled, "Crash reporter disabled"));
        const auto lines = logged();
        ASSERT_EQ(lines.size(), 2 * disabled);
        EXPECT_EQ(lines[2 * disabled - 2], "Application crashed on last launch");
        EXPECT_EQ(lines[2 * disabled - 1], "Crash reporter disabled");
    }
    std::size_t shown = 0;
    for (const auto& value : {PropertyList("YES"), PropertyList(2), PropertyList(false), PropertyList(0),
                              PropertyList("01"), PropertyList(1.5), PropertyList(PropertyList::Array{1})}) {
        setPreferences({{"disable-crash-reporter", value}});
        EXPECT_EQ(check(), log);
        EXPECT_EQ(opened().size(), ++shown);
    }
    setPreferences({});
    EXPECT_EQ(check(), log);
    EXPECT_EQ(opened().size(), ++shown);
    EXPECT_EQ(sandbox::console().lines().size(), disabled);
}

TEST_F(VTBugReporterTest, StartRecordsTheLaunchAfterItHasLooked) {
    const auto log = makeLog(userLogs("DiagnosticReports"), "Launcher_1.crash");
    const double before = now();
    VTBugReporter::startBugReporter("Launcher");
    EXPECT_EQ(opened().size(), 1U);
    const auto launch = sandbox::defaults().objectForKey("launch");
    ASSERT_TRUE(launch && launch->date());
    EXPECT_GE(launch->date()->secondsSinceReferenceDate, before);
    EXPECT_LE(launch->date()->secondsSinceReferenceDate, now());
    EXPECT_FALSE(sandbox::defaults().objectForKey("exit"));

    VTBugReporter::startBugReporter("Launcher"); // the log is no news any more
    EXPECT_EQ(opened().size(), 1U);
}

TEST_F(VTBugReporterTest, StopRecordsTheEnd) {
    VTBugReporter::startBugReporter("Launcher");
    EXPECT_EQ(sandbox::defaults().synchronizations, 1);
    VTBugReporter::stopBugReporter();
    EXPECT_EQ(sandbox::defaults().synchronizations, 2);
    const auto launch = sandbox::defaults().objectForKey("launch");
    const auto exit = sandbox::defaults().objectForKey("exit");
    ASSERT_TRUE(exit && exit->date());
    EXPECT_GE(exit->date()->secondsSinceReferenceDate, launch->date()->secondsSinceReferenceDate);
}

TEST_F(VTBugReporterTest, TellsTheDelegateOfACrash) {
    std::vector<std::string> told;
    auto delegate = [&](const std::string& log) {
        EXPECT_TRUE(FakeMainThread::isHere());
        told.push_back(log);
    };
    VTBugReporter::startBugReporter("Launcher", std::nullopt, delegate);
    EXPECT_THAT(told, IsEmpty()); // no crash

    sandbox::defaults().setObject(date(kLaunch), "launch");
    const auto log = makeLog(userLogs("DiagnosticReports"), "(null)_1.crash");
    onAnotherThread([&] { VTBugReporter::startBugReporterWithDelegate(delegate); });
    EXPECT_THAT(told, ElementsAre(log));
}

TEST_F(VTBugReporterTest, DoesNotWaitForTheDelegate) {
    const auto loop = std::make_shared<MainLoop>();
    auto services = platform::current();
    services.mainThread = loop;
    const platform::ScopedPlatform scoped(services);
    sandbox::defaults().setObject(date(kLaunch), "launch");
    const auto log = makeLog(userLogs("DiagnosticReports"), "Launcher_1.crash");
    std::vector<std::string> told;
    onAnotherThread([&] {
        VTBugReporter::startBugReporter("Launcher", std::nullopt,
                                        [&](const std::string& path) { told.push_back(path); });
    });
    EXPECT_THAT(told, IsEmpty());
    loop->runOne();
    EXPECT_THAT(told, ElementsAre(log));
}

TEST_F(VTBugReporterTest, KeepsItsDatesInAFile) {
    const auto file = sandbox::home() + "/stamps.plist";
    const auto log = makeLog(userLogs("DiagnosticReports"), "Launcher_1.crash");
    sandbox::writeFile(
        file, serializePropertyList(PropertyList(PropertyList::Dictionary{{"other", PropertyList("kept")},
                                                                          {"launch", date(kLaunch)}}),
                                    platform::PropertyListFormat::Xml));
    ::chmod(file.c_str(), 0640);
    sandbox::defaults().setObject(date(kLaunch + 1), "exit"); // of no concern
    VTBugReporter::startBugReporter("Launcher", file);
    EXPECT_THAT(opened(), ElementsAre("open " + log + kHelper));

    const double before = now();
    VTBugReporter::stopBugReporter(file);
    auto values = platform::dictionaryWithContentsOfFile(file);
    ASSERT_TRUE(values);
    EXPECT_EQ(stringForKey(*values, "other"), "kept");
    ASSERT_EQ(values->size(), 3U);
    // Fractions of a second survive, so that start and end can be told apart.
    EXPECT_GE(values->at("exit").date()->secondsSinceReferenceDate, before);
    EXPECT_GT(values->at("launch").date()->secondsSinceReferenceDate, before - 60);
    struct stat status {};
    ::stat(file.c_str(), &status);
    EXPECT_EQ(status.st_mode & 07777U, 0640U);
    EXPECT_EQ(sandbox::defaults().objectForKey("launch"), date(kLaunch));
    EXPECT_EQ(VTBugReporter::checkForCrashes("Launcher", file), std::nullopt);
}

TEST_F(VTBugReporterTest, AFileThatCannotBeReadIsReplaced) {
    const auto missing = sandbox::home() + "/new.plist";
    VTBugReporter::startBugReporter("Launcher", missing);
    ASSERT_TRUE(platform::dictionaryWithContentsOfFile(missing));
    EXPECT_EQ(platform::dictionaryWithContentsOfFile(missing)->size(), 1U);

    const auto damaged = sandbox::home() + "/damaged.plist";
    sandbox::writeFile(damaged, "not a list");
    VTBugReporter::stopBugReporter(damaged);
    const auto values = platform::dictionaryWithContentsOfFile(damaged);
    ASSERT_TRUE(values);
    EXPECT_EQ(values->size(), 1U);
    EXPECT_TRUE(values->at("exit").date());
    ASSERT_EQ(sandbox::console().lines().size(), 1U);
    EXPECT_THAT(sandbox::console().lines().front(),
                HasSubstr("could not be read and was kept as " + damaged + ".damaged-"));
}

TEST_F(VTBugReporterTest, AFileThatCannotBeWrittenIsLogged) {
    fileManager().writeAtomicallyFailure = [](const std::string& path) {
        return path.ends_with("/stamps.plist") ? std::make_error_code(std::errc::no_space_on_device)
                                               : std::error_code();
    };
    const auto printed = output([] {
        VTBugReporter::startBugReporter("Launcher", sandbox::home() + "/stamps.plist");
        VTBugReporter::stopBugReporter(sandbox::home() + "/stamps.plist");
    });
    EXPECT_THAT(printed, HasSubstr("+[VTBugReporter startBugReporter:plistPath:delegate:]"));
    EXPECT_THAT(printed, HasSubstr("+[VTBugReporter stopBugReporter:]"));
    sandbox::makeFolder(sandbox::home() + "/folder.plist");
    EXPECT_NE(output([] { VTBugReporter::stopBugReporter(sandbox::home() + "/folder.plist"); }), "");
    EXPECT_TRUE(std::filesystem::is_directory(sandbox::home() + "/folder.plist"));
}

TEST_F(VTBugReporterTest, OnlyAFileInAHomeIsHandedOver) {
    std::vector<std::string> looks;
    fileManager().onExecutableLook = [&](const std::string& path) { looks.push_back(path); };
    const auto file = sandbox::folder() + "/file";
    sandbox::writeFile(file, "");
    for (const char* path : {"/Library/Preferences/x.plist", "/users/alice/x.plist", "/Users", "/Users/",
                             "/Userss/alice/x", "Users", ""}) {
        VTBugReporter::chownPlist(path);
    }
    EXPECT_THAT(looks, IsEmpty());
    VTBugReporter::chownPlist(sandbox::folder() +
                              "/Users/nobody has this name/x.plist"); // nothing comes of it
    EXPECT_THAT(looks, ElementsAre("/usr/bin/chown"));
    fileManager().onExecutableLook = nullptr;
}

TEST_F(VTBugReporterTest, TheOwnersChangeHasFiveSeconds) {
    const auto loop = std::make_shared<MainLoop>();
    auto services = platform::current();
    services.mainThread = loop;
    const platform::ScopedPlatform scope(services);
    sleeps.areSkipped = true;
    VTBugReporter::chownPlist(sandbox::folder() + "/Users/nobody has this name/x.plist");
    loop->runOne(); // the time-out, which comes after the sleep
    EXPECT_EQ(sleeps.last, 5);
    sleeps.areSkipped = false;
}

TEST_F(VTBugReporterTest, HandsAFileInAHomeToTheHomesOwner) {
    if (::geteuid() != 0) {
        GTEST_SKIP() << "only root can give files away";
    }
    const auto ownerOf = [](const std::string& path) {
        struct stat status {};
        EXPECT_EQ(::stat(path.c_str(), &status), 0) << path;
        return status.st_uid;
    };
    constexpr uid_t kDaemon = 1; // the same on every Debian system
    const auto folder = sandbox::folder();
    for (const char* name : {"/Users/daemon/Library/Preferences/x.plist", "/Library/Preferences/x.plist",
                             "/users/daemon/x.plist", "/Users"}) {
        sandbox::makeFolder(folder + "/Users");
        if (std::string(name) != "/Users") {
            sandbox::writeFile(folder + name, "");
        }
        VTBugReporter::chownPlist(folder + name);
    }
    EXPECT_EQ(ownerOf(folder + "/Users/daemon/Library/Preferences/x.plist"), kDaemon);
    EXPECT_EQ(ownerOf(folder + "/Library/Preferences/x.plist"), 0U);
    EXPECT_EQ(ownerOf(folder + "/users/daemon/x.plist"), 0U);
    EXPECT_EQ(ownerOf(folder + "/Users"), 0U);
    EXPECT_EQ(ownerOf(folder + "/Users/daemon/Library/Preferences"), 0U);

    // The first one counts.
    sandbox::makeFolder(folder + "/Users/daemon/Users/bin");
    const auto stamps = folder + "/Users/daemon/Users/bin/stamps.plist";
    VTBugReporter::startBugReporter("Launcher", stamps);
    EXPECT_EQ(ownerOf(stamps), kDaemon);
    std::filesystem::remove(stamps);
    VTBugReporter::stopBugReporter(stamps);
    EXPECT_EQ(ownerOf(stamps), kDaemon);
    VTBugReporter::chownPlist(folder + "/Users/nobody has this name/x.plist"); // nothing comes of it
}
