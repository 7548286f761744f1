#pragma once

namespace platform {

// What shows the windows on the screen. Main thread, once there is a QGuiApplication.

// Whether windows are shown through Wayland. Any thread.
bool isShownThroughWayland();

// Whether the display server lets a window be translucent as a whole.
bool displayHasWindowOpacity();

// Sends to the display server what waits in the connection's buffer. Qt does so before it waits for events,
// but not between the steps of an animation.
void flushDisplay();

} // namespace platform
