#pragma once

#include "Account.h"
#include "FileDescriptor.h"

#include <chrono>

namespace platform {

// A socket connected to the message bus of a user's session, for a process of that user. Empty when there is
// no such bus. Any thread.
FileDescriptor openBusOf(const Account& user);

// The same for a process that runs as root. A bus takes nobody but its own user and looks at who connects, so
// a child that has become that user does it; it hands the socket back and ends. Empty also when it has not
// let us in within the limit. Any thread.
FileDescriptor connectToBusOf(const Account& user, std::chrono::milliseconds limit);

} // namespace platform
