#include "linux/DBusDictionary.h"

#include <cstdio>
#include <cstring>
#include <poll.h>
#include <string>
#include <string_view>
#include <systemd/sd-bus.h>
#include <unistd.h>

// A controlling application: controller_peer PORT KIND FILE publishes the port on the session bus and writes
// every message that it gets as a line to the file. KIND says what it is like:
//
//   new      has all messages          old     has those of the protocol alone
//   nothing  publishes no object       mute    never answers anybody
//   dying    ends when it is asked what it has

namespace {

constexpr const char* kInterface = "com.vantorel.VTOSTLErrorCallbackProtocol";

using platform::PropertyList;

std::string textOf(const PropertyList::Dictionary& dictionary) {
    std::string text;
    for (const auto& [key, value] : dictionary) {
        text += " " + key + "=" + (value.string() ? *value.string() : "?");
    }
    return text;
}

// The arguments, each after a space.
std::string argumentsOf(sd_bus_message* message) {
    std::string text;
    char type = 0;
    const char* contents = nullptr;
    while (sd_bus_message_peek_type(message, &type, &contents) > 0) {
        const char* value = nullptr;
        if (type == 's' && sd_bus_message_read(message, "s", &value) > 0) {
            text += std::string(" ") + value;
        } else if (type == 'v' && std::string_view(contents) == "s" &&
                   sd_bus_message_read(message, "v", "s", &value) > 0) {
            text += std::string(" <") + value + ">";
        } else if (type == 'v' && std::string_view(contents) == "a{sv}" &&
                   sd_bus_message_enter_container(message, 'v', "a{sv}") > 0) {
            const auto dictionary = platform::readDictionary(message);
            sd_bus_message_exit_container(message);
            text += " <" + (dictionary ? textOf(*dictionary) : "?") + " >";
        } else {
            const auto dictionary = platform::readDictionary(message);
            text += dictionary ? textOf(*dictionary) : "?";
            if (!dictionary) {
                break;
            }
        }
    }
    return text;
}

int received(sd_bus_message* message, void* file, sd_bus_error*) {
    const auto line = sd_bus_message_get_member(message) + argumentsOf(message) +
                      (sd_bus_message_get_expect_reply(message) ? " expects an answer" : "") + "\n";
    std::fputs(line.c_str(), static_cast<std::FILE*>(file));
    std::fflush(static_cast<std::FILE*>(file));
    return 1;
}

int endWhenAsked(sd_bus_message* message, void*, sd_bus_error*) {
    if (sd_bus_message_is_method_call(message, "org.freedesktop.DBus.Introspectable", "Introspect") > 0) {
        ::_exit(0);
    }
    return 0;
}

constexpr auto kFlags = SD_BUS_VTABLE_UNPRIVILEGED | SD_BUS_VTABLE_METHOD_NO_REPLY;

const sd_bus_vtable kOldMembers[] = {SD_BUS_VTABLE_START(0),
                                     SD_BUS_METHOD("incrementRemoteProgress", "", "", received, kFlags),
                                     SD_BUS_METHOD("postFinishedTask", "", "", received, kFlags),
                                     SD_BUS_METHOD("postError", "v", "", received, kFlags),
                                     SD_BUS_METHOD("postErrorString", "s", "", received, kFlags),
                                     SD_BUS_METHOD("postDisconnect", "", "", received, kFlags),
                                     SD_BUS_VTABLE_END};

const sd_bus_vtable kNewMembers[] = {SD_BUS_VTABLE_START(0),
                                     SD_BUS_METHOD("postErrorForApp", "vs", "", received, kFlags),
                                     SD_BUS_METHOD("postErrorStringUserInfo", "sa{sv}", "", received, kFlags),
                                     SD_BUS_METHOD("incrementRemoteProgress", "", "", received, kFlags),
                                     SD_BUS_METHOD("postFinishedTask", "", "", received, kFlags),
                                     SD_BUS_METHOD("postError", "v", "", received, kFlags),
                                     SD_BUS_METHOD("postErrorString", "s", "", received, kFlags),
                                     SD_BUS_METHOD("postDisconnect", "", "", received, kFlags),
                                     SD_BUS_VTABLE_END};

int run(const std::string& port, std::string_view kind, std::FILE* file) {
    sd_bus* bus = nullptr;
    if (sd_bus_open_user(&bus) < 0) {
        return 1;
    }
    const auto path = "/com/vantorel/" + port;
    if (kind == "new" || kind == "old") {
        const auto* members = kind == "new" ? kNewMembers : kOldMembers;
        if (sd_bus_add_object_vtable(bus, nullptr, path.c_str(), kInterface, members, file) < 0) {
            return 1;
        }
    } else if (kind == "dying" && sd_bus_add_filter(bus, nullptr, endWhenAsked, nullptr) < 0) {
        return 1;
    }
    if (sd_bus_request_name(bus, ("com.vantorel." + port).c_str(), 0) < 0) {
        return 1;
    }
    if (kind == "mute") {
        pollfd end{.fd = sd_bus_get_fd(bus), .events = 0, .revents = 0};
        return ::poll(&end, 1, -1) > 0 ? 0 : 1; // the bus has gone
    }
    while (sd_bus_process(bus, nullptr) >= 0) {
        if (sd_bus_wait(bus, UINT64_MAX) < 0) {
            break;
        }
    }
    return 0; // the bus has gone
}

} // namespace

int main(int argc, char** argv) {
    std::FILE* file = argc == 4 ? std::fopen(argv[3], "a") : nullptr;
    return file ? run(argv[1], argv[2], file) : 2;
}
