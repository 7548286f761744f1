#pragma once

#include <optional>
#include <string>

namespace platform {

// What a Wayland compositor gives to the program that the user works with, for one that it is about to start:
// with it the started one may bring its window before the others. The user's last input to the focused window
// of this program vouches for it. `appID` names the application to be started.
//
// Waits for the compositor, for half a second at the most. Absent when windows are not shown through Wayland
// (at once), none has the focus, or the compositor gives no tokens. Any thread.
std::optional<std::string> requestActivationToken(const std::string& appID);

// Shows the compositor such a token, which another program has handed over, so that this program's front
// window, which is on the screen, comes before the others. Qt would take it from the environment alone, which
// other threads read. Waits as above, and does nothing where that gets no token. Any thread but the main one.
void useActivationToken(const std::string& token);

} // namespace platform
