#include "LaunchEnvironment.h"

#include <algorithm>
#include <string_view>
#include <unistd.h>

namespace platform {

namespace {

// The list of folders without those in the bundle.
std::string withoutFoldersIn(const std::string& bundle, std::string_view folders) {
    std::string kept;
    bool isFirst = true;
    for (std::size_t start = 0; start <= folders.size();) {
        auto end = std::min(folders.find(':', start), folders.size());
        auto folder = folders.substr(start, end - start);
        if (folder != bundle && !folder.starts_with(bundle + '/')) {
            kept += isFirst ? "" : ":";
            kept += folder;
            isFirst = false;
        }
        start = end + 1;
    }
    return kept;
}

} // namespace

std::vector<std::string> launchEnvironment(const std::optional<Bundle>& bundle) {
    constexpr std::string_view kLibraryPath = "LD_LIBRARY_PATH=";
    std::vector<std::string> variables;
    for (char** entry = environ; entry && *entry; ++entry) {
        std::string variable(*entry);
        if (variable.starts_with("DESKTOP_STARTUP_ID=") || variable.starts_with("XDG_ACTIVATION_TOKEN=")) {
            continue;
        }
        if (bundle && variable.starts_with(kLibraryPath)) {
            auto kept =
                withoutFoldersIn(bundle->path, std::string_view(variable).substr(kLibraryPath.size()));
            if (kept.empty()) {
                continue; // an empty list would mean the working folder
            }
            variable = std::string(kLibraryPath) + kept;
        }
        variables.push_back(std::move(variable));
    }
    return variables;
}

} // namespace platform
