#pragma once

#include "DBusConnection.h"
#include "PropertyList.h"

#include <optional>
#include <string>

namespace platform {

// The signal that carries a suite-wide notification over the session bus:
// com.vantorel.DistributedNotification.Posted(s name, s object, a{sv} userInfo).
struct NotificationSignal {
    std::string name;
    std::string object; // empty when it is about nobody in particular
    PropertyList::Dictionary userInfo;

    // Sends it and returns once it has passed through the bus. False when it cannot be sent.
    bool post(DBusConnection& connection) const;

    // Absent when the message is not this signal in every respect, or larger than any should be.
    static std::optional<NotificationSignal> from(sd_bus_message* message);

    // What the bus must know to hand on signals with that name.
    static std::string matchRule(const std::string& name);
};

} // namespace platform
