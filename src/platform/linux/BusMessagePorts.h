#pragma once

#include "MessagePorts.h"

namespace platform {

// Message ports as names on the session bus: "com.vantorel." and the port's name, with the root object on the
// path of that name. A protocol is an interface, "com.vantorel." and its name. Nothing is kept between calls,
// and no receiver is started for the sake of a message.
class BusMessagePorts : public MessagePorts {
public:
    std::unique_ptr<RemoteObject> rootProxy(const std::vector<std::string>& names) override;
};

} // namespace platform
