#include "LogFixture.h"

#include "Exception.h"

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

using VTLogLifecycle = LogTest;
using Texts = std::vector<std::string>;

namespace {

void postWillTerminate() {
    platform::current().notificationCenter->post(
        {.name = platform::kApplicationWillTerminateNotification, .object = nullptr, .userInfo = {}});
}

// Runs `work` in a child process; returns how the child ended and, by `output`, what it printed. To be
// called before the log is used here: a child has none of its parent's threads.
int inChild(const std::function<void()>& work, std::string& output) {
    const auto file = sandbox::folder() + "/child-output";
    const auto errors = sandbox::folder() + "/child-errors";
    const pid_t child = ::fork();
    if (child == 0) {
        ::dup2(::open(file.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600), STDOUT_FILENO);
        ::dup2(::open(errors.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600), STDERR_FILENO);
        work();
        ::_exit(97);
    }
    int status = 0;
    ::waitpid(child, &status, 0);
    output = sandbox::readFile(file);
    return status;
}

template <typename Thrown>
[[noreturn]] void throwUncaught(const Thrown& thrown) {
    std::thread([&] { throw thrown; }).join();
    ::_exit(98);
}

} // namespace

TEST_F(VTLogLifecycle, HasOneInstance) {
    VTLog* fromAnotherThread = nullptr;
    onAnotherThread([&] { fromAnotherThread = &VTLog::sharedController(); });
    EXPECT_EQ(&VTLog::sharedController(), fromAnotherThread);
    static_assert(!std::is_copy_constructible_v<VTLog> && !std::is_default_constructible_v<VTLog> &&
                  !std::is_destructible_v<VTLog>);
}

TEST_F(VTLogLifecycle, EndsWithWhatWaitsInTheFile) {
    WriterGate gate(fileManager());
    VTLog::createNewLog();
    VTLog::finishWriting();
    const auto file = path(1);
    gate.close();
    Texts expected;
    for (int i = 0; i < 19; ++i) {
        VTLog::fastAppendLog("entry %d", i);
        expected.push_back("entry " + std::to_string(i));
    }
    gate.waitUntilWriterIsHeld();
    EXPECT_EQ(log().writeQueue()->operationCount(), 19U);
    std::jthread opener([&] { gate.open(); });
    postWillTerminate();
    auto written = entries(file);
    written.erase(written.begin(), written.begin() + 3); // the header
    EXPECT_EQ(written, expected);
    EXPECT_EQ(log().fileHandle(), nullptr);
    EXPECT_EQ(log().writeQueue(), nullptr);
}

TEST_F(VTLogLifecycle, EndsWithoutWaitingForTwentyEntries) {
    WriterGate gate(fileManager());
    VTLog::createNewLog();
    VTLog::finishWriting();
    gate.close();
    for (int i = 0; i < 20; ++i) {
        VTLog::fastAppendLog("entry %d", i);
    }
    gate.waitUntilWriterIsHeld();
    EXPECT_EQ(log().writeQueue()->operationCount(), 20U);
    auto* queue = log().writeQueue();
    postWillTerminate(); // would never return if it waited
    EXPECT_EQ(log().fileHandle(), nullptr);
    EXPECT_EQ(queue->operationCount(), 20U);
    gate.open();
    queue->waitUntilAllOperationsAreFinished();
}

TEST_F(VTLogLifecycle, DropsEntriesAfterItsEndWithoutAWord) {
    VTLog::createNewLog();
    log().setAppName("Given");
    VTLog::willTerminate({});
    EXPECT_NE(log().appName(), "Given");
    const auto before = sandbox::readFile(path(1));
    EXPECT_EQ(output([] {
                  VTLog::appendLog("one");
                  VTLog::fastAppendLog("two");
                  VTLog::finishWriting();
                  onAnotherThread([] { VTLog::appendLog("three"); });
              }),
              "");
    EXPECT_EQ(sandbox::readFile(path(1)), before);
    EXPECT_EQ(log().bytesInQueue(), 11U) << "their length is added all the same";
}

TEST_F(VTLogLifecycle, EndsOnce) {
    VTLog::createNewLog();
    auto* queue = log().writeQueue();
    postWillTerminate();
    log().setWriteQueue(queue);
    postWillTerminate();
    EXPECT_EQ(log().writeQueue(), queue) << "no longer observed";
}

