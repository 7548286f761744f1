#include "WorkerThreads.h"

#include "FailingAllocations.h"

#include <atomic>
#include <condition_variable>
#include <gtest/gtest.h>
#include <latch>

using namespace std::chrono_literals;

TEST(WorkerThreads, FinishWaitsForWhatRuns) {
    WorkerThreads threads;
    std::atomic<int> done = 0;
    for (int i = 0; i < 10; ++i) {
        threads.detachNewThread([&done](const std::stop_token&) { ++done; });
    }
    EXPECT_TRUE(threads.finish(1min));
    EXPECT_EQ(done, 10);
}

TEST(WorkerThreads, FinishAsksToStop) {
    WorkerThreads threads;
    std::latch started(1);
    std::atomic<bool> asked = false;
    threads.detachNewThread([&](const std::stop_token& stop) {
        std::mutex mutex;
        std::condition_variable_any stopped;
        std::unique_lock lock(mutex);
        started.count_down();
        asked = !stopped.wait(lock, stop, [] { return false; }) && stop.stop_requested();
    });
    started.wait();
    EXPECT_TRUE(threads.finish(1min));
    EXPECT_TRUE(asked);
}

TEST(WorkerThreads, AStuckThreadIsLeftBehind) {
    auto release = std::make_shared<std::latch>(1);
    std::latch ended(1);
    {
        WorkerThreads threads;
        struct AtEnd {
            std::latch& latch;
            ~AtEnd() { latch.count_down(); }
        };
        threads.detachNewThread(
            [release, atEnd = std::make_shared<AtEnd>(ended)](const std::stop_token&) { release->wait(); });
        EXPECT_FALSE(threads.finish(1ms));
    }
    release->count_down();
    ended.wait(); // it has outlived the object that started it
}

TEST(WorkerThreads, NothingStartsAfterTheEnd) {
    WorkerThreads threads;
    EXPECT_TRUE(threads.finish(1ms));
    std::atomic<bool> ran = false;
    threads.detachNewThread([&ran](const std::stop_token&) { ran = true; });
    EXPECT_TRUE(threads.finish(1min));
    EXPECT_FALSE(ran);
}

TEST(WorkerThreads, WithoutMemoryNothingStarts) {
    if (!FailingAllocations::kArePossible) {
        GTEST_SKIP() << "a sanitizer has an operator new of its own";
    }
    WorkerThreads threads;
    std::function<void(std::stop_token)> work = [](const std::stop_token&) { ADD_FAILURE(); };
    {
        const FailingAllocations noMemory(0);
        EXPECT_NO_THROW(EXPECT_FALSE(threads.detachNewThread(std::move(work))));
        EXPECT_TRUE(FailingAllocations::hasFailed());
    }
    EXPECT_TRUE(threads.finish(1ms)); // which waits for nothing
}
