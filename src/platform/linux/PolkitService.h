#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <sys/types.h>

namespace platform {

// The process that rights are for, described so that no later one with its number is taken for it.
struct PolkitProcess {
    // Absent when there is no such process.
    static std::optional<PolkitProcess> find(pid_t process);

    pid_t process = 0;
    std::uint64_t startTime = 0; // ticks since the system's start
    uid_t user = 0;
};

// polkit, asked over the system bus about the one action of ours, `com.vantorel.launcher.admin`. Any thread.
class PolkitService {
public:
    static constexpr const char* kAction = "com.vantorel.launcher.admin";

    struct Answer {
        bool isAuthorized = false;
        bool couldBeAuthorized = false; // were somebody asked
        // Of an authorization that was asked for before and is kept.
        std::optional<std::string> keptIdentifier = std::nullopt;
    };

    // Nobody is asked. Absent without a bus, without polkit, when polkit does not know the action or takes
    // more than ten seconds.
    static std::optional<Answer> check(const PolkitProcess& subject);

    // Drops an authorization that is kept; false when polkit does not allow that, as it does only for those
    // that an agent of the caller's login session has obtained.
    static bool revoke(const std::string& keptIdentifier);
};

} // namespace platform
