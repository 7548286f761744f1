#include "linux/RunningApplications.h"

#include "Platform.h"
#include "TestSandbox.h"
#include "ToolBundle.h"
#include "linux/FileDescriptor.h"
#include "linux/LaunchEnvironment.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <gmock/gmock.h>
#include <latch>
#include <poll.h>
#include <set>
#include <sstream>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

using platform::RunningApplication;
using platform::RunningApplications;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::SizeIs;

namespace {

// Does this process hold a descriptor of that one?
bool isHeld(pid_t process) {
    const auto line = "\nPid:\t" + std::to_string(process) + '\n';
    for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fdinfo")) {
        try {
            if (sandbox::readFile(entry.path()).find(line) != std::string::npos) {
                return true;
            }
        } catch (const std::ios::failure&) {
            continue; // closed meanwhile
        }
    }
    return false;
}

class RunningApplicationsTest : public testing::Test {
protected:
    bool open(const std::string& bundle) { return running.open(bundle, platform::launchEnvironment()); }

    // Waits until this many ends have been reported, and returns the bundles.
    std::vector<std::string> ends(std::size_t count) {
        std::unique_lock lock(mutex);
        changed.wait(lock, [&] { return reports.size() >= count; });
        std::vector<std::string> bundles;
        for (const auto& report : reports) {
            bundles.push_back(report.bundlePath);
        }
        return bundles;
    }
    // How long after `ended` the last of the ends was reported.
    std::chrono::steady_clock::duration delaySince(std::chrono::steady_clock::time_point ended) {
        std::lock_guard lock(mutex);
        return reportedAt - ended;
    }
    std::size_t reported() {
        std::lock_guard lock(mutex);
        return reports.size();
    }
    // For good, and not only for as long as a look at the process takes, of which this waits for the end.
    bool isWatched(pid_t process) {
        if (!isHeld(process)) {
            return false;
        }
        running.processesIn("");
        return isHeld(process);
    }

    std::mutex mutex;
    std::condition_variable changed;
    std::vector<RunningApplication> reports;
    std::chrono::steady_clock::time_point reportedAt;
    std::function<void()> onReport = [] {};
    RunningApplications running{[this](const RunningApplication& ended) {
        if (!ended.bundlePath.starts_with(sandbox::root())) {
            return; // other tests start applications too
        }
        const auto now = std::chrono::steady_clock::now();
        onReport();
        std::lock_guard lock(mutex);
        reportedAt = now;
        reports.push_back(ended);
        changed.notify_all();
    }};
};

void waitUntil(const std::function<bool()>& holds) {
    while (!holds()) {
        std::this_thread::yield();
    }
}

std::ptrdiff_t threads() {
    const std::filesystem::directory_iterator tasks("/proc/self/task");
    return std::distance(begin(tasks), end(tasks));
}

bool isReal(pid_t process) {
    std::error_code error;
    return std::filesystem::read_symlink("/proc/" + std::to_string(process) + "/exe", error).filename() ==
           "real";
}

// Of several delays, so that a moment in which the machine is busy does not count.
constexpr std::size_t kEnds = 9;
constexpr std::chrono::milliseconds kSoon{250};

std::chrono::milliseconds median(std::vector<std::chrono::steady_clock::duration> delays) {
    std::ranges::sort(delays);
    return std::chrono::ceil<std::chrono::milliseconds>(delays.at(delays.size() / 2));
}

void waitForEnd(const platform::FileDescriptor& process) {
    pollfd end{.fd = process.get(), .events = POLLIN, .revents = 0};
    ASSERT_EQ(::poll(&end, 1, -1), 1);
}

// Leaves no descriptor to whoever asks for the home folder, as happens just before a program is started.
struct UsersWhoTakeAllDescriptors : FakeUsers {
    std::optional<std::string> homeDirectory() override {
        for (int descriptor = 0; (descriptor = ::fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, 0)) >= 0;) {
            taken.emplace_back(descriptor);
        }
        return FakeUsers::homeDirectory();
    }
    std::vector<platform::FileDescriptor> taken;
};

