#pragma once

namespace platform {

// Whether the display server lets a window be translucent as a whole. Main thread, once there is a
// QGuiApplication.
bool displayHasWindowOpacity();

// Sends to the display server what waits in the connection's buffer. Qt does so before it waits for events,
// but not between the steps of an animation. Main thread.
void flushDisplay();

} // namespace platform
