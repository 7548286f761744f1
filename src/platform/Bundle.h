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

    // The bundle's folder name less its extension.
    std::string name() const;

    // The program that it starts with: `CFBundleExecutable` in Contents/MacOS, or the bundle's name where
    // none is given. Links resolved; when there is no such program inside the bundle, absent, and `problem`
    // says why.
    std::optional<std::string> executablePath(std::string& problem) const;

    // Contents/Info.plist, read afresh; empty when it is missing or damaged.
    PropertyList::Dictionary infoDictionary() const;
    std::string resourcePath() const { return path + "/Contents/Resources"; }
};

// The innermost bundle in whose Contents/MacOS the path lies, as text; absent when it lies in none.
std::optional<std::string> bundleOfExecutable(const std::string& executable);

// The running executable, links resolved; empty when the system does not say.
std::string mainExecutablePath();

} // namespace platform
