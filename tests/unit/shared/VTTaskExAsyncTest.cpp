#include "VTTaskEx.h"

#include "TaskFixture.h"

#include <atomic>
#include <charconv>
#include <csignal>
#include <gmock/gmock.h>
#include <thread>

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

class VTTaskExAsyncTest : public TaskTest {
protected:
    // What a delegate was told, for the thread that waits for the end of it.
    struct Received {
        std::string bytes;
        std::vector<std::shared_ptr<void>> objects;
        std::thread::id thread;
        VTTaskEx* runner = nullptr;
        std::shared_ptr<platform::ChildProcess> child;
        std::atomic<int> ends = 0;

        VTTaskEx::Delegate delegate() {
            return [this](const std::string& chunk, VTTaskEx& task, const std::shared_ptr<void>& object) {
                EXPECT_EQ(ends, 0) << "a chunk after the end";
                bytes += chunk;
                objects.push_back(object);
                runner = &task;
                child = task.theTask();
                thread = std::this_thread::get_id();
                if (chunk.empty()) {
                    ++ends;
                    ends.notify_all();
                }
            };
        }
        void waitForEnd() { ends.wait(0); }
    };

    // Returns when the reader has let go of it.
    static void release(std::shared_ptr<VTTaskEx>& runner) {
        const std::weak_ptr<VTTaskEx> readers = runner;
        runner.reset();
        while (!readers.expired()) {
            std::this_thread::yield();
        }
    }

    static platform::ChildProcess::Program writing(const std::string& path) {
        return {.path = path, .output = platform::ChildProcess::Stream::Pipe};
    }

    std::shared_ptr<VTTaskEx> runner_ = std::make_shared<VTTaskEx>();
};

constexpr const char* kClosed = "Exception in -[VTTaskEx launchAsyncTask]. "
                                "NSFileHandleOperationException - Bad file descriptor.";

} // namespace

TEST_F(VTTaskExAsyncTest, HandsTheOutputToTheDelegate) {
    Received received;
    const auto object = std::make_shared<int>(1);
    const auto path = script("run", "echo \"$@\" $ONE; echo errors >&2");
    auto* runner = runner_.get();
    runner->asyncDataFromTask(path, {"a", "b c"}, received.delegate(), object, {{{"ONE", "1"}}});
    received.waitForEnd();
    release(runner_);
    EXPECT_EQ(received.bytes, "a b c 1\n");
    EXPECT_THAT(received.objects, testing::Each(object));
    EXPECT_EQ(received.runner, runner);
    EXPECT_NE(received.thread, std::this_thread::get_id());
    EXPECT_EQ(received.ends, 1);
    EXPECT_EQ(object.use_count(), 1 + static_cast<long>(received.objects.size())); // dropped at the end
    EXPECT_THAT(logged(), IsEmpty());
    EXPECT_THAT(console(), IsEmpty());
}

TEST_F(VTTaskExAsyncTest, WithoutOutputThereIsOneEmptyChunk) {
    Received received;
    runner_->asyncDataFromTask("/bin/true", {}, received.delegate());
    received.waitForEnd();
    release(runner_);
    EXPECT_THAT(received.objects, ElementsAre(nullptr));
}

TEST_F(VTTaskExAsyncTest, StreamsOneHundredMegabytesInOrder) {
    constexpr int kLast = 13'000'000;
    int next = 1;
    std::size_t size = 0;
    bool inOrder = true;
    std::string rest; // of a line
    std::atomic<bool> atEnd = false;
    runner_->asyncDataFromTask("/usr/bin/seq", {std::to_string(kLast)},
                               [&](const std::string& chunk, VTTaskEx&, const std::shared_ptr<void>&) {
                                   size += chunk.size();
                                   rest += chunk;
                                   const char* at = rest.data();
                                   const char* const end = at + rest.rfind('\n') + 1;
                                   while (at < end) {
                                       int number = 0;
                                       at = std::from_chars(at, end, number).ptr + 1;
                                       inOrder = inOrder && number == next++;
                                   }
                                   rest.erase(0, static_cast<std::size_t>(end - rest.data()));
                                   atEnd = chunk.empty();
                                   atEnd.notify_all();
                               });
    atEnd.wait(false);
    release(runner_);
    EXPECT_TRUE(inOrder);
    EXPECT_EQ(next, kLast + 1);
    EXPECT_GT(size, 100'000'000U);
}

