#pragma once

#include "FileDescriptor.h"

#include <chrono>
#include <cstdint>
#include <memory>
#include <systemd/sd-bus.h>

namespace platform {

struct DBusMessageReleaser {
    void operator()(sd_bus_message* message) const { sd_bus_message_unref(message); }
};
using DBusMessage = std::unique_ptr<sd_bus_message, DBusMessageReleaser>;

// A private connection to a bus, in which everything together takes no longer than its time limit:
// connecting, greeting and every call. Used by one thread.
class DBusConnection {
public:
    enum class Bus { System, Session };

    DBusConnection(Bus bus, std::chrono::milliseconds limit);

    // The bus that the socket is connected to already.
    DBusConnection(FileDescriptor socket, std::chrono::milliseconds limit);

    // Another time limit, from now on.
    void setLimit(std::chrono::milliseconds limit);

    // Gives the connection up, with all its names.
    void close() { bus_.reset(); }

    // False when there is no bus, or none that answered in time.
    bool isConnected() const { return bus_ != nullptr; }

    // A call to be filled in and sent; null when out of memory.
    DBusMessage methodCall(const char* destination, const char* path, const char* interface,
                           const char* member);

    // The answer; null for an error or when the time is up. `error` then gets what went wrong; the caller
    // frees it.
    DBusMessage send(const DBusMessage& call, sd_bus_error* error = nullptr);

    // Has everything sent so far passed through the bus? Waits for that.
    bool roundTrip();

    // For what is not a call. Null when there is no bus.
    sd_bus* bus() const { return bus_.get(); }

private:
    struct Closer {
        void operator()(sd_bus* bus) const { sd_bus_close_unref(bus); }
    };

    void greet();
    std::uint64_t remaining() const; // microseconds

    std::chrono::steady_clock::time_point deadline_;
    std::unique_ptr<sd_bus, Closer> bus_;
};

} // namespace platform
