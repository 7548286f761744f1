#pragma once

#include "MainThread.h"

#include <mutex>

// Runs the work at once on the calling thread, one piece at a time.
class FakeMainThread : public platform::MainThread {
public:
    void perform(std::function<void()> work, platform::Wait) override {
        std::lock_guard lock(mutex_);
        work();
    }

private:
    std::recursive_mutex mutex_;
};
