#include "BusMessagePorts.h"

#include "DBusDictionary.h"
#include "Exception.h"
#include "IntrospectedMethods.h"
#include "SessionBus.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <optional>
#include <set>
#include <string_view>

namespace platform {

namespace {

constexpr std::chrono::seconds kPortPatience{1};

constexpr const char* kPrefix = "com.vantorel.";

class BusError {
public:
    ~BusError() { sd_bus_error_free(&error_); }
    BusError() = default;
    BusError(const BusError&) = delete;
    BusError& operator=(const BusError&) = delete;

    sd_bus_error* get() { return &error_; }

    // Did the object itself answer, if only that this cannot be done?
    bool isAnswer() const {
        constexpr std::array kNobodyAnswered{SD_BUS_ERROR_NO_REPLY, SD_BUS_ERROR_TIMEOUT,
                                             SD_BUS_ERROR_SERVICE_UNKNOWN, SD_BUS_ERROR_NAME_HAS_NO_OWNER,
                                             SD_BUS_ERROR_DISCONNECTED};
        const std::string_view name = error_.name ? error_.name : "";
        constexpr std::string_view kOfThisSide = "System.Error.";
        return !name.empty() && !name.starts_with(kOfThisSide) &&
               std::ranges::find(kNobodyAnswered, name) == kNobodyAnswered.end();
    }

private:
    sd_bus_error error_ = SD_BUS_ERROR_NULL;
};

bool appendArgument(sd_bus_message* message, const RemoteObject::Argument& argument) {
    if (const auto* text = std::get_if<std::string>(&argument)) {
        return appendText(message, *text);
    }
    if (const auto* dictionary = std::get_if<PropertyList::Dictionary>(&argument)) {
        return appendDictionary(message, *dictionary);
    }
    if (const auto* object = std::get_if<RemoteObject::AnyObject>(&argument)) {
        return appendValue(message, object->value);
    }
    return true; // an empty slot is nothing on the bus
}

class BusObject : public RemoteObject {
public:
    BusObject(DBusConnection connection, std::string owner, const std::string& port)
        : connection_(std::move(connection)), owner_(std::move(owner)), path_("/com/vantorel/" + port) {}

    void setProtocol(const std::string& protocol) override {
        interface_ = kPrefix + protocol;
        methods_.reset();
    }

    bool respondsTo(const std::string& message) override {
        if (!methods_) {
            methods_ = introspectedMethods(introspection(), interface_);
        }
        return methods_->contains(message);
    }

    void send(const std::string& message, const std::vector<Argument>& arguments) override {
        connection_.setLimit(kPortPatience);
        const auto call =
            connection_.methodCall(owner_.c_str(), path_.c_str(), interface_.c_str(), message.c_str());
        if (!call || sd_bus_message_set_expect_reply(call.get(), 0) < 0 ||
            !std::ranges::all_of(
                arguments, [&](const auto& argument) { return appendArgument(call.get(), argument); })) {
            throw Exception("NSInvalidArgumentException", "an argument of " + message + " cannot be sent");
        }
        // The bus takes what one connection sends in order: what it answers after comes after.
        if (sd_bus_send(connection_.bus(), call.get(), nullptr) < 0 || !connection_.roundTrip()) {
            throw Exception(kPortTimeoutException, "the message " + message + " could not be handed over");
        }
    }

private:
    std::string introspection() {
        connection_.setLimit(kPortPatience);
        BusError error;
        const auto answer =
            connection_.send(connection_.methodCall(owner_.c_str(), path_.c_str(),
                                                    "org.freedesktop.DBus.Introspectable", "Introspect"),
                             error.get());
        const char* xml = nullptr;
        if (answer && sd_bus_message_read(answer.get(), "s", &xml) > 0) {
            return xml;
        }
        if (!answer && !error.isAnswer()) {
            throw Exception(kPortTimeoutException, "nobody answers at " + path_);
        }
        return "";
    }

    DBusConnection connection_;
    const std::string owner_; // the process itself: another one may get the name
    const std::string path_;
    std::string interface_;
    std::optional<std::set<std::string>> methods_; // of the protocol; absent before they have been asked for
};

std::string ownerOf(DBusConnection& connection, const std::string& name) {
    auto call = connection.methodCall("org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus",
                                      "GetNameOwner");
    if (!call || sd_bus_message_append(call.get(), "s", name.c_str()) < 0) {
        return "";
    }
    const auto answer = connection.send(call);
    const char* owner = nullptr;
    return answer && sd_bus_message_read(answer.get(), "s", &owner) > 0 ? owner : "";
}

} // namespace

std::unique_ptr<RemoteObject> BusMessagePorts::rootProxy(const std::vector<std::string>& names) {
    auto connection = connectToSessionBus(kPortPatience);
    if (!connection.isConnected()) {
        return nullptr;
    }
    for (const auto& name : names) {
        if (auto owner = ownerOf(connection, kPrefix + name); !owner.empty()) {
            return std::make_unique<BusObject>(std::move(connection), std::move(owner), name);
        }
    }
    return nullptr;
}

} // namespace platform
