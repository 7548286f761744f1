#pragma once

#include "Workspace.h"

#include <utility>

namespace platform {

// The icon that a bundle's Info.plist names (`CFBundleIconFile`), an .icns or .png file.
class BundleIcon : public Icon {
public:
    explicit BundleIcon(std::string bundlePath) : bundlePath_(std::move(bundlePath)) {}

    Bitmap render(int pixels) const override;

private:
    std::string bundlePath_;
};

} // namespace platform
