#pragma once

#include "DistributedNotifications.h"

namespace platform {

// Suite-wide notifications as signals on the session bus. While nobody observes there is no connection and no
// thread. Once the bus has gone nothing is heard until another observer is added.
class BusNotifications : public DistributedNotifications {
public:
    BusNotifications();
    ~BusNotifications() override;

    [[nodiscard]] std::shared_ptr<void> addObserver(const std::string& name, Handler handler) override;
    bool post(const std::string& name, const std::string& object,
              const PropertyList::Dictionary& userInfo) override;

private:
    class Observers;
    std::shared_ptr<Observers> observers_; // each observer's as well
};

} // namespace platform
