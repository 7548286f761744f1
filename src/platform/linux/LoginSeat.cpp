#include "LoginSeat.h"

#include "DBusConnection.h"

#include <chrono>

namespace platform {

namespace {

constexpr const char* kSeat = "org.freedesktop.login1.Seat";
constexpr const char* kSession = "org.freedesktop.login1.Session";
constexpr std::chrono::seconds kSeatPatience{2};

// The property's value, ready to be read; null when it could not be had.
DBusMessage property(DBusConnection& bus, const char* path, const char* interface, const char* name,
                     const char* type) {
    auto call = bus.methodCall("org.freedesktop.login1", path, "org.freedesktop.DBus.Properties", "Get");
    if (!call || sd_bus_message_append(call.get(), "ss", interface, name) < 0) {
        return nullptr;
    }
    auto answer = bus.send(call);
    return answer && sd_bus_message_enter_container(answer.get(), 'v', type) > 0 ? std::move(answer)
                                                                                 : nullptr;
}

std::string sessionText(DBusConnection& bus, const char* session, const char* name) {
    auto answer = property(bus, session, kSession, name, "s");
    const char* value = nullptr;
    return answer && sd_bus_message_read(answer.get(), "s", &value) > 0 ? value : "";
}

} // namespace

SeatAnswer activeSessionOfSeat0() {
    DBusConnection bus(DBusConnection::Bus::System, kSeatPatience);
    if (!bus.isConnected()) {
        return {};
    }
    auto active = property(bus, "/org/freedesktop/login1/seat/seat0", kSeat, "ActiveSession", "(so)");
    const char* identifier = nullptr;
    const char* session = nullptr;
    if (!active || sd_bus_message_read(active.get(), "(so)", &identifier, &session) <= 0) {
        return {};
    }
    SeatAnswer answer{.reached = true, .userName = std::nullopt};
    if (*identifier == '\0') {
        return answer; // an empty seat
    }
    if (sessionText(bus, session, "Class") == "greeter") {
        answer.userName = "loginwindow";
    } else if (auto name = sessionText(bus, session, "Name"); !name.empty()) {
        answer.userName = std::move(name);
    }
    return answer;
}

} // namespace platform
