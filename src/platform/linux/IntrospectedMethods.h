#pragma once

#include <set>
#include <string>

namespace platform {

// The names of the methods that an interface has in an object's introspection data; empty when it has none or
// the data are damaged.
std::set<std::string> introspectedMethods(const std::string& xml, const std::string& interface);

} // namespace platform
