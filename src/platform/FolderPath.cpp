#include "FolderPath.h"

#include <cstdlib>

namespace platform {

std::string_view withoutTrailingSlashes(std::string_view path) {
    while (path.size() > 1 && path.ends_with('/')) {
        path.remove_suffix(1);
    }
    return path;
}

std::optional<std::string> folderPath(std::string_view text) {
    return text.starts_with('/') ? std::optional<std::string>(withoutTrailingSlashes(text)) : std::nullopt;
}

std::optional<std::string> folderInEnvironment(const char* variable) {
    const char* text = std::getenv(variable);
    return text ? folderPath(text) : std::nullopt;
}

} // namespace platform
