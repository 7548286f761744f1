#include "Bundle.h"

#include "PropertyListSerialization.h"

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

std::optional<Bundle> Bundle::main() {
    static constexpr std::string_view kExecutables = "/Contents/MacOS/";
    auto executable = mainExecutablePath();
    auto slash = executable.rfind('/');
    auto place = executable.rfind(kExecutables);
    if (place == std::string::npos || place == 0 || place + kExecutables.size() != slash + 1) {
        return std::nullopt;
    }
    return Bundle{executable.substr(0, place)};
}

PropertyList::Dictionary Bundle::infoDictionary() const {
    return dictionaryWithContentsOfFile(path + "/Contents/Info.plist").value_or(PropertyList::Dictionary());
}

} // namespace platform
