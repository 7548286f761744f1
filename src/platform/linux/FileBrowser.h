#pragma once

#include <string>
#include <vector>

namespace platform {

// Asks the desktop's file manager to show `path` selected, and failing that opens `rootPath` with the
// default file browser, which is started with the given environment. Waits for the answer; failure is silent.
void showInFileBrowser(const std::string& path, const std::string& rootPath,
                       const std::vector<std::string>& environment);

} // namespace platform
