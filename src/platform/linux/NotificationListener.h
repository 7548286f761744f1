#pragma once

#include "NotificationSignal.h"

#include <functional>
#include <memory>
#include <set>
#include <string>

namespace platform {

// Hears suite-wide notifications on a thread and a connection of its own, which both end with this object.
// Nothing else reaches the thread's caller: the bus hands on only the names that are listened for, and what
// is not a notification is dropped on the thread.
class NotificationListener {
public:
    // Called on the listener's thread.
    using Receiver = std::function<void(NotificationSignal signal)>;

    explicit NotificationListener(Receiver receiver);
    ~NotificationListener(); // does not wait for a bus that has hung; the thread then ends later
    NotificationListener(const NotificationListener&) = delete;
    NotificationListener& operator=(const NotificationListener&) = delete;

    // Listens for exactly these names from now on. Returns when the bus knows, or after a moment.
    void setNames(std::set<std::string> names);

    // False once there is no bus, or no longer.
    bool isAlive() const;

private:
    struct State;
    std::shared_ptr<State> state_; // the thread's as well
};

} // namespace platform
