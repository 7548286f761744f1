#include "LinuxWorkspace.h"

#include "BundleIcon.h"
#include "Platform.h"
#include "linux/FileBrowser.h"

#include <system_error>
#include <thread>

namespace platform {

std::shared_ptr<const Icon> LinuxWorkspace::iconForFile(const std::string& path) {
    return std::make_shared<BundleIcon>(path);
}

void LinuxWorkspace::selectFile(const std::string& path, const std::string& rootPath) {
    try {
        // Another program answers, or not.
        std::thread([path, rootPath] { showInFileBrowser(path, rootPath); }).detach();
    } catch (const std::system_error& error) {
        current().consoleLog->log(std::string("No thread to show a file with: ") + error.what());
    }
}

void LinuxWorkspace::openFile(const std::string&) {}
void LinuxWorkspace::openURL(const std::string&) {}
void LinuxWorkspace::activateApplication(const std::string&, std::stop_token) {}
std::vector<RunningApplication> LinuxWorkspace::runningApplications() {
    return {};
}
std::optional<std::string> LinuxWorkspace::absolutePathForAppBundleWithIdentifier(const std::string&) {
    return std::nullopt;
}
std::shared_ptr<void> LinuxWorkspace::holdTermination(const std::string&) {
    return nullptr;
}

} // namespace platform
