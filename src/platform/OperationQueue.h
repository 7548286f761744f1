#pragma once

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <mutex>
#include <span>
#include <thread>
#include <utility>
#include <vector>

namespace platform {

// Performs operations one after the other, in the order they were added, on a thread of its own. Adding
// never waits for an operation. What an operation adds to its own queue is performed right after it,
// ahead of everything that waits.
template <typename Operation>
class OperationQueue {
public:
    // Performs one or more of the operations that wait, from the first on, and says how many: several
    // may share what is costly. Called on the queue's thread; must not throw.
    using Perform = std::function<std::size_t(std::span<const Operation> waiting)>;

    explicit OperationQueue(Perform perform)
        : perform_(std::move(perform)), thread_([this] { performUntilClosed(); }) {}

    // Waits for the operation that is being performed and drops those that wait. Not on the queue's
    // thread, and not while another thread uses the queue.
    ~OperationQueue() {
        {
            std::lock_guard lock(mutex_);
            closed_ = true;
        }
        wake_.notify_one();
        thread_.join();
    }

    OperationQueue(const OperationQueue&) = delete;
    OperationQueue& operator=(const OperationQueue&) = delete;

    // A queue with nothing else to do may take a millisecond to begin, unless somebody waits for it. Any
    // thread.
    void addOperation(Operation operation) {
        bool wasAsleep = false;
        {
            std::lock_guard lock(mutex_);
            if (performing_ == this) {
                addedInside_.push_back(std::move(operation));
                ++countAddedInside_;
                return;
            }
            addedOutside_.push_back(std::move(operation));
            ++countAddedOutside_;
            wasAsleep = std::exchange(asleep_, false);
        }
        if (wasAsleep) {
            wake_.notify_one();
        }
    }

    // How many operations wait or are being performed. Any thread.
    std::size_t operationCount() const {
        std::lock_guard lock(mutex_);
        return static_cast<std::size_t>(countAddedOutside_ + countAddedInside_ - countFinished_);
    }

    // Returns when every operation added before the call, and whatever these have added, has been
    // performed; those that others add meanwhile are not waited for. On the queue's own thread it
    // returns at once. Any thread.
    void waitUntilAllOperationsAreFinished() {
        if (performing_ == this) {
            return;
        }
        std::unique_lock lock(mutex_);
        ++waiters_;
        wake_.notify_one();
        // Operations added inside go first, so they put off the moment by their own number.
        finished_.wait(
            lock, [this, count = countAddedOutside_] { return countFinished_ >= count + countAddedInside_; });
        --waiters_;
    }

private:
    void performUntilClosed() {
        performing_ = this;
        std::vector<Operation> operations;
        while (takeWaiting(operations) && performAll(operations)) {
            // Both lists keep their memory for the next operations, but not that of a long backlog.
            operations.clear();
            if (operations.capacity() > kCapacityKept) {
                operations.shrink_to_fit();
            }
        }
    }

    // Waits for operations and takes them all. False when the queue has been closed.
    bool takeWaiting(std::vector<Operation>& operations) {
        std::unique_lock lock(mutex_);
        // To wake a sleeping thread costs a caller many times what adding costs. After work the thread
        // therefore looks again by itself, and falls asleep only when nothing has come meanwhile.
        if (addedOutside_.empty()) {
            wake_.wait_for(lock, std::chrono::milliseconds(1), [this] { return closed_ || waiters_ > 0; });
        }
        if (addedOutside_.empty() && !closed_) {
            asleep_ = true;
            wake_.wait(lock, [this] { return closed_ || !addedOutside_.empty(); });
            asleep_ = false;
        }
        operations.swap(addedOutside_);
        return !closed_;
    }

    // False when the queue has been closed.
    bool performAll(const std::vector<Operation>& operations) {
        for (std::span<const Operation> waiting(operations); !waiting.empty();) {
            const auto performed = perform_(waiting);
            waiting = waiting.subspan(performed);
            std::vector<Operation> inside;
            {
                std::lock_guard lock(mutex_);
                countFinished_ += performed;
                inside.swap(addedInside_);
                if (closed_) {
                    return false;
                }
                if (waiters_ > 0) {
                    finished_.notify_all();
                }
            }
            if (!performAll(inside)) {
                return false;
            }
        }
        return true;
    }

    static constexpr std::size_t kCapacityKept = 16'384;

    // The queue whose operations this thread performs.
    static inline thread_local const OperationQueue* performing_ = nullptr;

    const Perform perform_;

    mutable std::mutex mutex_;         // for all that follow
    std::condition_variable wake_;     // awaited by the queue's thread alone
    std::condition_variable finished_; // awaited by the waiters
    std::vector<Operation> addedOutside_;
    std::vector<Operation> addedInside_; // by the operations that are being performed
    std::uint64_t countAddedOutside_ = 0;
    std::uint64_t countAddedInside_ = 0;
    std::uint64_t countFinished_ = 0;
    std::size_t waiters_ = 0;
    bool asleep_ = false; // the queue's thread, until somebody wakes it
    bool closed_ = false;

    std::thread thread_; // last: it uses all of the above
};

} // namespace platform
