#pragma once

#include <memory>
#include <stdexcept>
#include <string>
#include <sys/types.h>
#include <systemd/sd-bus.h>
#include <vector>

// A real message bus of the test's own, on a socket in the sandbox. Ends with this object, together with
// what it started.
class PrivateBus {
public:
    // A program that takes the name on the bus; the bus starts it when it is asked for.
    struct Service {
        std::string name;
        std::string command;
    };

    explicit PrivateBus(const std::vector<Service>& services = {});
    ~PrivateBus();
    PrivateBus(const PrivateBus&) = delete;
    PrivateBus& operator=(const PrivateBus&) = delete;

    // From now on the daemon does nothing more, though nobody is disconnected.
    void stop() const;

    const std::string& address() const { return address_; }

    // A connection for the test itself, with all the patience in the world.
    struct Closer {
        void operator()(sd_bus* bus) const { sd_bus_flush_close_unref(bus); }
    };
    using Connection = std::unique_ptr<sd_bus, Closer>;
    Connection connect() const;

    // Starts the service and returns once it has its name.
    void start(const std::string& name) const;

private:
    pid_t daemon_ = 0;
    std::string address_;
};

// Throws when `result` is a negative error number, saying what was tried.
void succeed(int result, const char* what);

// Calls a method with arguments of these D-Bus types, which takes as long as it takes; throws when it fails.
template <typename... Arguments>
void call(sd_bus* bus, const char* destination, const char* path, const char* interface, const char* member,
          const char* types, Arguments... arguments) {
    sd_bus_error error = SD_BUS_ERROR_NULL;
    if (sd_bus_call_method(bus, destination, path, interface, member, &error, nullptr, types, arguments...) <
        0) {
        std::string text = std::string(member) + ": " + (error.message ? error.message : "no answer");
        sd_bus_error_free(&error);
        throw std::runtime_error(text);
    }
}
