#pragma once

#include "Account.h"
#include "FileDescriptor.h"

#include <chrono>

namespace platform {

// A socket connected to the message bus of another user's session, for a process that runs as root. A bus
// takes nobody but its own user and looks at who connects, so a child that has become that user does it; it
// hands the socket back and ends. Empty when there is no such bus, or none that let us in within the limit.
// Any thread.
FileDescriptor connectToBusOf(const Account& user, std::chrono::milliseconds limit);

} // namespace platform
