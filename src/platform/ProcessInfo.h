#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace platform {

// The distribution's pretty name and the kernel release, as in "Debian GNU/Linux 12 (bookworm) 6.1.0".
std::string operatingSystemVersionString();

int processorCount();
std::uint64_t physicalMemory(); // bytes

// What this process is called: the last part of what it was started as, which whoever started it may choose.
std::string processName();

// Different on every call, on every machine.
std::string globallyUniqueString();

// The process user's private folder for temporary files, without a trailing slash: TMPDIR or
// XDG_RUNTIME_DIR when it belongs to the user with mode 0700 and is no link, else a folder of our own
// made so. Never a folder that others can write to; absent when none can be had.
std::optional<std::string> temporaryDirectory();

// The user's cache folder as the XDG base directories name it; absent when there is none.
std::optional<std::string> userCacheDirectory();

} // namespace platform
