#include "QtMainThread.h"

#include "TestSandbox.h"
#include "Threads.h"

#include <QCoreApplication>
#include <atomic>
#include <functional>
#include <future>
#include <gtest/gtest.h>
#include <memory>
#include <stdexcept>
#include <thread>
#include <vector>

using platform::QtMainThread;
using platform::Wait;

namespace {

// An application whose main thread is this one.
class QtMainThreadTest : public testing::Test {
protected:
    // Runs the event loop until `work` has ended on a thread of its own.
    void runWhile(const std::function<void()>& work) {
        std::thread worker([&] {
            work();
            QMetaObject::invokeMethod(&application_, &QCoreApplication::quit, Qt::QueuedConnection);
        });
        QCoreApplication::exec();
        worker.join();
    }

    // A thread that waits in `perform` for work that has not begun; `work` is dropped or done later.
    std::thread waitingThread(std::function<void()> work) {
        std::promise<void> isAboutToWait;
        auto future = isAboutToWait.get_future();
        std::thread thread([this, work = std::move(work), promise = std::move(isAboutToWait)]() mutable {
            promise.set_value();
            mainThread_.perform(std::move(work), Wait::UntilDone);
        });
        future.wait();
        return thread;
    }

private:
    int argumentCount_ = 1;
    char name_[5] = "test"; // NOLINT: as main has it
    char* arguments_[2] = {name_, nullptr};
    QCoreApplication application_{argumentCount_, arguments_};

protected:
    QtMainThread mainThread_;
};

// Says when it is destroyed.
class Held {
public:
    explicit Held(std::atomic<bool>& isGone) : isGone_(isGone) {}
    ~Held() { isGone_ = true; }
    Held(const Held&) = delete;
    Held& operator=(const Held&) = delete;

private:
    std::atomic<bool>& isGone_;
};

} // namespace

TEST_F(QtMainThreadTest, DoesWhatIsWaitedForBeforeTheCallReturns) {
    bool isDone = false;
    bool onMainThread = false;
    runWhile([&] {
        EXPECT_FALSE(platform::isMainThread());
        mainThread_.perform(
            [&] {
                onMainThread = platform::isMainThread();
                isDone = true;
            },
            Wait::UntilDone);
        EXPECT_TRUE(isDone);
    });
    EXPECT_TRUE(onMainThread);
}

TEST_F(QtMainThreadTest, DoesWhatIsNotWaitedForInOrder) {
    std::vector<int> done;
    std::vector<int> expected;
    runWhile([&] {
        for (int i = 0; i < 100; ++i) {
            expected.push_back(i);
            mainThread_.perform([&done, i] { done.push_back(i); }, Wait::No);
        }
        mainThread_.perform([&] { EXPECT_EQ(done, expected); }, Wait::UntilDone); // behind all of them
    });
    EXPECT_EQ(done, expected);
}

TEST_F(QtMainThreadTest, DoesWhatTheMainThreadWaitsForAtOnce) {
    std::vector<std::string> done;
    mainThread_.perform([&] { done.emplace_back("queued"); }, Wait::No);
    mainThread_.perform([&] { done.emplace_back("direct"); }, Wait::UntilDone);
    EXPECT_EQ(done, std::vector<std::string>{"direct"});
    QCoreApplication::processEvents();
    EXPECT_EQ(done, (std::vector<std::string>{"direct", "queued"}));
}

TEST_F(QtMainThreadTest, HandsExceptionsToWhoWaits) {
    runWhile([&] {
        try {
            mainThread_.perform([] { throw std::out_of_range("too far"); }, Wait::UntilDone);
            ADD_FAILURE() << "nothing was thrown";
        } catch (const std::out_of_range& exception) {
            EXPECT_STREQ(exception.what(), "too far");
        }
        bool goesOn = false;
        mainThread_.perform([&] { goesOn = true; }, Wait::UntilDone);
        EXPECT_TRUE(goesOn);
    });
    EXPECT_THROW(mainThread_.perform([] { throw 1; }, Wait::UntilDone), int);
    EXPECT_EQ(sandbox::console().lines(), std::vector<std::string>());
}

TEST_F(QtMainThreadTest, TellsTheConsoleOfExceptionsThatNobodyWaitsFor) {
    bool goesOn = false;
    mainThread_.perform([] { throw std::out_of_range("too far"); }, Wait::No);
    mainThread_.perform([] { throw 1; }, Wait::No);
    mainThread_.perform([&] { goesOn = true; }, Wait::No);
    QCoreApplication::processEvents();
    EXPECT_TRUE(goesOn);
    EXPECT_EQ(sandbox::console().lines(), (std::vector<std::string>{"Work on the main thread failed: too far",
                                                                    "Work on the main thread failed."}));
}

