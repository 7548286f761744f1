#include "SingleInstance.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <poll.h>
#include <string_view>
#include <sys/eventfd.h>

namespace platform {

namespace {

constexpr std::chrono::seconds kOwnerPatience{2};

constexpr const char* kInterface = "org.freedesktop.Application";

// Keys of an activation's platform data.
constexpr std::string_view kActivationToken = "activation-token";
constexpr std::string_view kStartupID = "desktop-startup-id";
constexpr std::string_view kDisplay = "com.vantorel.display";

std::string environmentVariable(const char* name) {
    const char* value = std::getenv(name);
    return value ? value : "";
}

// The display that windows are opened on, whichever of its screens.
std::string currentDisplay() {
    if (auto display = environmentVariable("WAYLAND_DISPLAY"); !display.empty()) {
        return display;
    }
    auto display = environmentVariable("DISPLAY");
    auto colon = display.rfind(':');
    auto dot = display.rfind('.');
    if (colon != std::string::npos && dot != std::string::npos && dot > colon) {
        display.resize(dot);
    }
    return display;
}

// As part of a bus name, of which letters and digits are left as they are.
std::string nameElement(std::string_view text) {
    static constexpr std::string_view kDigits = "0123456789abcdef";
    std::string element = "Display";
    for (char character : text) {
        auto byte = static_cast<unsigned char>(character);
        if ((byte >= '0' && byte <= '9') || (byte >= 'A' && byte <= 'Z') || (byte >= 'a' && byte <= 'z')) {
            element += character;
        } else {
            element += '_';
            element += kDigits[byte >> 4];
            element += kDigits[byte & 0x0F];
        }
    }
    return element;
}

// "/com/vantorel/Launcher" for "com.vantorel.Launcher".
std::string objectPath(const std::string& identifier) {
    auto path = '/' + identifier;
    std::ranges::replace(path, '.', '/');
    return path;
}

struct PlatformData {
    std::optional<std::string> display;
    SingleInstance::Activation activation;
};

// Reads an a{sv}; what is not understood is passed over.
int readPlatformData(sd_bus_message* message, PlatformData& data) {
    int result = sd_bus_message_enter_container(message, 'a', "{sv}");
    while (result >= 0 && (result = sd_bus_message_enter_container(message, 'e', "sv")) > 0) {
        const char* key = nullptr;
        const char* type = nullptr;
        if ((result = sd_bus_message_read(message, "s", &key)) < 0 ||
            (result = sd_bus_message_peek_type(message, nullptr, &type)) < 0) {
            return result;
        }
        const char* value = nullptr;
        if (std::string_view(type) == "s") {
            result = sd_bus_message_read(message, "v", "s", &value);
        } else {
            result = sd_bus_message_skip(message, "v");
        }
        if (value && key == kDisplay) {
            data.display = value;
        } else if (value && (key == kActivationToken || key == kStartupID)) {
            data.activation.token = value;
        }
        if (result >= 0) {
            result = sd_bus_message_exit_container(message);
        }
    }
    return result < 0 ? result : sd_bus_message_exit_container(message);
}

} // namespace

SingleInstance::SingleInstance(std::string identifier)
    : identifier_(std::move(identifier)), display_(currentDisplay()), path_(objectPath(identifier_)),
      connection_(DBusConnection::Bus::Session, kOwnerPatience), stop_(::eventfd(0, EFD_CLOEXEC)) {}

SingleInstance::~SingleInstance() {
    leave();
    waitUntilLeft();
}

void SingleInstance::leave() {
    ::eventfd_write(stop_.get(), 1);
}

void SingleInstance::waitUntilLeft() {
    if (thread_.joinable()) {
        thread_.join();
    }
}

bool SingleInstance::handOver() {
    if (!connection_.isConnected()) {
        return false;
    }
    // The display's own name first: who holds it is the copy that is meant.
    const auto deadline = std::chrono::steady_clock::now() + kOwnerPatience;
    for (const auto& name : {identifier_ + '.' + nameElement(display_), identifier_}) {
        bool isOurs = claim(name);
        if (!isOurs && ownerComesForward(name, deadline)) {
            return true;
        }
        // An owner that was about to end has given the name up meanwhile.
        if (isOurs || claim(name)) {
            reachable_ = true;
        }
    }
    return false;
}

bool SingleInstance::claim(const std::string& name) {
    constexpr std::uint32_t kDoNotQueue = 4;
    constexpr std::uint32_t kPrimaryOwner = 1;
    connection_.setLimit(kOwnerPatience); // the bus itself answers at once
    auto call = connection_.methodCall("org.freedesktop.DBus", "/org/freedesktop/DBus",
                                       "org.freedesktop.DBus", "RequestName");
    if (!call || sd_bus_message_append(call.get(), "su", name.c_str(), kDoNotQueue) < 0) {
        return false;
    }
    std::uint32_t outcome = 0;
    auto answer = connection_.send(call);
    return answer && sd_bus_message_read(answer.get(), "u", &outcome) >= 0 && outcome == kPrimaryOwner;
}

bool SingleInstance::ownerComesForward(const std::string& name, Time deadline) {
    connection_.setLimit(
        std::chrono::duration_cast<std::chrono::milliseconds>(deadline - std::chrono::steady_clock::now()));
    auto call = connection_.methodCall(name.c_str(), path_.c_str(), kInterface, "Activate");
    if (!call) {
        return false;
    }
    auto token = environmentVariable("XDG_ACTIVATION_TOKEN");
    auto startupID = environmentVariable("DESKTOP_STARTUP_ID");
    std::array<std::pair<std::string_view, const std::string*>, 3> data{
        {{kDisplay, &display_}, {kActivationToken, &token}, {kStartupID, &startupID}}};
    int result = sd_bus_message_open_container(call.get(), 'a', "{sv}");
    for (const auto& [key, value] : data) {
        if (result >= 0 && !value->empty()) {
            result = sd_bus_message_append(call.get(), "{sv}", key.data(), "s", value->c_str());
        }
    }
    if (result < 0 || sd_bus_message_close_container(call.get()) < 0) {
        return false;
    }
    return connection_.send(call) != nullptr;
}

void SingleInstance::serve(std::function<bool(const Activation&)> activate,
                           std::function<void()> connectionLost) {
    static const sd_bus_vtable kMembers[] = {
        SD_BUS_VTABLE_START(0),
        SD_BUS_METHOD("Activate", "a{sv}", "", activateCalled, SD_BUS_VTABLE_UNPRIVILEGED),
        SD_BUS_METHOD("Open", "asa{sv}", "", openCalled, SD_BUS_VTABLE_UNPRIVILEGED),
        SD_BUS_METHOD("ActivateAction", "sava{sv}", "", actionCalled, SD_BUS_VTABLE_UNPRIVILEGED),
        SD_BUS_VTABLE_END};
    activate_ = std::move(activate);
    connectionLost_ = std::move(connectionLost);
    if (!reachable_ ||
        sd_bus_add_object_vtable(connection_.bus(), nullptr, path_.c_str(), kInterface, kMembers, this) < 0) {
        reachable_ = false;
        return;
    }
    thread_ = std::thread([this] { run(); });
}

int SingleInstance::activateCalled(sd_bus_message* call, void* instance, sd_bus_error* error) {
    return static_cast<SingleInstance*>(instance)->activateFor(call, error);
}

// Files are not what this program opens; whoever sends some wants to see it all the same.
int SingleInstance::openCalled(sd_bus_message* call, void* instance, sd_bus_error* error) {
    int result = sd_bus_message_skip(call, "as");
    return result < 0 ? result : static_cast<SingleInstance*>(instance)->activateFor(call, error);
}

int SingleInstance::actionCalled(sd_bus_message*, void*, sd_bus_error* error) {
    return sd_bus_error_set_const(error, SD_BUS_ERROR_NOT_SUPPORTED, "There are no actions.");
}

int SingleInstance::activateFor(sd_bus_message* call, sd_bus_error* error) {
    PlatformData data;
    if (int result = readPlatformData(call, data); result < 0) {
        return result;
    }
    if (data.display && data.display != display_) {
        return sd_bus_error_set_const(error, SD_BUS_ERROR_NOT_SUPPORTED,
                                      "Its windows are on another display.");
    }
    // Answered once it has been done: a copy that hangs does not answer.
    return activate_(data.activation)
               ? sd_bus_reply_method_return(call, "")
               : sd_bus_error_set_const(error, SD_BUS_ERROR_FAILED, "It is about to end.");
}

void SingleInstance::run() {
    auto* bus = connection_.bus();
    for (;;) {
        int progress = sd_bus_process(bus, nullptr);
        if (progress < 0) {
            break;
        }
        if (progress > 0) {
            continue;
        }
        std::array<pollfd, 2> descriptors{
            {{.fd = sd_bus_get_fd(bus), .events = static_cast<short>(sd_bus_get_events(bus)), .revents = 0},
             {.fd = stop_.get(), .events = POLLIN, .revents = 0}}};
        ::poll(descriptors.data(), descriptors.size(), -1);
        if (descriptors[1].revents != 0) {
            connection_.close();
            return;
        }
    }
    reachable_ = false;
    connectionLost_();
}

} // namespace platform