TEST_F(VTTaskExAsyncTest, HoldsItsChildUntilTheEnd) {
    const auto gate = fifo("gate");
    const auto path = script("run", "read line <" + gate);
    Received received;
    runner_->asyncDataFromTask(path, {}, received.delegate());
    EXPECT_EQ(runner_->theTask()->launchPath(), path);
    letGo(gate);
    received.waitForEnd();
    while (runner_->theTask()) {
        std::this_thread::yield();
    }
    release(runner_);
}

TEST_F(VTTaskExAsyncTest, AChildThatClosesItsOutputIsMadeToEnd) {
    Received received;
    const auto never = fifo("never");
    runner_->asyncDataFromTask(script("run", "exec >&-; read line <" + never), {}, received.delegate());
    received.waitForEnd();
    received.child->waitUntilExit();
    EXPECT_EQ(received.child->terminationStatus(), SIGTERM);
    release(runner_);
}

TEST_F(VTTaskExAsyncTest, WithoutAChildThereIsNothingToLaunch) {
    const auto printed = output([&] { runner_->launchAsyncTask(); });
    EXPECT_THAT(printed, testing::HasSubstr("Unable to launch async task - no task set"));
    EXPECT_THAT(logged(), ElementsAre("Unable to launch async task - no task set"));
    EXPECT_THAT(console(), IsEmpty());
}

TEST_F(VTTaskExAsyncTest, AChildThatCannotBeRunIsLogged) {
    constexpr const char* kMessage = "Unable to launch async task - task does not exist or is not executable";
    sandbox::writeFile(file("text"), "text");
    sandbox::makeFolder(file("Tool.app"));
    for (const auto& path : {file("missing"), file("text"), file("Tool.app"), std::string()}) {
        const auto task = std::make_shared<platform::ChildProcess>(writing(path));
        runner_->setTheTask(task);
        EXPECT_EQ(output([&] { runner_->launchAsyncTask(); }), "");
        EXPECT_THAT(logged(), ElementsAre(kMessage));
        EXPECT_EQ(runner_->theTask(), task);
    }
    EXPECT_THAT(console(), IsEmpty());
}

TEST_F(VTTaskExAsyncTest, TheDelegateIsNotToldOfAFailedLaunch) {
    Received received;
    runner_->asyncDataFromTask(std::nullopt, {}, received.delegate());
    release(runner_);
    EXPECT_THAT(logged(),
                ElementsAre("Unable to launch async task - task does not exist or is not executable"));
    EXPECT_THAT(received.objects, IsEmpty());
}

TEST_F(VTTaskExAsyncTest, AnExceptionOfTheLaunchIsLogged) {
    Received received;
    const auto path = program("plain", "exit 0\n");
    output([&] {
        runner_->asyncDataFromTask(path, {}, received.delegate());
        release(runner_);
    });
    EXPECT_THAT(logged(), ElementsAre("Exception in -[VTTaskEx launchAsyncTask]. "
                                      "NSInvalidArgumentException - Exec format error."));
    EXPECT_THAT(received.objects, IsEmpty());
}

TEST_F(VTTaskExAsyncTest, TerminatingEndsAReaderThatWaits) {
    const auto ready = fifo("ready");
    const auto never = fifo("never");
    Received received;
    runner_->asyncDataFromTask(script("run", "echo >" + ready + "; read line <" + never), {},
                               received.delegate());
    waitFor(ready);
    const auto task = runner_->theTask();
    output([&] {
        runner_->terminateTask();
        release(runner_);
    });
    task->waitUntilExit();
    EXPECT_EQ(task->terminationStatus(), SIGTERM);
    EXPECT_THAT(received.objects, IsEmpty());
    EXPECT_THAT(logged(), ElementsAre(kClosed));
}