bool hasChildren() {
    return ::waitpid(-1, nullptr, WNOHANG) != -1;
}

} // namespace

TEST_F(RunningApplicationsTest, StartsAnApplicationApartFromThisProgram) {
    setenv("DESKTOP_STARTUP_ID", "id", 1);
    setenv("KEPT", "as it is", 1);
    const auto bundle =
        toolbundle::make("Notes", "#!/bin/sh\n"
                                  "exec >\"${0%/Contents/*}/notes\"\n"
                                  "pwd; echo \"$KEPT\"; echo \"[$DESKTOP_STARTUP_ID]\"\n"
                                  "readlink /proc/$$/fd/0 /proc/$$/fd/2\n"
                                  "[ -e /proc/$$/fd/50 ] && echo inherited || echo clean\n"
                                  "cut -d' ' -f1,6 /proc/$$/stat | tr ' ' '\\n' | uniq | wc -l\n");
    const int inherited = ::fcntl(STDERR_FILENO, F_DUPFD, 50); // without close-on-exec
    ASSERT_EQ(inherited, 50);
    EXPECT_TRUE(open(bundle));
    EXPECT_THAT(ends(1), ElementsAre(bundle));
    ::close(inherited);
    EXPECT_EQ(reports.front().bundleIdentifier, "com.vantorel.Notes");
    EXPECT_FALSE(hasChildren());
    std::istringstream notes(sandbox::readFile(bundle + "/notes"));
    std::vector<std::string> lines;
    for (std::string line; std::getline(notes, line);) {
        lines.push_back(line);
    }
    EXPECT_THAT(lines,
                ElementsAre(sandbox::home(), "as it is", "[]", "/dev/null", "/dev/null", "clean", "1"));
}

TEST_F(RunningApplicationsTest, StartsAnApplicationOnce) {
    const auto bundle = toolbundle::makeWaiting("Once");
    EXPECT_TRUE(open(bundle));
    EXPECT_FALSE(open(bundle));
    std::filesystem::create_symlink(bundle, sandbox::root() + "/Link.app");
    EXPECT_FALSE(open(sandbox::root() + "/Link.app"));
    EXPECT_THAT(running.processesIn(bundle), SizeIs(1));
    toolbundle::finish(bundle);
    EXPECT_THAT(ends(1), ElementsAre(bundle));
    EXPECT_TRUE(open(bundle));
    toolbundle::finish(bundle);
    EXPECT_THAT(ends(2), ElementsAre(bundle, bundle));
}

TEST_F(RunningApplicationsTest, StartsOneThatRunsAgainForAFile) {
    const auto bundle = toolbundle::make("Reader", "#!/bin/sh\necho \"$# $0\" > \"$1\"\n");
    for (const char* name : {"/first file", "/second file"}) {
        ASSERT_EQ(mkfifo((sandbox::folder() + name).c_str(), 0600), 0);
        // The first one runs until somebody reads what it writes.
        EXPECT_TRUE(running.open(bundle, platform::launchEnvironment(), {sandbox::folder() + name}));
    }
    for (const char* name : {"/second file", "/first file"}) {
        EXPECT_EQ(sandbox::readFile(sandbox::folder() + name), "1 " + bundle + "/Contents/MacOS/Reader\n");
    }
    EXPECT_EQ(ends(1), std::vector<std::string>{bundle});
}

TEST_F(RunningApplicationsTest, TwoAtOnceStartOneProcess) {
    const auto bundle = toolbundle::makeWaiting("Race");
    std::atomic<int> started = 0;
    {
        std::vector<std::jthread> callers;
        for (int i = 0; i < 4; ++i) {
            callers.emplace_back([&] { started += open(bundle) ? 1 : 0; });
        }
    }
    EXPECT_EQ(started, 1);
    EXPECT_THAT(running.processesIn(bundle), SizeIs(1));
    toolbundle::finish(bundle);
    ends(1);
}

