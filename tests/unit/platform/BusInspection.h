#pragma once

#include "PrivateBus.h"
#include "WaitUntil.h"

#include <algorithm>
#include <filesystem>
#include <iterator>
#include <string>
#include <vector>

// What is going on on a bus, as the bus itself tells it.
class BusInspection {
public:
    explicit BusInspection(const PrivateBus& bus) : connection_(bus.connect()) {}

    // The match rules of all connections that have this text in them.
    std::vector<std::string> matchRules(const std::string& text) const {
        const auto answer = ask("org.freedesktop.DBus.Debug.Stats", "GetAllMatchRules");
        std::vector<std::string> rules;
        succeed(sd_bus_message_enter_container(answer.get(), 'a', "{sas}"), "rules");
        while (sd_bus_message_enter_container(answer.get(), 'e', "sas") > 0) {
            const char* owner = nullptr;
            const char* rule = nullptr;
            succeed(sd_bus_message_read(answer.get(), "s", &owner), "owner");
            succeed(sd_bus_message_enter_container(answer.get(), 'a', "s"), "owner's rules");
            while (sd_bus_message_read(answer.get(), "s", &rule) > 0) {
                if (std::string(rule).find(text) != std::string::npos) {
                    rules.emplace_back(rule);
                }
            }
            succeed(sd_bus_message_exit_container(answer.get()), "end of the owner's rules");
            succeed(sd_bus_message_exit_container(answer.get()), "end of the owner");
        }
        return rules;
    }

    // Until so many of these rules are there.
    void waitForRules(const std::string& text, std::size_t count) const {
        waitUntil([&] { return matchRules(text).size() == count; },
                  std::to_string(count) + " match rules with " + text);
    }

    // The unique names of all connections but this one.
    std::vector<std::string> connections() const {
        const auto answer = ask("org.freedesktop.DBus", "ListNames");
        const char* own = nullptr;
        succeed(sd_bus_get_unique_name(connection_.get(), &own), "own name");
        std::vector<std::string> names;
        const char* name = nullptr;
        succeed(sd_bus_message_enter_container(answer.get(), 'a', "s"), "names");
        while (sd_bus_message_read(answer.get(), "s", &name) > 0) {
            if (name[0] == ':' && std::string(name) != own) {
                names.emplace_back(name);
            }
        }
        return names;
    }

    // Until all others have left, which the bus notices in its own time.
    void waitUntilAlone() const {
        waitUntil([this] { return connections().empty(); }, "all others to leave the bus");
    }

private:
    struct Releaser {
        void operator()(sd_bus_message* message) const { sd_bus_message_unref(message); }
    };
    using Message = std::unique_ptr<sd_bus_message, Releaser>;

    Message ask(const char* interface, const char* member) const {
        sd_bus_message* answer = nullptr;
        succeed(sd_bus_call_method(connection_.get(), "org.freedesktop.DBus", "/org/freedesktop/DBus",
                                   interface, member, nullptr, &answer, ""),
                member);
        return Message(answer);
    }

    PrivateBus::Connection connection_;
};

// Entries of a folder below /proc/self, as "fd" or "task".
inline std::size_t countOfOwn(const char* folder) {
    const std::filesystem::directory_iterator entries("/proc/self/" + std::string(folder));
    return static_cast<std::size_t>(std::distance(begin(entries), end(entries)));
}
