#pragma once

#include "Users.h"

#include <atomic>
#include <chrono>

namespace platform {

// The user database, and logind for the console: the active user of seat0. Where logind is not to be
// reached, the user who started a root process through pkexec or sudo stands in.
class LinuxUsers : public Users {
public:
    uid_t realUserID() override;
    std::optional<std::string> loginName() override;
    std::optional<std::string> homeDirectory() override;
    std::optional<std::string> homeDirectoryForUser(const std::string& name) override;
    std::optional<std::string> consoleUser() override;

private:
    // A logind that did not answer in time is not waited for again for a while.
    std::atomic<std::chrono::steady_clock::time_point> askAgainAt_{};
};

} // namespace platform
