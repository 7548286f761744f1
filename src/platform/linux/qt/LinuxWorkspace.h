#pragma once

#include "Workspace.h"
#include "linux/RunningApplications.h"

namespace platform {

// Icons through Qt's image plugins; the file browser through org.freedesktop.FileManager1, or else
// through the desktop's opener; applications as processes, and their windows through the window manager.
// Made before other threads, since it keeps the environment that the program was started with.
class LinuxWorkspace : public Workspace {
public:
    LinuxWorkspace();

    std::shared_ptr<const Icon> iconForFile(const std::string& path) override;
    void selectFile(const std::string& path, const std::string& rootPath) override;
    void openFile(const std::string& path) override;
    void openURL(const std::string& address) override;
    void openFile(const std::string& path, const std::string& applicationPath) override;
    void openFileWithBundleIdentifier(const std::string& path, const std::string& identifier) override;
    void activateApplication(const std::string& name, std::stop_token stop) override;
    std::vector<RunningApplication> runningApplications() override;
    std::optional<std::string> absolutePathForAppBundleWithIdentifier(const std::string& identifier) override;
    std::shared_ptr<void> holdTermination(const std::string& bundlePath) override;

    // Whether the ends of applications that somebody else starts are reported as well.
    void setWatchesOthers(bool watches) { running_->setLooksForOthers(watches); }

    // At the program's end: no end is reported any more. Waits for the thread that watches; false when it is
    // stuck.
    bool stopWatching(std::chrono::milliseconds limit) { return running_->stop(limit); }

private:
    std::vector<std::string> environment_;
    std::shared_ptr<RunningApplications> running_; // also used by threads that look for an application
};

} // namespace platform
