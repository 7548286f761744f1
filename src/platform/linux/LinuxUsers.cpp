#include "LinuxUsers.h"

#include "Account.h"
#include "FolderPath.h"
#include "LoginSeat.h"

#include <unistd.h>

namespace platform {

namespace {

std::optional<std::string> invokingUser() {
    for (const char* variable : {"PKEXEC_UID", "SUDO_UID"}) {
        if (auto found = accountInEnvironment(variable)) {
            return found->name;
        }
    }
    return std::nullopt;
}

} // namespace

uid_t LinuxUsers::realUserID() {
    return ::getuid();
}

std::optional<std::string> LinuxUsers::loginName() {
    auto found = accountOf(::getuid());
    return found ? std::optional(found->name) : std::nullopt;
}

std::optional<std::string> LinuxUsers::homeDirectory() {
    auto home = folderInEnvironment("HOME");
    if (!home) {
        auto found = accountOf(::getuid());
        home = found ? found->home : std::nullopt;
    }
    return home;
}

std::optional<std::string> LinuxUsers::homeDirectoryForUser(const std::string& name) {
    auto found = accountNamed(name);
    return found ? found->home : std::nullopt;
}

std::optional<std::string> LinuxUsers::consoleUser() {
    constexpr std::chrono::seconds kLongAnswer{1};
    constexpr std::chrono::seconds kPause{30};
    const auto asked = std::chrono::steady_clock::now();
    auto seat = asked < askAgainAt_.load() ? SeatAnswer() : activeSessionOfSeat0();
    if (!seat.reached) {
        if (std::chrono::steady_clock::now() - asked > kLongAnswer) {
            askAgainAt_ = asked + kPause;
        }
        return ::getuid() == 0 ? invokingUser() : std::nullopt;
    }
    return seat.userName;
}

} // namespace platform
