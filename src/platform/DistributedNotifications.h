#pragma once

#include "PropertyList.h"

#include <functional>
#include <memory>
#include <string>

namespace platform {

// Suite-wide notifications: every process of the user's session that listens for the name gets one, whoever
// posts it. Any thread; no call throws, and none waits for more than a moment when there is no session bus.
class DistributedNotifications {
public:
    using Handler = std::function<void(const std::string& object, const PropertyList::Dictionary& userInfo)>;

    virtual ~DistributedNotifications() = default;

    // Calls the handler on the main thread for each notification of that name, until the handle is
    // destroyed; not after that when it is destroyed on the main thread.
    [[nodiscard]] virtual std::shared_ptr<void> addObserver(const std::string& name, Handler handler) = 0;

    // `object` says whom it is about; empty when nobody in particular. A process that runs as root posts as
    // the console user. False when the notification could not be handed to the session.
    virtual bool post(const std::string& name, const std::string& object = {},
                      const PropertyList::Dictionary& userInfo = {}) = 0;
};

} // namespace platform
