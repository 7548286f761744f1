#include "SessionBus.h"

#include "Platform.h"
#include "UserBusSocket.h"

#include <unistd.h>

namespace platform {

namespace {

// Whom a process that runs as root works for.
std::optional<Account> userServed() {
    if (auto invoker = accountInEnvironment("PKEXEC_UID")) {
        return invoker;
    }
    const auto& users = current().users; // which a program may do without
    const auto name = users ? users->consoleUser() : std::nullopt;
    return name ? accountNamed(*name) : std::nullopt;
}

} // namespace

DBusConnection connectToSessionBus(std::chrono::milliseconds limit) {
    if (::geteuid() == 0) {
        const auto account = userServed();
        if (account && account->userID != 0) {
            if (auto socket = connectToBusOf(*account, limit)) {
                return {std::move(socket), limit};
            }
        }
    }
    return {DBusConnection::Bus::Session, limit};
}

} // namespace platform
