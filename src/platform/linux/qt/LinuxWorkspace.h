#pragma once

#include "Workspace.h"

namespace platform {

// Icons through Qt's image plugins; the file browser through org.freedesktop.FileManager1, or else
// through the desktop's opener.
class LinuxWorkspace : public Workspace {
public:
    std::shared_ptr<const Icon> iconForFile(const std::string& path) override;
    void selectFile(const std::string& path, const std::string& rootPath) override;
    void openFile(const std::string& path) override;
    void openURL(const std::string& address) override;
    void activateApplication(const std::string& name, std::stop_token stop) override;
    std::vector<RunningApplication> runningApplications() override;
    std::optional<std::string> absolutePathForAppBundleWithIdentifier(const std::string& identifier) override;
    std::shared_ptr<void> holdTermination(const std::string& bundlePath) override;
};

} // namespace platform
