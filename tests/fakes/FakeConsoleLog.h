#pragma once

#include "ConsoleLog.h"

#include <mutex>
#include <string>
#include <vector>

// Remembers what was logged.
class FakeConsoleLog : public platform::ConsoleLog {
public:
    void log(std::string_view text) override {
        std::lock_guard lock(mutex_);
        lines_.emplace_back(text);
    }
    std::vector<std::string> lines() const {
        std::lock_guard lock(mutex_);
        return lines_;
    }

private:
    mutable std::mutex mutex_;
    std::vector<std::string> lines_;
};
