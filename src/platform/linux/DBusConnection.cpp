#include "DBusConnection.h"

namespace platform {

DBusConnection::DBusConnection(Bus bus, std::chrono::milliseconds limit)
    : deadline_(std::chrono::steady_clock::now() + limit) {
    sd_bus* opened = nullptr;
    if ((bus == Bus::System ? sd_bus_open_system(&opened) : sd_bus_open_user(&opened)) < 0) {
        return;
    }
    bus_.reset(opened);
    greet();
}

DBusConnection::DBusConnection(FileDescriptor socket, std::chrono::milliseconds limit)
    : deadline_(std::chrono::steady_clock::now() + limit) {
    sd_bus* opened = nullptr;
    if (!socket || sd_bus_new(&opened) < 0) {
        return;
    }
    bus_.reset(opened);
    if (sd_bus_set_fd(opened, socket.get(), socket.get()) < 0) {
        bus_.reset();
        return;
    }
    socket.release();
    if (sd_bus_set_bus_client(opened, 1) < 0 || sd_bus_negotiate_fds(opened, 0) < 0 ||
        sd_bus_start(opened) < 0) {
        bus_.reset();
        return;
    }
    greet();
}

// A call would wait for the greeting as long as the bus likes; the deadline is ours.
void DBusConnection::greet() {
    while (sd_bus_is_ready(bus()) == 0) {
        int progress = sd_bus_process(bus(), nullptr);
        auto left = remaining();
        if (progress < 0 || left == 0 || (progress == 0 && sd_bus_wait(bus(), left) < 0)) {
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

DBusMessage DBusConnection::send(const DBusMessage& call, sd_bus_error* error) {
    auto left = remaining();
    sd_bus_message* answer = nullptr;
    if (call && left > 0) {
        sd_bus_call(bus_.get(), call.get(), left, error, &answer);
    }
    return DBusMessage(answer);
}

bool DBusConnection::roundTrip() {
    return isConnected() && send(methodCall("org.freedesktop.DBus", "/org/freedesktop/DBus",
                                            "org.freedesktop.DBus", "GetId")) != nullptr;
}

std::uint64_t DBusConnection::remaining() const {
    auto left =
        std::chrono::duration_cast<std::chrono::microseconds>(deadline_ - std::chrono::steady_clock::now());
    return left.count() > 0 ? static_cast<std::uint64_t>(left.count()) : 0;
}

} // namespace platform
