#include "LinuxWorkspace.h"

#include "BundleIcon.h"
#include "linux/FileBrowser.h"

#include <thread>

namespace platform {

std::shared_ptr<const Icon> LinuxWorkspace::iconForFile(const std::string& path) {
    return std::make_shared<BundleIcon>(path);
}

void LinuxWorkspace::selectFile(const std::string& path, const std::string& rootPath) {
    // Another program answers, or not.
    std::thread([path, rootPath] { showInFileBrowser(path, rootPath); }).detach();
}

} // namespace platform
