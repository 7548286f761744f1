#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace platform {

// Paths as text: nothing here looks at the disk. Any thread.

// A view into `path`; the top folder keeps its slash.
std::string_view withoutTrailingSlashes(std::string_view path);

// A folder's path as something outside the program names it, in the form all paths have here: absolute,
// without trailing slashes; absent when it is not absolute.
std::optional<std::string> folderPath(std::string_view text);

// The folder that the environment variable names; absent also when there is no such variable.
std::optional<std::string> folderInEnvironment(const char* variable);

} // namespace platform