TEST_F(QtMainThreadTest, ServesManyThreads) {
    int count = 0; // touched on the main thread alone
    runWhile([&] {
        std::vector<std::jthread> threads;
        for (int i = 0; i < 4; ++i) {
            threads.emplace_back([&] {
                for (int round = 0; round < 100; ++round) {
                    mainThread_.perform([&] { ++count; }, round % 2 == 0 ? Wait::No : Wait::UntilDone);
                }
            });
        }
    });
    QCoreApplication::processEvents();
    EXPECT_EQ(count, 400);
}

TEST_F(QtMainThreadTest, ReleasesWhoWaitsWhenTheLoopHasEnded) {
    bool isDone = false;
    auto thread = waitingThread([&] { isDone = true; });
    mainThread_.close();
    thread.join();
    QCoreApplication::processEvents(); // what was queued comes too late
    EXPECT_FALSE(isDone);
}

TEST_F(QtMainThreadTest, LetsGoOfDroppedWorkBeforeItsCallerReturns) {
    std::atomic<bool> isGone = false;
    auto held = std::make_shared<Held>(isGone);
    auto thread = waitingThread([held] { ADD_FAILURE() << "the loop has ended"; });
    held.reset();
    mainThread_.close();
    thread.join();
    EXPECT_TRUE(isGone);
    QCoreApplication::processEvents();
}

TEST_F(QtMainThreadTest, LetsGoOfDoneWorkBeforeItsCallerReturns) {
    std::atomic<bool> isGone = false;
    runWhile([&] {
        mainThread_.perform([held = std::make_shared<Held>(isGone)] {}, Wait::UntilDone);
        EXPECT_TRUE(isGone);
    });
}

TEST_F(QtMainThreadTest, DropsWhatComesAfterTheLoopHasEnded) {
    bool isDone = false;
    mainThread_.perform([&] { isDone = true; }, Wait::No); // queued and not yet done
    mainThread_.close();
    std::thread([&] {
        mainThread_.perform([&] { isDone = true; }, Wait::No);
        mainThread_.perform([&] { isDone = true; }, Wait::UntilDone);
    }).join();
    QCoreApplication::processEvents();
    EXPECT_FALSE(isDone);
    mainThread_.perform([&] { isDone = true; }, Wait::UntilDone); // at once, as ever
    EXPECT_TRUE(isDone);
}

TEST_F(QtMainThreadTest, WaitsForWorkThatRunsWhileTheLoopEnds) {
    runWhile([&] {
        // What runs uses its caller's variables; it must not be left alone with them.
        std::atomic<bool> isDone = false;
        mainThread_.perform(
            [&] {
                mainThread_.close();
                for (int i = 0; i < 1000; ++i) {
                    std::this_thread::yield(); // ample occasion to leave too early
                }
                isDone = true;
            },
            Wait::UntilDone);
        EXPECT_TRUE(isDone);
    });
}

TEST(QtMainThread, MayGoBeforeWhatWasQueued) {
    int count = 1;
    char name[] = "test"; // NOLINT: as main has it
    char* arguments[] = {name, nullptr};
    QCoreApplication application(count, arguments);
    bool isDone = false;
    {
        QtMainThread mainThread;
        mainThread.perform([&] { isDone = true; }, Wait::No);
    }
    QCoreApplication::processEvents();
    EXPECT_FALSE(isDone);
}

TEST_F(QtMainThreadTest, PerformsLaterOnTheMainThread) {
    bool done = false;
    runWhile([&] {
        std::promise<void> performed;
        mainThread_.performAfter(std::chrono::milliseconds(1), [&] {
            done = platform::isMainThread();
            performed.set_value();
        });
        performed.get_future().wait();
    });
    EXPECT_TRUE(done);
}

TEST_F(QtMainThreadTest, WhatIsLaterThanTheMainLoopIsDropped) {
    bool done = false;
    mainThread_.performAfter(std::chrono::milliseconds(0), [&] { done = true; });
    QCoreApplication::sendPostedEvents(); // the clock runs
    mainThread_.close();
    QCoreApplication::processEvents();
    QCoreApplication::processEvents();
    EXPECT_FALSE(done);
}
