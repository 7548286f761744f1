#include "VTTaskEx.h"

#include "MainLoop.h"
#include "TaskFixture.h"

#include <chrono>
#include <csignal>
#include <gmock/gmock.h>
#include <limits>
#include <thread>

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

class VTTaskExTimeoutTest : public TaskTest {
protected:
    ~VTTaskExTimeoutTest() override { VTLog::finishWriting(); } // with the services of this test

    MainLoop& loop() { return *loop_; }

    // A time-out that has been performed when this returns is all over for the main thread, and its thread no
    // longer uses anything of the test's.
    void runTimeout() { loop().runOne(); }

    static std::string timedOut(const std::string& path) {
        return "Task " + path + " timed out. Terminating...";
    }
    static constexpr const char* kTimedOut = "Task timed out. Terminating...";

    // Says that it is ready and then waits for ever.
    std::string endless(const std::string& before = "") {
        fifo("ready");
        fifo("never");
        return script("endless", before + "\necho >" + file("ready") + "\nread line <" + file("never"));
    }
    void waitUntilReady() { waitFor(file("ready")); }

private:
    std::shared_ptr<MainLoop> loop_ = std::make_shared<MainLoop>();
    platform::ScopedPlatform platform_{[this] {
        auto services = platform::current();
        services.mainThread = loop_;
        return services;
    }()};
};

} // namespace

TEST_F(VTTaskExTimeoutTest, SecondsAreWhole) {
    EXPECT_EQ(VTTaskEx::wholeSeconds(2.9), 2);
    EXPECT_EQ(VTTaskEx::wholeSeconds(1.0), 1);
    EXPECT_EQ(VTTaskEx::wholeSeconds(0.99), 0);
    EXPECT_EQ(VTTaskEx::wholeSeconds(-0.5), 0);
    EXPECT_EQ(VTTaskEx::wholeSeconds(-3), 0);
    EXPECT_EQ(VTTaskEx::wholeSeconds(1e300), std::numeric_limits<int>::max());
    EXPECT_EQ(VTTaskEx::wholeSeconds(std::numeric_limits<double>::quiet_NaN()), 0);
}

TEST_F(VTTaskExTimeoutTest, EndsTheChildOfARun) {
    const auto path = endless();
    std::jthread run([&] { VTTaskEx::runTask(path, {}, 0.9); });
    waitUntilReady();
    runTimeout();
    run.join();
    EXPECT_THAT(logged(), ElementsAre(timedOut(path)));
    EXPECT_THAT(console(), ElementsAre(kTimedOut));
}

TEST_F(VTTaskExTimeoutTest, ActsAfterASecond) {
    const auto path = endless();
    const auto begin = std::chrono::steady_clock::now();
    std::jthread run([&] { VTTaskEx::runTask(path, {}, 1.9); });
    waitUntilReady();
    runTimeout();
    run.join();
    EXPECT_GE(std::chrono::steady_clock::now() - begin, std::chrono::seconds(1));
    EXPECT_THAT(logged(), ElementsAre(timedOut(path)));
}

TEST_F(VTTaskExTimeoutTest, LeavesAChildThatIsNotLaunchedYet) {
    const auto runner = std::make_shared<VTTaskEx>();
    runner->setTheTask(
        std::make_shared<platform::ChildProcess>(platform::ChildProcess::Program{.path = "/bin/true"}));
    runner->timeout();
    EXPECT_THAT(logged(), IsEmpty());
    EXPECT_THAT(console(), IsEmpty());
}

