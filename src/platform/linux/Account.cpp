#include "Account.h"

#include "FolderPath.h"

#include <cerrno>
#include <charconv>
#include <cstdlib>
#include <pwd.h>
#include <string_view>
#include <sys/syscall.h>
#include <unistd.h>
#include <vector>

namespace platform {

namespace {

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
    return found ? std::optional(Account{entry.pw_name, entry.pw_uid, entry.pw_gid, folderPath(entry.pw_dir)})
                 : std::nullopt;
}

} // namespace

std::optional<Account> accountOf(uid_t user) {
    return account([user](auto... rest) { return ::getpwuid_r(user, rest...); });
}

std::optional<Account> accountNamed(const std::string& name) {
    return account([&name](auto... rest) { return ::getpwnam_r(name.c_str(), rest...); });
}

std::optional<Account> accountInEnvironment(const char* variable) {
    const char* value = std::getenv(variable);
    const std::string_view text = value ? value : "";
    uid_t user = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), user);
    const bool isNumber = error == std::errc() && end == text.data() + text.size();
    return isNumber && user != 0 ? accountOf(user) : std::nullopt;
}

bool becomeUser(const Account& account) {
    const auto user = account.userID;
    const auto group = account.groupID;
    if (user == 0) {
        return false;
    }
    // The system calls themselves: the library's functions take locks that a thread may have held at a fork.
    return ::syscall(SYS_setgroups, 0, nullptr) == 0 && ::syscall(SYS_setresgid, group, group, group) == 0 &&
           ::syscall(SYS_setresuid, user, user, user) == 0;
}

} // namespace platform
