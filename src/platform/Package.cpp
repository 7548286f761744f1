#include "Package.h"

#include "FolderPath.h"
#include "Text.h"

#include <algorithm>
#include <array>

namespace platform {

std::string_view lastPathComponent(std::string_view path) {
    path = withoutTrailingSlashes(path);
    auto slash = path.rfind('/');
    return slash == std::string_view::npos || path.size() == 1 ? path : path.substr(slash + 1);
}

std::string_view pathExtension(std::string_view path) {
    auto name = lastPathComponent(path);
    auto dot = name.rfind('.');
    return dot == std::string_view::npos || dot == 0 ? std::string_view() : name.substr(dot + 1);
}

std::string_view nameWithoutExtension(std::string_view path) {
    auto name = lastPathComponent(path);
    if (auto extension = pathExtension(name); !extension.empty()) {
        name.remove_suffix(extension.size() + 1);
    }
    return name;
}

bool isPackageName(std::string_view path) {
    static constexpr std::array<std::string_view, 24> kPackageExtensions{
        "action",     "app",   "bundle",  "component", "download", "dsym",      "framework",   "kext",
        "mdimporter", "menu",  "mpkg",    "pkg",       "plugin",   "prefpane",  "qlgenerator", "rtfd",
        "saver",      "scptd", "service", "wdgt",      "workflow", "xcodeproj", "xpc",         "appex"};
    auto extension = pathExtension(path);
    if (extension.empty()) {
        return false;
    }
    return std::ranges::find(kPackageExtensions, lowercase(extension)) != kPackageExtensions.end();
}

} // namespace platform
