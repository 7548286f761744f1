#pragma once

#include "MainThread.h"

#include "Threads.h"

#include <mutex>
#include <utility>

// Runs the work at once on the calling thread, one piece at a time; the thread counts as the main one
// meanwhile.
class FakeMainThread : public platform::MainThread {
public:
    void perform(std::function<void()> work, platform::Wait) override {
        std::lock_guard lock(mutex_);
        const bool outer = std::exchange(performing_, true);
        work();
        performing_ = outer;
    }

    // Is the caller where only the main thread may be?
    static bool isHere() { return performing_ || platform::isMainThread(); }

private:
    static inline thread_local bool performing_ = false;
    std::recursive_mutex mutex_;
};