TEST_F(VTLogLifecycle, FinishWritingWithNothingToWriteReturns) {
    VTLog::finishWriting();
    EXPECT_EQ(log().bytesInQueue(), 0U);
}

TEST_F(VTLogLifecycle, PutsTheReasonOfAnUncaughtExceptionOnDisk) {
    std::string printed;
    const int status = inChild(
        [] {
            VTLog::createNewLog();
            throwUncaught(platform::Exception("NSGenericException", "out of %@ 100%%"));
        },
        printed);
    EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGABRT) << status;
    EXPECT_EQ(entries(1).back(), "out of %@ 100%");
    EXPECT_EQ(printed, "out of  100%%\n");
}

TEST_F(VTLogLifecycle, KnowsStandardAndForeignUncaughtExceptions) {
    std::string printed;
    EXPECT_EQ(WTERMSIG(inChild(
                  [] {
                      makeCurrentFile();
                      throwUncaught(std::runtime_error("a standard one"));
                  },
                  printed)),
              SIGABRT);
    EXPECT_EQ(WTERMSIG(inChild(
                  [] {
                      VTLog::sharedController();
                      throwUncaught(42);
                  },
                  printed)),
              SIGABRT);
    EXPECT_EQ(entries(1), (Texts{"a standard one", "int"}));
}

TEST_F(VTLogLifecycle, HandsAnUncaughtExceptionOnToTheHandlerBefore) {
    std::string printed;
    const int status = inChild(
        [] {
            std::set_terminate([] { ::_exit(7); });
            makeCurrentFile();
            throwUncaught(std::runtime_error("reason"));
        },
        printed);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 7) << status;
    EXPECT_EQ(entries(1), Texts{"reason"});
}

TEST_F(VTLogLifecycle, WritesWhatWaitsWhenTheProcessEndsWithoutAnException) {
    std::string printed;
    const int status = inChild(
        [] {
            makeCurrentFile();
            for (int i = 0; i < 500; ++i) {
                VTLog::fastAppendLog("entry %d", i);
            }
            std::terminate();
        },
        printed);
    EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGABRT) << status;
    EXPECT_EQ(entries(1).back(), "entry 499");
    EXPECT_EQ(printed, "");
}

TEST_F(VTLogLifecycle, ThreadsMayLogWhileTheProcessExits) {
    std::string printed;
    const int status = inChild(
        [] {
            VTLog::createNewLog();
            for (int thread = 0; thread < 3; ++thread) {
                std::thread([] {
                    for (;;) {
                        VTLog::appendLog("still here");
                        VTLog::fastAppendLog("still here %@", std::string(200, '.'));
                    }
                }).detach();
            }
            VTLog::finishWriting();
            std::exit(0);
        },
        printed);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << status;
    EXPECT_EQ(printed, "");
}

// For the thread sanitizer above all: everything at once.
TEST_F(VTLogLifecycle, IsUsedByManyThreadsAtOnce) {
    constexpr int kRounds = 400;
    VTLog::createNewLog();
    output([] {
        std::vector<std::jthread> threads;
        auto repeat = [&threads](int rounds, std::function<void(int)> work) {
            threads.emplace_back([rounds, work = std::move(work)] {
                for (int i = 0; i < rounds; ++i) {
                    work(i);
                }
            });
        };
        repeat(kRounds, [](int i) { VTLog::appendLog("short %d", i); });
        repeat(kRounds, [](int i) { VTLog::fastAppendLog("long %d %@", i, std::string(6'000, '.')); });
        repeat(kRounds, [](int i) { VTLog::appendLogAndPrint("printed %d", i); });
        repeat(kRounds, [](int) { VTLog::finishWriting(); });
        repeat(kRounds / 20, [](int) { VTLog::createNewLog(); });
        repeat(kRounds, [](int) {
            VTLog::availableLogs();
            log().appName();
            log().bytesInQueue();
        });
    });
    VTLog::finishWriting();
    EXPECT_EQ(log().writeQueue()->operationCount(), 0U);
    EXPECT_EQ(log().bytesInQueue(), 0U);
    VTLog::createNewLog();
    VTLog::fastAppendLog("works after it all");
    VTLog::finishWriting();
    EXPECT_EQ(entries(1).back(), "works after it all");
}
