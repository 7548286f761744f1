#include "SessionBus.h"

#include "Platform.h"
#include "UserBusSocket.h"

#include <unistd.h>

namespace platform {

DBusConnection connectToSessionBus(std::chrono::milliseconds limit) {
    if (::geteuid() == 0) {
        const auto& users = current().users; // a worker may do without
        const auto name = users ? users->consoleUser() : std::nullopt;
        const auto account = name ? accountNamed(*name) : std::nullopt;
        if (account && account->userID != 0) {
            if (auto socket = connectToBusOf(*account, limit)) {
                return {std::move(socket), limit};
            }
        }
    }
    return {DBusConnection::Bus::Session, limit};
}

} // namespace platform
