#include "Bundle.h"

#include "Package.h"
#include "PropertyListSerialization.h"
#include "ResolvedPath.h"

#include <climits>
#include <string_view>
#include <unistd.h>

namespace platform {

std::string mainExecutablePath() {
    // Looked up once: an update may replace the file while it runs.
    static const auto* const path = [] {
        auto* resolved = new std::string(PATH_MAX, '\0');
        ssize_t length = ::readlink("/proc/self/exe", resolved->data(), resolved->size());
        resolved->resize(length < 0 ? 0 : static_cast<std::size_t>(length));
        return resolved;
    }();
    return *path;
}

std::optional<std::string> bundleOfExecutable(const std::string& executable) {
    auto place = executable.rfind("/Contents/MacOS/");
    return place == std::string::npos || place == 0 ? std::nullopt
                                                    : std::optional(executable.substr(0, place));
}

std::optional<Bundle> Bundle::main() {
    auto path = bundleOfExecutable(mainExecutablePath());
    return path ? std::optional(Bundle{*path}) : std::nullopt;
}

std::string Bundle::name() const {
    return std::string(nameWithoutExtension(path));
}

std::optional<std::string> Bundle::executablePath(std::string& problem) const {
    auto wanted =
        path + "/Contents/MacOS/" + stringForKey(infoDictionary(), "CFBundleExecutable").value_or(name());
    auto executable = resolvedPath(wanted);
    auto folder = resolvedPath(path);
    if (!executable || !folder) {
        problem = "there is no program at " + wanted;
    } else if (!executable->starts_with(*folder + '/')) {
        problem = wanted + " leads out of the bundle, to " + *executable;
        executable.reset();
    }
    return executable;
}

PropertyList::Dictionary Bundle::infoDictionary() const {
    return dictionaryWithContentsOfFile(path + "/Contents/Info.plist").value_or(PropertyList::Dictionary());
}

} // namespace platform
