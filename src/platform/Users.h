#pragma once

#include <optional>
#include <string>
#include <sys/types.h>

namespace platform {

// Who runs the process and who sits at the machine. Nothing is cached, but a console that did not answer is
// not asked again at once. Any thread.
class Users {
public:
    virtual ~Users() = default;

    virtual uid_t realUserID() = 0;

    // The process user's login name; absent when the user database does not know it.
    virtual std::optional<std::string> loginName() = 0;

    // Homes are absolute, without a trailing slash. The process user's is HOME when that is absolute,
    // else the user database's; absent when neither has one.
    virtual std::optional<std::string> homeDirectory() = 0;
    virtual std::optional<std::string> homeDirectoryForUser(const std::string& name) = 0;

    // The login name at the console; "loginwindow" while the greeter is shown; absent when nobody is
    // known to be there. Takes at most two seconds.
    virtual std::optional<std::string> consoleUser() = 0;
};

} // namespace platform
