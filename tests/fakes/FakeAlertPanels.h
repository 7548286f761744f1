#pragma once

#include "AlertPanels.h"

#include <mutex>
#include <string>
#include <utility>
#include <vector>

// Every alert is dismissed at once.
class FakeAlertPanels : public platform::AlertPanels {
public:
    void runAlertPanel(const std::string& title, const std::string& message) override {
        std::lock_guard lock(mutex_);
        shown_.emplace_back(title, message);
    }
    std::vector<std::pair<std::string, std::string>> shown() const {
        std::lock_guard lock(mutex_);
        return shown_;
    }

private:
    mutable std::mutex mutex_;
    std::vector<std::pair<std::string, std::string>> shown_;
};
