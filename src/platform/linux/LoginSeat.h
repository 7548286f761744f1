#pragma once

#include <optional>
#include <string>

namespace platform {

struct SeatAnswer {
    bool reached = false;                // did logind answer at all?
    std::optional<std::string> userName; // "loginwindow" for a greeter's session; absent when nobody
};

// Asks logind over the system bus (interfaces org.freedesktop.login1.Seat and .Session) who has the
// active session of seat0. Waits at most two seconds in all. Any thread.
SeatAnswer activeSessionOfSeat0();

} // namespace platform
