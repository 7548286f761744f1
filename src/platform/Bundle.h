#pragma once

#include "PropertyList.h"

#include <optional>
#include <string>

namespace platform {

// An application bundle: a folder with Contents/{Info.plist, MacOS/, Resources/}.
struct Bundle {
    std::string path;

    // The bundle that the running executable lies in; absent when it lies in none.
    static std::optional<Bundle> main();

    // Contents/Info.plist, read afresh; empty when it is missing or damaged.
    PropertyList::Dictionary infoDictionary() const;
    std::string resourcePath() const { return path + "/Contents/Resources"; }
};

// The running executable, links resolved; empty when the system does not say.
std::string mainExecutablePath();

} // namespace platform
