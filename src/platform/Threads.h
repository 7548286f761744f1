#pragma once

namespace platform {

// Is the caller the process's first thread, the one that runs the interface?
bool isMainThread();

} // namespace platform
