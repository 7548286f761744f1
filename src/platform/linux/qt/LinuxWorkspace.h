#pragma once

#include "Workspace.h"

namespace platform {

// Icons through Qt's image plugins; the file browser through org.freedesktop.FileManager1, or else
// through the desktop's opener.
class LinuxWorkspace : public Workspace {
public:
    std::shared_ptr<const Icon> iconForFile(const std::string& path) override;
    void selectFile(const std::string& path, const std::string& rootPath) override;
};

} // namespace platform
