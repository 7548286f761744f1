#pragma once

#include "DistributedNotifications.h"

#include <algorithm>
#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <vector>

// Remembers what was posted and who listens; `deliver` plays the part of another process.
class FakeDistributedNotifications : public platform::DistributedNotifications {
public:
    std::shared_ptr<void> addObserver(const std::string& name, Handler handler) override {
        std::lock_guard lock(mutex_);
        const int key = ++lastKey_;
        observers_.emplace(key, std::pair(name, std::move(handler)));
        return {nullptr, [this, key](std::nullptr_t) {
                    std::lock_guard guard(mutex_);
                    observers_.erase(key);
                }};
    }
    bool post(const std::string& name, const std::string& object,
              const platform::PropertyList::Dictionary& userInfo) override {
        {
            std::lock_guard lock(mutex_);
            posted_.push_back({name, object, userInfo});
        }
        if (onPost) {
            onPost();
        }
        return true;
    }

    // Runs on the posting thread whenever something has been posted. Set it before other threads post.
    std::function<void()> onPost;

    struct Posted {
        std::string name;
        std::string object;
        platform::PropertyList::Dictionary userInfo;
    };
    std::vector<Posted> posted() const {
        std::lock_guard lock(mutex_);
        return posted_;
    }
    std::size_t observerCount(const std::string& name) const {
        std::lock_guard lock(mutex_);
        return static_cast<std::size_t>(
            std::ranges::count(observers_, name, [](const auto& observer) { return observer.second.first; }));
    }
    void deliver(const std::string& name) {
        std::vector<Handler> handlers;
        {
            std::lock_guard lock(mutex_);
            for (const auto& [key, observer] : observers_) {
                if (observer.first == name) {
                    handlers.push_back(observer.second);
                }
            }
        }
        for (const auto& handler : handlers) {
            handler("", {});
        }
    }

private:
    mutable std::mutex mutex_;
    int lastKey_ = 0;
    std::map<int, std::pair<std::string, Handler>> observers_;
    std::vector<Posted> posted_;
};
