#pragma once

#include "Platform.h"

#include <string>

namespace platform {

// The services that need neither a display nor the user's preferences: all that a worker of the suite takes
// to log, to find the user's folders and to report to a controller. To be installed before the support
// library is used, while there is one thread. `name` stands in the lines on the console.
Platform basicServices(std::string name);

} // namespace platform
