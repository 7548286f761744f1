#pragma once

#include "ChildProcess.h"

#include <memory>
#include <mutex>
#include <utility>

// Where a run leaves its child before it starts it, so that another thread can look after it. Any thread.
class TaskReference {
public:
    std::shared_ptr<platform::ChildProcess> get() const {
        std::lock_guard lock(mutex_);
        return task_;
    }

    // Returns what was there before.
    std::shared_ptr<platform::ChildProcess> set(std::shared_ptr<platform::ChildProcess> task) {
        std::lock_guard lock(mutex_);
        return std::exchange(task_, std::move(task));
    }

private:
    mutable std::mutex mutex_;
    std::shared_ptr<platform::ChildProcess> task_;
};