TEST_F(RunningApplicationsTest, OneThatSomebodyElseStartedIsNotStartedAgain) {
    const auto bundle = toolbundle::makeWaiting("Other");
    toolbundle::Process process({bundle + "/Contents/MacOS/Other"});
    waitUntil([&] { return !running.processesIn(bundle).empty(); });
    EXPECT_FALSE(open(bundle));
    EXPECT_TRUE(isWatched(process.id())); // now that it has been opened from here
    toolbundle::finish(bundle);
    process.wait();
    EXPECT_THAT(ends(1), ElementsAre(bundle));
}

TEST_F(RunningApplicationsTest, EndsWithItsLastProcess) {
    // A wrapper that starts the real program and ends.
    const auto bundle =
        toolbundle::make("Wrapper", "#!/bin/sh\n\"${0%/*}/real\" \"${0%/Contents/*}/gate\" &\n");
    std::filesystem::copy_file("/bin/cat", bundle + "/Contents/MacOS/real");
    std::atomic<bool> finished = false;
    std::atomic<bool> tooEarly = false;
    onReport = [&] { tooEarly = !finished; };
    EXPECT_TRUE(open(bundle));
    // The real program is watched once the wrapper's end has been noticed.
    waitUntil([&] {
        const auto processes = running.processesIn(bundle);
        return processes.size() == 1 && isReal(processes.front()) && isWatched(processes.front());
    });
    finished = true;
    toolbundle::finish(bundle);
    EXPECT_THAT(ends(1), ElementsAre(bundle));
    EXPECT_FALSE(tooEarly);
}

TEST_F(RunningApplicationsTest, TheEndOfOneThatWasOpenedIsToldSoon) {
    const auto bundle = toolbundle::makeWaiting("Opened");
    std::vector<std::chrono::steady_clock::duration> delays;
    for (std::size_t i = 1; i <= kEnds; ++i) {
        ASSERT_TRUE(open(bundle));
        const auto process = running.processesIn(bundle).at(0);
        const platform::FileDescriptor handle(static_cast<int>(::syscall(SYS_pidfd_open, process, 0)));
        ASSERT_TRUE(handle);
        toolbundle::finish(bundle);
        waitForEnd(handle);
        const auto ended = std::chrono::steady_clock::now();
        ends(i);
        delays.push_back(delaySince(ended));
    }
    EXPECT_LT(median(delays), kSoon);
}

TEST_F(RunningApplicationsTest, TheEndOfOneThatSomebodyElseStartedIsToldSoon) {
    const auto bundle = toolbundle::makeWaiting("Found");
    running.setLooksForOthers(true);
    std::vector<std::chrono::steady_clock::duration> delays;
    for (std::size_t i = 1; i <= kEnds; ++i) {
        toolbundle::Process process({bundle + "/Contents/MacOS/Found"});
        waitUntil([&] { return isWatched(process.id()); });
        toolbundle::finish(bundle);
        EXPECT_TRUE(process.wait());
        const auto ended = std::chrono::steady_clock::now();
        ends(i);
        delays.push_back(delaySince(ended));
    }
    EXPECT_LT(median(delays), kSoon);
}

TEST_F(RunningApplicationsTest, OneThatCouldNotBeWatchedIsNotStarted) {
#ifdef __SANITIZE_ADDRESS__
    GTEST_SKIP() << "the address sanitizer needs descriptors for itself";
#endif
    const auto bundle = toolbundle::makeWaiting("Unwatched");
    auto services = platform::current();
    auto users = std::make_shared<UsersWhoTakeAllDescriptors>();
    services.users = users;
    platform::install(services);
    rlimit allowed{};
    ASSERT_EQ(::getrlimit(RLIMIT_NOFILE, &allowed), 0);
    allowed.rlim_cur = std::min<rlim_t>(allowed.rlim_cur, 256);
    ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &allowed), 0);

    EXPECT_TRUE(open(bundle));
    EXPECT_FALSE(hasChildren());
    EXPECT_THAT(users->taken, Not(IsEmpty()));
    users->taken.clear();
    EXPECT_THAT(ends(1), ElementsAre(bundle));
    EXPECT_THAT(sandbox::console().lines(), ElementsAre("Unable to start " + bundle + ": " + bundle +
                                                        "/Contents/MacOS/Unwatched: Too many open files"));
}