TEST_F(VTTaskExAsyncTest, ADeafChildDoesNotHoldTheReader) {
    const auto ready = fifo("ready");
    const auto gate = fifo("gate");
    runner_->asyncDataFromTask(script("run", "trap '' TERM; echo >" + ready + "; read line <" + gate), {},
                               nullptr);
    waitFor(ready);
    output([&] {
        runner_->terminateAsyncTask();
        release(runner_);
    });
    letGo(gate);
}

TEST_F(VTTaskExAsyncTest, TheDelegateMayTerminate) {
    std::atomic<int> calls = 0;
    const auto never = fifo("never");
    output([&] {
        runner_->asyncDataFromTask(script("run", "echo out; read line <" + never), {},
                                   [&](const std::string&, VTTaskEx& task, const std::shared_ptr<void>&) {
                                       ++calls;
                                       task.terminateTask();
                                   });
        release(runner_);
    });
    EXPECT_EQ(calls, 1);
    EXPECT_THAT(logged(), ElementsAre(kClosed));
}

TEST_F(VTTaskExAsyncTest, TerminatingWithoutARunDoesNothing) {
    runner_->terminateTask();
    runner_->terminateTask();
    EXPECT_EQ(runner_->theTask(), nullptr);
    EXPECT_THAT(logged(), IsEmpty());
}

TEST_F(VTTaskExAsyncTest, WithoutADelegateTheOutputIsReadToItsEnd) {
    const auto gate = fifo("gate");
    runner_->asyncDataFromTask(script("run", "echo out; echo errors >&2; echo done >" + gate), {}, nullptr);
    const auto task = runner_->theTask();
    waitFor(gate);
    release(runner_); // which the reader holds until the end
    task->waitUntilExit();
    EXPECT_THAT(logged(), IsEmpty());
}

TEST_F(VTTaskExAsyncTest, ASecondStartReplacesDelegateAndChild) {
    const auto ready = fifo("ready");
    const auto gate = fifo("gate");
    Received first;
    Received second;
    runner_->asyncDataFromTask(script("first", "echo >" + ready + "; read line <" + gate), {},
                               first.delegate());
    waitFor(ready);
    const auto old = runner_->theTask();
    runner_->asyncDataFromTask("/bin/echo", {"second"}, second.delegate());
    second.waitForEnd();
    EXPECT_TRUE(old->isRunning()); // its reader is still at work
    letGo(gate);
    release(runner_);
    EXPECT_EQ(second.bytes, "second\n");
    EXPECT_THAT(first.objects, IsEmpty());
}

TEST_F(VTTaskExAsyncTest, CanBeTerminatedAtAnyMoment) {
    const auto path = script("run", "i=0; while [ $i -lt 50 ]; do echo $i; i=$((i+1)); done");
    output([&] {
        for (int round = 0; round < 1000; ++round) {
            auto runner = std::make_shared<VTTaskEx>();
            std::atomic<int> ends = 0;
            runner->asyncDataFromTask(path, {},
                                      [&](const std::string& chunk, VTTaskEx&, const std::shared_ptr<void>&) {
                                          ends += chunk.empty() ? 1 : 0;
                                      });
            const auto task = runner->theTask();
            std::thread terminator([&, round] {
                for (int step = 0; step < round % 100 * 20'000; ++step) { // a moment that moves
                    std::atomic_signal_fence(std::memory_order_seq_cst);
                }
                runner->terminateTask();
            });
            terminator.join();
            release(runner);
            EXPECT_LE(ends, 1);
            EXPECT_FALSE(task && task.use_count() > 1);
        }
    });
    EXPECT_THAT(logged(), testing::Each(testing::AnyOf(
                              testing::StartsWith("Exception in -[VTTaskEx launchAsyncTask]. NS"),
                              testing::Eq("Unable to launch async task - no task set"))));
}
