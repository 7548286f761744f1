#pragma once

#include <optional>
#include <string>
#include <sys/types.h>

namespace platform {

// An entry of the user database.
struct Account {
    std::string name;
    uid_t userID = 0;
    gid_t groupID = 0;
    std::optional<std::string> home; // absolute, without a trailing slash; absent when it is not absolute
};

// Absent when the database does not know the user. Any thread.
std::optional<Account> accountOf(uid_t user);
std::optional<Account> accountNamed(const std::string& name);

// The ordinary user whose number that variable of the environment has, such as PKEXEC_UID: who wanted this
// process to run as root. Absent when it is not set or says something else. Any thread.
std::optional<Account> accountInEnvironment(const char* variable);

// Makes the process that user's for good: all user and group ids, and no other groups. False when something
// of what it was is left; the process must then end. To be called while there is one thread; it may be the
// child of a process that has several.
bool becomeUser(const Account& account);

} // namespace platform
