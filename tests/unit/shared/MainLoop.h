#pragma once

#include "MainThread.h"
#include "Threads.h"

#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>
#include <stdexcept>
#include <utility>

// The main thread with a loop that runs when the test says so.
class MainLoop : public platform::MainThread {
public:
    void perform(std::function<void()> work, platform::Wait wait) override {
        if (wait == platform::Wait::UntilDone && platform::isMainThread()) {
            work();
            return;
        }
        std::unique_lock lock(mutex_);
        const auto number = ++queued_;
        waiting_.push_back(std::move(work));
        changed_.notify_all();
        if (wait == platform::Wait::UntilDone) {
            changed_.wait(lock, [&] { return done_ >= number; });
        }
    }

    // No test of this folder has a use for it.
    void performAfter(std::chrono::milliseconds, std::function<void()>) override {
        throw std::logic_error("this loop has no clock");
    }

    // Does one piece of work, waiting for it.
    void runOne() {
        std::unique_lock lock(mutex_);
        changed_.wait(lock, [&] { return !waiting_.empty(); });
        const auto work = std::move(waiting_.front());
        waiting_.pop_front();
        lock.unlock();
        work();
        lock.lock();
        ++done_;
        changed_.notify_all();
    }

    // From another thread: until there is work that the loop has not done.
    void waitForWork() {
        std::unique_lock lock(mutex_);
        changed_.wait(lock, [&] { return !waiting_.empty(); });
    }

private:
    std::mutex mutex_;
    std::condition_variable changed_;
    std::deque<std::function<void()>> waiting_;
    unsigned queued_ = 0;
    unsigned done_ = 0;
};