TEST_F(RunningApplicationsTest, OneThatCannotBeStartedHasEnded) {
    const auto missing = toolbundle::make("Missing", "");
    std::filesystem::remove(missing + "/Contents/MacOS/Missing");
    const auto noProgram = toolbundle::make("NoProgram", "");
    std::filesystem::permissions(noProgram + "/Contents/MacOS/NoProgram", std::filesystem::perms::owner_read);
    const auto outside = toolbundle::make("Outside", "");
    std::filesystem::remove(outside + "/Contents/MacOS/Outside");
    std::filesystem::create_symlink("/bin/true", outside + "/Contents/MacOS/Outside");
    for (const auto& bundle : {missing, noProgram, outside}) {
        EXPECT_TRUE(open(bundle));
    }
    EXPECT_THAT(ends(3), testing::UnorderedElementsAre(missing, noProgram, outside));
    EXPECT_THAT(
        sandbox::console().lines(),
        ElementsAre("Unable to start " + missing + ": there is no program at " + missing +
                        "/Contents/MacOS/Missing",
                    "Unable to start " + noProgram + ": " + noProgram +
                        "/Contents/MacOS/NoProgram: Permission denied",
                    AllOf(HasSubstr("Unable to start " + outside), HasSubstr("leads out of the bundle"))));
}

TEST_F(RunningApplicationsTest, AnEndThatIsHeldIsReportedLater) {
    const auto bundle = toolbundle::make("Held", "#!/bin/sh\n");
    std::atomic<bool> released = false;
    std::atomic<bool> tooEarly = false;
    onReport = [&] { tooEarly = !released; };
    auto first = running.holdTermination(bundle);
    auto second = running.holdTermination(bundle);
    EXPECT_TRUE(open(bundle));
    waitUntil([&] { return running.processesIn(bundle).empty() && !hasChildren(); });
    first.reset();

    // Another application's end does not wait.
    const auto other = toolbundle::make("Free", "#!/bin/sh\n");
    released = true; // for the other one
    EXPECT_TRUE(open(other));
    EXPECT_THAT(ends(1), ElementsAre(other));
    second.reset();
    EXPECT_THAT(ends(2), ElementsAre(other, bundle));
    EXPECT_FALSE(tooEarly);
}

TEST_F(RunningApplicationsTest, AnEndThatIsHeldIsForgottenWhenItStartsAgain) {
    const auto bundle = toolbundle::make("Again", "#!/bin/sh\n");
    auto held = running.holdTermination(bundle);
    EXPECT_TRUE(open(bundle));
    waitUntil([&] { return running.processesIn(bundle).empty() && !hasChildren(); });
    toolbundle::makeWaiting("Again");
    EXPECT_TRUE(open(bundle));
    held.reset();
    toolbundle::finish(bundle);
    EXPECT_THAT(ends(1), ElementsAre(bundle));

    // The end of another shows that nothing was left behind.
    const auto other = toolbundle::make("Another", "#!/bin/sh\n");
    EXPECT_TRUE(open(other));
    EXPECT_THAT(ends(2), ElementsAre(bundle, other));
}

TEST_F(RunningApplicationsTest, FindsOthersOnlyWhenAsked) {
    const auto bundle = toolbundle::makeWaiting("Terminal");
    toolbundle::Process process({bundle + "/Contents/MacOS/Terminal"});
    waitUntil([&] { return !running.processesIn(bundle).empty(); });
    EXPECT_FALSE(isWatched(process.id()));
    running.setLooksForOthers(true);
    waitUntil([&] { return isWatched(process.id()); });
    running.setLooksForOthers(false); // those that are known stay known
    toolbundle::finish(bundle);
    EXPECT_THAT(ends(1), ElementsAre(bundle));
    EXPECT_FALSE(isWatched(process.id()));
    EXPECT_TRUE(process.wait()); // who started it is left to take notice
}

