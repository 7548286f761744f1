#pragma once

#include <string>

namespace platform {

// Where this system keeps the command-line tool that the suite's first platform had at `path`; `path` itself
// when something is there, or when it is no such tool. Any thread.
std::string toolPath(const std::string& path);

} // namespace platform
