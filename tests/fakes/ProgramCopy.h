#pragma once

#include <string>

namespace sandbox {

// Runs the test that is running once more, in a copy of this program that stands at `place`, a path in
// folder() such as "Tool.app/Contents/MacOS/Tool". The copy finds the variable set, if one is given. Returns
// its status.
int statusOfCopy(const std::string& place, const char* variable = nullptr, const std::string& value = "");

} // namespace sandbox
