#include "BusNotifications.h"

#include "NotificationListener.h"
#include "Platform.h"
#include "SessionBus.h"

#include <chrono>
#include <deque>
#include <map>
#include <mutex>
#include <vector>

namespace platform {

namespace {

constexpr std::chrono::seconds kPostPatience{1};

// Of one name; a sender that is faster than the main thread loses what is beyond.
constexpr std::size_t kWaitingAtMost = 64;

} // namespace

class BusNotifications::Observers : public std::enable_shared_from_this<Observers> {
public:
    std::shared_ptr<void> add(const std::string& name, Handler handler) {
        unsigned key = 0;
        {
            std::lock_guard lock(mutex_);
            key = ++lastKey_;
            observers_.emplace(key, Observer{name, std::make_shared<Handler>(std::move(handler))});
        }
        updateListener();
        return {nullptr, [self = shared_from_this(), key](std::nullptr_t) { self->remove(key); }};
    }

private:
    struct Observer {
        std::string name;
        std::shared_ptr<Handler> handler;
    };

    void remove(unsigned key) {
        {
            std::lock_guard lock(mutex_);
            observers_.erase(key);
        }
        updateListener();
    }

    std::set<std::string> names() {
        std::lock_guard lock(mutex_);
        std::set<std::string> result;
        for (const auto& [key, observer] : observers_) {
            result.insert(observer.name);
        }
        return result;
    }

    // Makes the listener listen for the names of those who observe, or end when nobody does.
    void updateListener() {
        std::lock_guard lock(listenerMutex_);
        auto wanted = names();
        if (wanted.empty()) {
            listener_.reset();
            return;
        }
        if (!listener_ || !listener_->isAlive()) {
            listener_ = std::make_unique<NotificationListener>(
                [observers = weak_from_this()](NotificationSignal signal) {
                    if (auto self = observers.lock()) {
                        self->queue(std::move(signal));
                    }
                });
        }
        listener_->setNames(std::move(wanted));
    }

    // On the listener's thread.
    void queue(NotificationSignal signal) {
        {
            std::lock_guard lock(mutex_);
            auto& count = waitingByName_[signal.name];
            if (count == kWaitingAtMost) {
                return;
            }
            ++count;
            waiting_.push_back(std::move(signal));
        }
        if (const auto& mainThread = current().mainThread) {
            mainThread->perform([self = shared_from_this()] { self->deliverNext(); }, Wait::No);
        }
    }

    // On the main thread.
    void deliverNext() {
        NotificationSignal signal;
        std::vector<unsigned> keys;
        {
            std::lock_guard lock(mutex_);
            signal = std::move(waiting_.front());
            waiting_.pop_front();
            if (auto count = waitingByName_.find(signal.name); --count->second == 0) {
                waitingByName_.erase(count);
            }
            for (const auto& [key, observer] : observers_) {
                if (observer.name == signal.name) {
                    keys.push_back(key);
                }
            }
        }
        for (auto key : keys) {
            if (auto handler = handlerOf(key)) { // the one before may have removed it
                (*handler)(signal.object, signal.userInfo);
            }
        }
    }

    std::shared_ptr<Handler> handlerOf(unsigned key) {
        std::lock_guard lock(mutex_);
        auto found = observers_.find(key);
        return found == observers_.end() ? nullptr : found->second.handler;
    }

    std::mutex mutex_; // guards what follows
    unsigned lastKey_ = 0;
    std::map<unsigned, Observer> observers_;
    std::deque<NotificationSignal> waiting_;
    std::map<std::string, std::size_t> waitingByName_;

    std::mutex listenerMutex_; // held while the bus is told, never by its thread
    std::unique_ptr<NotificationListener> listener_;
};

BusNotifications::BusNotifications() : observers_(std::make_shared<Observers>()) {}

BusNotifications::~BusNotifications() = default;

std::shared_ptr<void> BusNotifications::addObserver(const std::string& name, Handler handler) {
    return observers_->add(name, std::move(handler));
}

bool BusNotifications::post(const std::string& name, const std::string& object,
                            const PropertyList::Dictionary& userInfo) {
    auto connection = connectToSessionBus(kPostPatience);
    return NotificationSignal{name, object, userInfo}.post(connection);
}

} // namespace platform
