#include "NotificationCenter.h"

#include <algorithm>
#include <mutex>
#include <utility>
#include <vector>

namespace platform {

namespace {

struct Entry {
    std::string name;
    NotificationCenter::Handler handler;
};

} // namespace

// Observers are known by weak reference: dropping the observation is all it takes to end it.
struct NotificationCenter::State {
    std::mutex mutex;
    std::vector<std::weak_ptr<Entry>> entries;
};

NotificationCenter::NotificationCenter() : state_(std::make_shared<State>()) {}

NotificationCenter::~NotificationCenter() = default;

NotificationCenter::Observation NotificationCenter::addObserver(std::string name, Handler handler) {
    auto entry = std::make_shared<Entry>(Entry{std::move(name), std::move(handler)});
    std::lock_guard lock(state_->mutex);
    std::erase_if(state_->entries, [](const auto& known) { return known.expired(); });
    state_->entries.push_back(entry);
    return Observation(std::move(entry));
}

void NotificationCenter::post(const Notification& notification) {
    std::vector<std::weak_ptr<Entry>> entries;
    {
        std::lock_guard lock(state_->mutex);
        entries = state_->entries;
    }
    for (const auto& known : entries) {
        // Looked at again one by one: an observer may have removed a later one.
        if (auto entry = known.lock(); entry && entry->name == notification.name) {
            entry->handler(notification);
        }
    }
}

} // namespace platform
