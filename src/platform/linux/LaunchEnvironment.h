#pragma once

#include "Bundle.h"

#include <optional>
#include <string>
#include <vector>

namespace platform {

// The environment for programs that this one starts: its own as it is now, as "NAME=value", less what is
// meant for this program alone. That is the desktop's startup id and activation token, and of the
// LD_LIBRARY_PATH the folders inside this program's `bundle`. Not while another thread changes it.
std::vector<std::string> launchEnvironment(const std::optional<Bundle>& bundle = Bundle::main());

} // namespace platform
