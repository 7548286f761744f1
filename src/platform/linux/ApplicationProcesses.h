#pragma once

#include <functional>
#include <optional>
#include <string>
#include <sys/types.h>

namespace platform {

// The bundle that a process runs in: its executable, or its script when the executable is an interpreter,
// lies in the bundle's Contents/MacOS. Links resolved; absent for all other processes, and for those of
// other users. Of root's processes the children of this user count. Any thread.
std::optional<std::string> bundleOfProcess(pid_t process);

// Calls `visit` for every process that runs in a bundle, this one excepted.
void visitApplicationProcesses(const std::function<void(pid_t, const std::string& bundlePath)>& visit);

} // namespace platform
