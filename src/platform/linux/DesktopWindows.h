#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <stop_token>
#include <sys/types.h>
#include <vector>

namespace platform {

// Brings the topmost window of the first process that has one before all others, through the X display's
// window manager (Extended Window Manager Hints, _NET_ACTIVE_WINDOW). Waits for a window to be opened until
// the time is up, `processes` returns none or `stop` asks to give up; `processes` is asked again now and
// then. Without an X display or such a window manager it returns at once, and false; true when a window was
// found. Any thread that may wait.
bool activateWindow(const std::function<std::vector<pid_t>()>& processes, std::chrono::milliseconds limit,
                    const std::stop_token& stop);

// Waits until the window manager has let go of these windows, which have been hidden: one that is shown again
// before that may be lost on the way (Inter-Client Communication Conventions, 4.1.4). Otherwise the same.
void waitUntilWithdrawn(const std::vector<std::uint32_t>& windows, std::chrono::milliseconds limit);

} // namespace platform
