#pragma once

#include <string>
#include <vector>

namespace platform {

// The path as a file: address (RFC 8089); bytes outside the unreserved set are percent-encoded.
std::string fileAddress(const std::string& path);

// Opens a file: or web address with what the desktop has for it (xdg-open), started with the given
// environment ("NAME=value"). Waits until that has been found and started, or, on some desktops, until it
// ends. A failure is told to the console.
void openWithDefaultHandler(const std::string& address, const std::vector<std::string>& environment);

} // namespace platform
