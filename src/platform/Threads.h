#pragma once

namespace platform {

// Is the caller the process's first thread, the one that runs the interface?
bool isMainThread();

// Lets all other threads go first from here on, and the calling one use what time is left. What it starts
// does the same, so it is not for threads that start programs.
void yieldToOthers();

} // namespace platform
