#pragma once

#include <string>
#include <sys/types.h>
#include <system_error>
#include <vector>

namespace platform {

// A program that shares nothing with this one: a session of its own, standard streams on /dev/null, no
// other descriptor, every signal as it is by default. It goes on when this program ends.
struct DetachedProgram {
    std::string path;                     // without a slash it is looked for in PATH
    std::vector<std::string> arguments;   // after the program's own name
    std::vector<std::string> environment; // NAME=value
    std::string workingDirectory;

    // The process's id; it is a child of this one, whoever starts it must wait for it. On failure sets
    // `error` and returns 0. Any thread.
    pid_t start(std::error_code& error) const;
};

} // namespace platform