TEST_F(VTTaskExTimeoutTest, AnEarlierTimeoutEndsALaterRun) {
    const auto runner = std::make_shared<VTTaskEx>();
    runner->runTaskWithTimeout("/bin/true", {}, 0.0);
    loop().waitForWork();
    const auto path = endless();
    std::jthread run([&] { runner->runTaskWithTimeout(path, {}, 100'000); });
    waitUntilReady();
    runTimeout();
    run.join();
    EXPECT_THAT(logged(), ElementsAre(timedOut(path)));
}

TEST_F(VTTaskExTimeoutTest, ACutOutputIsReturned) {
    const auto path = endless("echo early");
    std::optional<std::string> bytes;
    std::jthread run([&] { bytes = VTTaskEx::dataFromTask(path, {}, 0.5); });
    waitUntilReady();
    runTimeout();
    run.join();
    EXPECT_EQ(bytes, "early\n");
    EXPECT_THAT(logged(), ElementsAre(timedOut(path)));
    EXPECT_THAT(console(), ElementsAre(kTimedOut));
}

TEST_F(VTTaskExTimeoutTest, AGrandchildDoesNotHoldUpACutRun) {
    const auto gate = fifo("gate");
    const auto path = endless("(trap '' TERM; read line <" + gate + ") &\necho early");
    std::optional<std::string> bytes;
    std::jthread run([&] { bytes = VTTaskEx::dataFromTask(path, {}, 0.0); });
    waitUntilReady();
    runTimeout();
    run.join();
    EXPECT_EQ(bytes, "early\n");
    letGo(gate);
}

TEST_F(VTTaskExTimeoutTest, ACutTextIsReturned) {
    const auto path = endless("printf 'caf\\303\\251'");
    std::optional<std::string> text;
    std::jthread run([&] { text = VTTaskEx::stringFromTask(path, {}, VTTaskEx::Encoding::Utf8, 0.5); });
    waitUntilReady();
    runTimeout();
    run.join();
    EXPECT_EQ(text, "café");
}

TEST_F(VTTaskExTimeoutTest, TheExitCodeIsTheSignal) {
    const auto path = endless();
    long code = 0;
    std::jthread run([&] { code = VTTaskEx::terminationCodeFromTask(path, {}, 0.5); });
    waitUntilReady();
    runTimeout();
    run.join();
    EXPECT_EQ(code, SIGTERM);
}

TEST_F(VTTaskExTimeoutTest, AChildThatIgnoresTheRequestIsWaitedFor) {
    const auto ready = fifo("ready");
    const auto gate = fifo("gate");
    const auto path = script("deaf", "trap '' TERM; echo >" + ready + "; read line <" + gate + "; exit 7");
    long code = 0;
    std::jthread run([&] { code = VTTaskEx::terminationCodeFromTask(path, {}, 0.5); });
    waitFor(ready);
    runTimeout();
    EXPECT_THAT(logged(), ElementsAre(timedOut(path)));
    letGo(gate);
    run.join();
    EXPECT_EQ(code, 7);
}

TEST_F(VTTaskExTimeoutTest, DoesNothingAfterTheRun) {
    EXPECT_EQ(VTTaskEx::terminationCodeFromTask(script("run", "exit 5"), {}, 0.5), 5);
    EXPECT_EQ(VTTaskEx::dataFromTask("/bin/echo", {"out"}, 0.5), "out\n");
    EXPECT_EQ(VTTaskEx::stringFromTask("/bin/echo", {"out"}, 0.5), "out\n");
    VTTaskEx::runTask("/bin/true", {}, 0.5);
    for (int run = 0; run < 4; ++run) {
        runTimeout();
    }
    EXPECT_THAT(logged(), IsEmpty());
    EXPECT_THAT(console(), IsEmpty());
}

TEST_F(VTTaskExTimeoutTest, CannotInterruptTheMainThread) {
    const auto gate = fifo("gate");
    std::jthread release([&] {
        loop().waitForWork(); // the time is up
        letGo(gate);
    });
    EXPECT_EQ(VTTaskEx::terminationCodeFromTask(script("run", "read line <" + gate + "; exit 5"), {}, 0.5),
              5);
    runTimeout();
    EXPECT_THAT(logged(), IsEmpty());
    EXPECT_THAT(console(), IsEmpty());
}

TEST_F(VTTaskExTimeoutTest, FailuresAreThoseOfTheRunWithoutOne) {
    const auto missing = file("missing");
    const auto printed = output([&] {
        VTTaskEx::runTask(missing, {}, 0.5);
        EXPECT_EQ(VTTaskEx::dataFromTask(missing, {}, 0.5), std::nullopt);
        EXPECT_EQ(VTTaskEx::stringFromTask(missing, {}, 0.5), "");
        EXPECT_EQ(VTTaskEx::terminationCodeFromTask(missing, {}, 0.5), -1);
    });
    const auto error = notExecutable(missing);
    EXPECT_THAT(logged(), ElementsAre(error, error, error, error));
    EXPECT_THAT(console(), ElementsAre(error));
    const auto plain = program("plain", "exit 0\n");
    EXPECT_THROW(VTTaskEx::terminationCodeFromTask(plain, {}, 0.5), platform::Exception);
    for (int run = 0; run < 5; ++run) {
        runTimeout();
    }
}

TEST_F(VTTaskExTimeoutTest, AnInstanceHoldsTheChildOfItsRun) {
    const auto path = endless();
    const auto runner = std::make_shared<VTTaskEx>();
    runner->setTheTask(
        std::make_shared<platform::ChildProcess>(platform::ChildProcess::Program{.path = "/"}));
    std::jthread run([&] { runner->runTaskWithTimeout(path, {}, 0.5); });
    waitUntilReady();
    EXPECT_EQ(runner->theTask()->launchPath(), path);
    runTimeout();
    run.join();
    EXPECT_EQ(runner->theTask(), nullptr);
    runner->timeout(); // finds none
    EXPECT_THAT(logged(), ElementsAre(timedOut(path)));
}

TEST_F(VTTaskExTimeoutTest, IsNotWaitedForAtTheEndOfTheProgram) {
    VTTaskEx::runTask("/bin/true", {}, 100'000); // the test ends all the same
    EXPECT_THAT(logged(), IsEmpty());
}
