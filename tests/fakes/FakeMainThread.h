#pragma once

#include "MainThread.h"

#include "Threads.h"

#include <chrono>
#include <functional>
#include <map>
#include <mutex>
#include <utility>

// Runs the work at once on the calling thread, one piece at a time; the thread counts as the main one
// meanwhile.
class FakeMainThread : public platform::MainThread {
public:
    void perform(std::function<void()> work, platform::Wait) override {
        std::lock_guard lock(mutex_);
        const Performing here;
        work();
    }

    // Not before the test's clock gets there.
    void performAfter(std::chrono::milliseconds delay, std::function<void()> work) override {
        std::lock_guard lock(mutex_);
        timers_.emplace(now_ + delay, std::move(work));
    }

    // Lets time pass on the test's clock: what falls due happens in order.
    void advance(std::chrono::milliseconds time) {
        std::unique_lock lock(mutex_);
        const auto end = now_ + time;
        while (!timers_.empty() && timers_.begin()->first <= end) {
            now_ = timers_.begin()->first;
            const auto work = std::move(timers_.begin()->second);
            timers_.erase(timers_.begin());
            perform(work, platform::Wait::UntilDone);
        }
        now_ = end;
    }

    // Is the caller where only the main thread may be?
    static bool isHere() { return performing_ || platform::isMainThread(); }

private:
    static inline thread_local bool performing_ = false;
    struct Performing { // also when the work throws
        Performing() = default;
        ~Performing() { performing_ = outer; }
        Performing(const Performing&) = delete;
        Performing& operator=(const Performing&) = delete;
        const bool outer = std::exchange(performing_, true);
    };
    std::recursive_mutex mutex_;
    std::chrono::milliseconds now_{0};
    std::multimap<std::chrono::milliseconds, std::function<void()>> timers_;
};
