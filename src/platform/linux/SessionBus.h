#pragma once

#include "DBusConnection.h"

namespace platform {

// The bus of the session that the process works in: its user's own. A process that runs as root works for the
// user who started it through pkexec, else for the one at the console, and gets that user's bus as long as
// there is one. Not connected when there is no bus, or none that answered within the limit; who sits at the
// console may take two seconds more to find out. Any thread.
DBusConnection connectToSessionBus(std::chrono::milliseconds limit);

} // namespace platform
