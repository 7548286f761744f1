#include "WaitUntil.h"
#include "linux/DBusDictionary.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <poll.h>
#include <string>
#include <string_view>
#include <systemd/sd-bus.h>
#include <thread>
#include <unistd.h>

// A controlling application: controller_peer PORT KIND FILE publishes the port on the session bus and writes
// every message that it gets as a line to the file. KIND says what it is like:
//
//   new      has all messages          old     has those of the protocol alone
//   empty    has none of them          nothing publishes no object
//   mute     never answers anybody
//   dying    ends when it is asked what it has
//   leaving  says what it has, and ends
//   slow     has all messages, and takes a tenth of a second to say so
//   late     has all messages, and does not say so before there is a file FILE.go
//   busy     has all messages, and is done with none before there is a file FILE.go
//
// What is sent to an object that does not have it is written all the same.

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

struct Output {
    std::FILE* file;
    std::string gate; // another file, which somebody makes when it is time

    void waitForGate() const {
        try {
            waitUntil([this] { return ::access(gate.c_str(), F_OK) == 0; }, gate);
        } catch (const std::exception& exception) { // not through the library
            std::fprintf(stderr, "%s\n", exception.what());
            ::_exit(1);
        }
    }
};

int received(sd_bus_message* message, void* data, sd_bus_error*) {
    const auto* output = static_cast<Output*>(data);
    const auto line = sd_bus_message_get_member(message) + argumentsOf(message) +
                      (sd_bus_message_get_expect_reply(message) ? " expects an answer" : "") + "\n";
    std::fputs(line.c_str(), output->file);
    std::fflush(output->file);
    return 1;
}

// Filters, which see a message before the object does, if there is one. This one is for those without
// messages.
int receiveAnything(sd_bus_message* message, void* data, sd_bus_error* error) {
    return sd_bus_message_is_method_call(message, kInterface, nullptr) > 0 ? received(message, data, error)
                                                                           : 0;
}

int waitBeforeMessages(sd_bus_message* message, void* data, sd_bus_error*) {
    if (sd_bus_message_is_method_call(message, kInterface, nullptr) > 0) {
        static_cast<Output*>(data)->waitForGate();
    }
    return 0; // it is received as ever
}

// What happens when somebody asks for what there is.
using WhenAsked = void (*)(sd_bus_message* question, const Output& output);

template <WhenAsked whenAsked>
int filter(sd_bus_message* message, void* data, sd_bus_error*) {
    if (sd_bus_message_is_method_call(message, "org.freedesktop.DBus.Introspectable", "Introspect") > 0) {
        whenAsked(message, *static_cast<Output*>(data));
    }
    return 0; // it is answered as ever
}

void end(sd_bus_message*, const Output&) {
    ::_exit(0);
}

void answerAndEnd(sd_bus_message* question, const Output&) {
    const auto xml = std::string("<node><interface name='") + kInterface +
                     "'><method name='postFinishedTask'/></interface></node>";
    sd_bus_reply_method_return(question, "s", xml.c_str());
    sd_bus_flush(sd_bus_message_get_bus(question));
    ::_exit(0);
}

void delay(sd_bus_message*, const Output&) {
    std::this_thread::sleep_for(std::chrono::milliseconds(100));
}

void waitForGate(sd_bus_message*, const Output& output) {
    output.waitForGate();
}

constexpr auto kFlags = SD_BUS_VTABLE_UNPRIVILEGED | SD_BUS_VTABLE_METHOD_NO_REPLY;

const sd_bus_vtable kNoMembers[] = {SD_BUS_VTABLE_START(0), SD_BUS_VTABLE_END};

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

struct Kind {
    std::string_view name;
    const sd_bus_vtable* members;              // null when there is no object
    sd_bus_message_handler_t filter = nullptr; // before the object gets a message
};

constexpr Kind kKinds[] = {{"new", kNewMembers},
                           {"old", kOldMembers},
                           {"empty", kNoMembers, receiveAnything},
                           {"nothing", nullptr, receiveAnything},
                           {"mute", nullptr},
                           {"dying", nullptr, filter<end>},
                           {"leaving", nullptr, filter<answerAndEnd>},
                           {"slow", kNewMembers, filter<delay>},
                           {"late", kNewMembers, filter<waitForGate>},
                           {"busy", kNewMembers, waitBeforeMessages}};

int run(const std::string& port, const Kind& kind, Output& output) {
    sd_bus* bus = nullptr;
    if (sd_bus_open_user(&bus) < 0) {
        return 1;
    }
    const auto path = "/com/vantorel/" + port;
    if ((kind.members &&
         sd_bus_add_object_vtable(bus, nullptr, path.c_str(), kInterface, kind.members, &output) < 0) ||
        (kind.filter && sd_bus_add_filter(bus, nullptr, kind.filter, &output) < 0) ||
        sd_bus_request_name(bus, ("com.vantorel." + port).c_str(), 0) < 0) {
        return 1;
    }
    if (kind.name == "mute") {
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
    if (argc != 4) {
        return 2;
    }
    const auto* kind = std::ranges::find(kKinds, std::string_view(argv[2]), &Kind::name);
    Output output{.file = std::fopen(argv[3], "a"), .gate = argv[3] + std::string(".go")};
    return kind != std::end(kKinds) && output.file ? run(argv[1], *kind, output) : 2;
}