TEST_F(RunningApplicationsTest, ListsWhatRuns) {
    const auto bundle = toolbundle::makeWaiting("Listed");
    EXPECT_THAT(running.list(), Not(Contains(RunningApplication{bundle, "com.vantorel.Listed"})));
    EXPECT_TRUE(open(bundle));
    EXPECT_THAT(running.list(), Contains(RunningApplication{bundle, "com.vantorel.Listed"}));
    toolbundle::finish(bundle);
    ends(1);
    EXPECT_THAT(running.list(), Not(Contains(RunningApplication{bundle, "com.vantorel.Listed"})));
}

TEST_F(RunningApplicationsTest, KnowsProcessesByNameTheLastOpenedFirst) {
    const auto one = toolbundle::makeWaiting("Twin");
    const auto other = toolbundle::makeWaiting("Group/TWIN");
    EXPECT_THAT(running.processesNamed("Twin"), IsEmpty());
    EXPECT_TRUE(open(one));
    EXPECT_TRUE(open(other));
    const auto ofOne = running.processesIn(one).front();
    const auto ofOther = running.processesIn(other).front();
    EXPECT_THAT(running.processesNamed("twin"), ElementsAre(ofOther, ofOne));
    EXPECT_FALSE(open(one));
    EXPECT_THAT(running.processesNamed("twin"), ElementsAre(ofOne, ofOther));
    EXPECT_THAT(running.processesNamed("Twin.app"), IsEmpty());
    toolbundle::finish(one);
    toolbundle::finish(other);
    ends(2);
}

TEST_F(RunningApplicationsTest, ManyEndsLeaveNothingBehind) {
    const auto bundle = toolbundle::make("Many", "#!/bin/sh\n");
    open(bundle);
    ends(1);
    auto descriptors = [] { return std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {}); };
    const auto before = descriptors();
    for (std::size_t i = 2; i <= 100; ++i) {
        EXPECT_TRUE(open(bundle));
        ends(i);
    }
    EXPECT_EQ(descriptors(), before);
    EXPECT_FALSE(hasChildren());
    EXPECT_EQ(reported(), 100U);
}

TEST_F(RunningApplicationsTest, OnceStoppedItWatchesNoMore) {
    std::latch atEnd(1);
    std::jthread other(
        [&atEnd] { atEnd.wait(); }); // with a program's first thread a sanitizer starts another
    const auto before = threads();
    running.setLooksForOthers(true);
    EXPECT_EQ(threads(), before + 1);
    EXPECT_TRUE(running.stop(std::chrono::minutes(1)));
    waitUntil([&] { return threads() == before; }); // the system's list is a moment behind
    running.setLooksForOthers(true);
    EXPECT_TRUE(open(toolbundle::make("Late", "#!/bin/sh\n")));
    EXPECT_EQ(threads(), before);
    EXPECT_TRUE(running.stop(std::chrono::minutes(1)));
    waitUntil([] { return ::waitpid(-1, nullptr, 0) < 0; }); // nobody else collects it any more
    EXPECT_EQ(reported(), 0U);
    atEnd.count_down();
}

TEST_F(RunningApplicationsTest, AStuckThreadIsNotWaitedForToTheEnd) {
    std::latch stuck(1);
    std::latch released(1);
    onReport = [&] {
        stuck.count_down();
        released.wait();
    };
    EXPECT_TRUE(open(toolbundle::make("Short", "#!/bin/sh\n")));
    stuck.wait();
    EXPECT_FALSE(running.stop(std::chrono::milliseconds(1)));
    released.count_down();
    EXPECT_TRUE(running.stop(std::chrono::minutes(1)));
}
