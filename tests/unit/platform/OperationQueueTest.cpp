#include "OperationQueue.h"

#include <atomic>
#include <future>
#include <gtest/gtest.h>
#include <numeric>

namespace {

using Queue = platform::OperationQueue<int>;

// Performs one operation at a time and remembers it; the first one waits until it is let go.
class GatedPerformer {
public:
    std::size_t perform(std::span<const int> waiting) {
        if (performed_.empty()) {
            entered_.set_value();
            gate_.get_future().wait();
        }
        performed_.push_back(waiting.front());
        return 1;
    }
    void waitUntilEntered() { entered_.get_future().wait(); }
    void letGo() { gate_.set_value(); }
    const std::vector<int>& performed() const { return performed_; } // when the queue rests

private:
    std::promise<void> entered_;
    std::promise<void> gate_;
    std::vector<int> performed_;
};

} // namespace

TEST(OperationQueue, PerformsInTheOrderAdded) {
    std::vector<int> performed;
    Queue queue([&](std::span<const int> waiting) {
        performed.push_back(waiting.front());
        return std::size_t{1};
    });
    for (int i = 0; i < 1000; ++i) {
        queue.addOperation(i);
    }
    queue.waitUntilAllOperationsAreFinished();
    std::vector<int> expected(1000);
    std::iota(expected.begin(), expected.end(), 0);
    EXPECT_EQ(performed, expected);
    EXPECT_EQ(queue.operationCount(), 0U);
}

TEST(OperationQueue, OffersWhatWaitsAndTakesAsManyAsWerePerformed) {
    GatedPerformer gated;
    std::vector<std::vector<int>> offers;
    Queue queue([&](std::span<const int> waiting) {
        offers.emplace_back(waiting.begin(), waiting.end());
        return offers.size() == 1 ? gated.perform(waiting) : std::min<std::size_t>(2, waiting.size());
    });
    queue.addOperation(0);
    gated.waitUntilEntered();
    for (int i = 1; i <= 3; ++i) {
        queue.addOperation(i);
    }
    gated.letGo();
    queue.waitUntilAllOperationsAreFinished();
    EXPECT_EQ(offers, (std::vector<std::vector<int>>{{0}, {1, 2, 3}, {3}}));
}

TEST(OperationQueue, CountsWhatWaitsAndWhatIsBeingPerformed) {
    GatedPerformer gated;
    Queue queue([&](std::span<const int> waiting) { return gated.perform(waiting); });
    EXPECT_EQ(queue.operationCount(), 0U);
    queue.addOperation(1);
    gated.waitUntilEntered();
    EXPECT_EQ(queue.operationCount(), 1U);
    queue.addOperation(2);
    queue.addOperation(3);
    EXPECT_EQ(queue.operationCount(), 3U);
    gated.letGo();
    queue.waitUntilAllOperationsAreFinished();
    EXPECT_EQ(queue.operationCount(), 0U);
}

TEST(OperationQueue, PerformsWhatAnOperationAddsAheadOfWhatWaits) {
    GatedPerformer gated;
    Queue* self = nullptr;
    Queue queue([&](std::span<const int> waiting) {
        const int operation = waiting.front();
        gated.perform(waiting);
        if (operation == 1) {
            self->addOperation(10);
            self->addOperation(20);
        } else if (operation == 10) {
            self->addOperation(11);
        }
        return std::size_t{1};
    });
    self = &queue;
    queue.addOperation(0);
    gated.waitUntilEntered();
    queue.addOperation(1);
    queue.addOperation(2);
    gated.letGo();
    queue.waitUntilAllOperationsAreFinished();
    EXPECT_EQ(gated.performed(), (std::vector<int>{0, 1, 10, 11, 20, 2}));
    EXPECT_EQ(queue.operationCount(), 0U);
}

