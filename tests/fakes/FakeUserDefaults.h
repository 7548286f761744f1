#pragma once

#include "UserDefaults.h"

#include <atomic>
#include <mutex>

// Preferences in memory.
class FakeUserDefaults : public platform::UserDefaults {
public:
    void registerDefaults(const platform::PropertyList::Dictionary& values) override {
        std::lock_guard lock(mutex_);
        for (const auto& [key, value] : values) {
            registered_.insert_or_assign(key, value);
        }
    }
    std::optional<platform::PropertyList> objectForKey(const std::string& key) override {
        std::lock_guard lock(mutex_);
        for (const auto* domain : {&stored_, &global_, &registered_}) {
            if (auto found = domain->find(key); found != domain->end()) {
                return found->second;
            }
        }
        return std::nullopt;
    }
    void setObject(const platform::PropertyList& value, const std::string& key) override {
        std::lock_guard lock(mutex_);
        stored_.insert_or_assign(key, value);
    }
    void synchronize() override { ++synchronizations; }

    std::atomic<int> synchronizations = 0;

    std::optional<platform::PropertyList> globalObjectForKey(const std::string& key) override {
        std::lock_guard lock(mutex_);
        auto found = global_.find(key);
        return found == global_.end() ? std::nullopt : std::optional(found->second);
    }
    void setGlobalObject(const platform::PropertyList& value, const std::string& key) {
        std::lock_guard lock(mutex_);
        global_.insert_or_assign(key, value);
    }

private:
    std::mutex mutex_;
    platform::PropertyList::Dictionary stored_;
    platform::PropertyList::Dictionary global_;
    platform::PropertyList::Dictionary registered_;
};
