#include "NotificationSignal.h"

#include "DBusDictionary.h"

#include <cstring>

namespace platform {

namespace {

constexpr const char* kPath = "/com/vantorel/DistributedNotification";
constexpr const char* kInterface = "com.vantorel.DistributedNotification";
constexpr const char* kMember = "Posted";
constexpr const char* kSignature = "ssa{sv}";

// Whoever listens compares these, so they are sent as they are or not at all.
bool appendExactly(sd_bus_message* message, const std::string& text) {
    return text.find('\0') == std::string::npos &&
           sd_bus_message_append_basic(message, 's', text.c_str()) >= 0;
}

} // namespace

bool NotificationSignal::post(DBusConnection& connection) const {
    if (!connection.isConnected()) {
        return false;
    }
    sd_bus_message* made = nullptr;
    if (sd_bus_message_new_signal(connection.bus(), &made, kPath, kInterface, kMember) < 0) {
        return false;
    }
    const DBusMessage message(made);
    return appendExactly(made, name) && appendExactly(made, object) && appendDictionary(made, userInfo) &&
           sd_bus_send(connection.bus(), made, nullptr) >= 0 && connection.roundTrip();
}

std::optional<NotificationSignal> NotificationSignal::from(sd_bus_message* message) {
    const char* path = sd_bus_message_get_path(message);
    const char* name = nullptr;
    const char* object = nullptr;
    if (sd_bus_message_is_signal(message, kInterface, kMember) <= 0 || !path ||
        std::strcmp(path, kPath) != 0 || sd_bus_message_has_signature(message, kSignature) <= 0 ||
        sd_bus_message_read(message, "ss", &name, &object) <= 0) {
        return std::nullopt;
    }
    auto userInfo = readDictionary(message);
    return userInfo ? std::optional(NotificationSignal{name, object, std::move(*userInfo)}) : std::nullopt;
}

std::string NotificationSignal::matchRule(const std::string& name) {
    std::string rule = std::string("type='signal',path='") + kPath + "',interface='" + kInterface +
                       "',member='" + kMember + "',arg0='";
    for (char character : name) {
        // Within quotes every character stands for itself, so an apostrophe has to stand outside.
        rule += character == '\'' ? "'\\''" : std::string(1, character);
    }
    return rule + '\'';
}

} // namespace platform
