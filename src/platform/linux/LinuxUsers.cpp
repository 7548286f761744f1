#include "LinuxUsers.h"

#include "FolderPath.h"
#include "LoginSeat.h"

#include <charconv>
#include <cstdlib>
#include <pwd.h>
#include <string_view>
#include <unistd.h>
#include <vector>

namespace platform {

namespace {

struct Account {
    std::string name;
    std::optional<std::string> home;
};

// `look` is getpwuid_r or getpwnam_r with its key bound.
template <typename Look>
std::optional<Account> account(Look look) {
    std::vector<char> buffer(1024);
    passwd entry{};
    passwd* found = nullptr;
    while (look(&entry, buffer.data(), buffer.size(), &found) == ERANGE &&
           buffer.size() < (std::size_t{1} << 20)) {
        buffer.resize(buffer.size() * 2);
    }
    return found ? std::optional(Account{entry.pw_name, folderPath(entry.pw_dir)}) : std::nullopt;
}

std::optional<Account> accountOf(uid_t user) {
    return account([user](auto... rest) { return ::getpwuid_r(user, rest...); });
}

std::optional<std::string> invokingUser() {
    for (const char* variable : {"PKEXEC_UID", "SUDO_UID"}) {
        const char* value = std::getenv(variable);
        std::string_view text = value ? value : "";
        uid_t user = 0;
        auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), user);
        if (error != std::errc() || end != text.data() + text.size() || user == 0) {
            continue;
        }
        if (auto found = accountOf(user)) {
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
    auto found = account([&name](auto... rest) { return ::getpwnam_r(name.c_str(), rest...); });
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
