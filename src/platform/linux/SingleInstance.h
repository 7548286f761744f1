#pragma once

#include "DBusConnection.h"
#include "FileDescriptor.h"

#include <atomic>
#include <functional>
#include <optional>
#include <string>
#include <thread>

namespace platform {

// Sees to it that a user runs one copy of the program on a display, by a name on the session bus. A second
// copy asks the first to come forward, through freedesktop.org's interface org.freedesktop.Application, and
// leaves.
//
// The name is the program's identifier, and besides it one for the display: a user may have two displays on
// one bus, as when logged in from another machine.
class SingleInstance {
public:
    // What a second start brings along. All may be absent.
    struct Activation {
        std::optional<std::string> token; // activation token or startup id of the desktop
    };

    // `identifier` as in "com.vantorel.Launcher".
    explicit SingleInstance(std::string identifier);
    ~SingleInstance();
    SingleInstance(const SingleInstance&) = delete;
    SingleInstance& operator=(const SingleInstance&) = delete;

    // True when another copy has been asked to come forward, and did. A copy that does not answer within two
    // seconds is ignored. Called once, before anything else.
    bool handOver();

    // Both are called on a thread of its own: `activate` whenever the program is started again, and answers
    // whether it came forward; `connectionLost` when the bus has gone and nobody can call any more. Does
    // nothing when `isReachable` is false.
    void serve(std::function<bool(const Activation&)> activate, std::function<void()> connectionLost);

    // The program is about to end: gives the names up, so that a start from now on is one of its own. Returns
    // at once; a call that is under way may still come to its end.
    void leave();

    // Waits for that call and for the thread. Once nothing holds them up any more.
    void waitUntilLeft();

    // Would a second start find this copy? Any thread.
    bool isReachable() const { return reachable_; }

private:
    using Time = std::chrono::steady_clock::time_point;

    bool claim(const std::string& name);
    bool ownerComesForward(const std::string& name, Time deadline);
    void run();
    static int activateCalled(sd_bus_message* call, void* instance, sd_bus_error* error);
    static int openCalled(sd_bus_message* call, void* instance, sd_bus_error* error);
    static int actionCalled(sd_bus_message* call, void* instance, sd_bus_error* error);
    int activateFor(sd_bus_message* call, sd_bus_error* error);

    const std::string identifier_;
    const std::string display_;
    const std::string path_; // of the object on the bus
    DBusConnection connection_;
    FileDescriptor stop_;
    std::function<bool(const Activation&)> activate_;
    std::function<void()> connectionLost_;
    std::atomic<bool> reachable_ = false;
    std::thread thread_;
};

} // namespace platform
