#include "Repair.h"

#include "linux/LinuxUsers.h"

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <grp.h>
#include <memory>
#include <pwd.h>
#include <string>
#include <systemd/sd-bus.h>
#include <thread>
#include <unistd.h>

namespace {

constexpr auto kDuration = std::chrono::seconds(3);

// Gives up root for good: a session bus turns away everybody but its own user, and whoever only
// changed the effective user id.
bool becomeConsoleUser() {
    auto name = platform::LinuxUsers().consoleUser();
    const passwd* user = name ? ::getpwnam(name->c_str()) : nullptr;
    if (!user || user->pw_uid == 0) {
        return false;
    }
    auto userID = user->pw_uid;
    auto groupID = user->pw_gid;
    return ::setgroups(0, nullptr) == 0 && ::setresgid(groupID, groupID, groupID) == 0 &&
           ::setresuid(userID, userID, userID) == 0;
}

std::string sessionBusAddress() {
    const char* address = std::getenv("DBUS_SESSION_BUS_ADDRESS");
    return address ? address : "unix:path=/run/user/" + std::to_string(::getuid()) + "/bus";
}

struct BusCloser {
    void operator()(sd_bus* bus) const { sd_bus_flush_close_unref(bus); }
};

bool post(const char* name) {
    sd_bus* opened = nullptr;
    if (sd_bus_new(&opened) < 0) {
        return false;
    }
    std::unique_ptr<sd_bus, BusCloser> bus(opened);
    return sd_bus_set_address(opened, sessionBusAddress().c_str()) >= 0 &&
           sd_bus_set_bus_client(opened, 1) >= 0 && sd_bus_start(opened) >= 0 &&
           sd_bus_emit_signal(opened, "/com/vantorel/DistributedNotification",
                              "com.vantorel.DistributedNotification", "Posted", "ssa{sv}", name, "",
                              0) >= 0 &&
           sd_bus_flush(opened) >= 0;
}

} // namespace

int repair() {
    std::puts("Purgel: a sample repairs nothing");
    std::fflush(stdout);
    std::this_thread::sleep_for(kDuration);
    if (::getuid() == 0 && becomeConsoleUser()) {
        ::unsetenv("DBUS_SESSION_BUS_ADDRESS"); // it was root's
    }
    if (!post("VTKVDPurgelComplete")) {
        std::fputs("Purgel: no session bus to post on\n", stderr);
        return 1;
    }
    return 0;
}
