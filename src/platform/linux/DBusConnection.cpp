#include "DBusConnection.h"

namespace platform {

DBusConnection::DBusConnection(Bus bus, std::chrono::milliseconds limit)
    : deadline_(std::chrono::steady_clock::now() + limit) {
    sd_bus* opened = nullptr;
    if ((bus == Bus::System ? sd_bus_open_system(&opened) : sd_bus_open_user(&opened)) < 0) {
        return;
    }
    bus_.reset(opened);
    // A call would wait for the greeting as long as the bus likes; the deadline is ours.
    while (sd_bus_is_ready(opened) == 0) {
        int progress = sd_bus_process(opened, nullptr);
        auto left = remaining();
        if (progress < 0 || left == 0 || (progress == 0 && sd_bus_wait(opened, left) < 0)) {
            bus_.reset();
            return;
        }
    }
}

void DBusConnection::setLimit(std::chrono::milliseconds limit) {
    deadline_ = std::chrono::steady_clock::now() + limit;
}

DBusMessage DBusConnection::methodCall(const char* destination, const char* path, const char* interface,
                                       const char* member) {
    sd_bus_message* call = nullptr;
    sd_bus_message_new_method_call(bus_.get(), &call, destination, path, interface, member);
    return DBusMessage(call);
}

DBusMessage DBusConnection::send(const DBusMessage& call) {
    auto left = remaining();
    sd_bus_message* answer = nullptr;
    if (call && left > 0) {
        sd_bus_call(bus_.get(), call.get(), left, nullptr, &answer);
    }
    return DBusMessage(answer);
}

std::uint64_t DBusConnection::remaining() const {
    auto left =
        std::chrono::duration_cast<std::chrono::microseconds>(deadline_ - std::chrono::steady_clock::now());
    return left.count() > 0 ? static_cast<std::uint64_t>(left.count()) : 0;
}

} // namespace platform
