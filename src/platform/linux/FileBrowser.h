#pragma once

#include <string>

namespace platform {

// The path as a file: address (RFC 8089); bytes outside the unreserved set are percent-encoded.
std::string fileAddress(const std::string& path);

// Asks the desktop's file manager to show `path` selected, and failing that opens `rootPath` with the
// default file browser. Waits for the answer; failure is silent.
void showInFileBrowser(const std::string& path, const std::string& rootPath);

} // namespace platform