TEST(OperationQueue, WaitsForWhatTheLastOperationAdds) {
    std::vector<int> performed;
    Queue* self = nullptr;
    Queue queue([&](std::span<const int> waiting) {
        performed.push_back(waiting.front());
        if (waiting.front() < 5) {
            self->addOperation(waiting.front() + 1);
        }
        return std::size_t{1};
    });
    self = &queue;
    queue.addOperation(0);
    queue.waitUntilAllOperationsAreFinished();
    EXPECT_EQ(performed, (std::vector<int>{0, 1, 2, 3, 4, 5}));
}

TEST(OperationQueue, DoesNotWaitForItselfOnItsOwnThread) {
    bool returned = false;
    Queue* self = nullptr;
    Queue queue([&](std::span<const int>) {
        self->waitUntilAllOperationsAreFinished();
        returned = true;
        return std::size_t{1};
    });
    self = &queue;
    queue.addOperation(0);
    queue.waitUntilAllOperationsAreFinished();
    EXPECT_TRUE(returned);
}

TEST(OperationQueue, WaitsOnTheThreadOfAnotherQueue) {
    std::atomic<int> sum = 0;
    Queue inner([&](std::span<const int> waiting) {
        sum += waiting.front();
        return std::size_t{1};
    });
    int seen = 0;
    Queue outer([&](std::span<const int> waiting) {
        inner.addOperation(waiting.front());
        inner.waitUntilAllOperationsAreFinished();
        seen = sum;
        return std::size_t{1};
    });
    outer.addOperation(7);
    outer.waitUntilAllOperationsAreFinished();
    EXPECT_EQ(seen, 7);
}

TEST(OperationQueue, WaitsOnlyForWhatWasAddedBefore) {
    // Each operation waits for the next one to be added, so the queue is never empty.
    std::atomic<int> added = 0;
    std::atomic<bool> stopped = false;
    Queue queue([&](std::span<const int> waiting) {
        while (added <= waiting.front() + 1 && !stopped) {
            std::this_thread::yield();
        }
        return std::size_t{1};
    });
    std::jthread adder([&] {
        while (!stopped) {
            queue.addOperation(added);
            ++added;
        }
    });
    while (added < 10) {
        std::this_thread::yield();
    }
    queue.waitUntilAllOperationsAreFinished();
    EXPECT_GE(added, 10);
    stopped = true;
}

TEST(OperationQueue, EndsAfterTheOperationThatIsBeingPerformed) {
    GatedPerformer gated;
    std::jthread opener;
    {
        Queue queue([&](std::span<const int> waiting) { return gated.perform(waiting); });
        queue.addOperation(1);
        gated.waitUntilEntered();
        opener = std::jthread([&] { gated.letGo(); });
    }
    EXPECT_EQ(gated.performed(), std::vector<int>{1});
}

TEST(OperationQueue, LosesNothingFromManyThreads) {
    constexpr int kThreads = 4;
    constexpr int kOperations = 5000;
    std::vector<int> last(kThreads, -1);
    std::size_t performed = 0;
    bool ordered = true;
    Queue queue([&](std::span<const int> waiting) {
        for (int operation : waiting) {
            auto& previous = last[static_cast<std::size_t>(operation / kOperations)];
            ordered = ordered && previous < operation;
            previous = operation;
        }
        performed += waiting.size();
        return waiting.size();
    });
    {
        std::vector<std::jthread> threads;
        for (int thread = 0; thread < kThreads; ++thread) {
            threads.emplace_back([&queue, thread] {
                for (int i = 0; i < kOperations; ++i) {
                    queue.addOperation(thread * kOperations + i);
                    if (i % 100 == 0) {
                        queue.waitUntilAllOperationsAreFinished();
                    }
                }
            });
        }
    }
    queue.waitUntilAllOperationsAreFinished();
    EXPECT_EQ(performed, std::size_t{kThreads} * kOperations);
    EXPECT_TRUE(ordered) << "each thread's operations in its order";
}
