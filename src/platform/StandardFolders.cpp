#include "StandardFolders.h"

#include "Platform.h"

#include <array>
#include <cstdlib>
#include <optional>

namespace platform {

namespace {

struct Row {
    SearchPathDirectory directory;
    const char* user; // below the home
    const char* local;
    const char* system;
};

// Null where the domain has no such folder.
constexpr std::array kRows{
    Row{SearchPathDirectory::Application, "/Applications", "/Applications", nullptr},
    Row{SearchPathDirectory::AdminApplication, "/Applications/Utilities", "/Applications/Utilities", nullptr},
    Row{SearchPathDirectory::Library, "/Library", "/Library", "/System/Library"},
    Row{SearchPathDirectory::Documentation, "/Library/Documentation", "/Library/Documentation", nullptr},
    Row{SearchPathDirectory::Document, "/Documents", nullptr, nullptr},
    Row{SearchPathDirectory::Desktop, "/Desktop", nullptr, nullptr},
    Row{SearchPathDirectory::Caches, "/Library/Caches", "/Library/Caches", nullptr},
    Row{SearchPathDirectory::ApplicationSupport, "/Library/Application Support",
        "/Library/Application Support", nullptr},
    Row{SearchPathDirectory::Movies, "/Movies", nullptr, nullptr},
};

bool contains(SearchPathDomain domains, SearchPathDomain domain) {
    return (static_cast<unsigned>(domains) & static_cast<unsigned>(domain)) != 0;
}

std::optional<std::string> userRoot() {
    auto& users = *current().users;
    if (users.realUserID() == 0) {
        return "/var/root";
    }
    return users.homeDirectory();
}

std::string machineRoot() {
    const char* root = std::getenv("VANTOREL_ROOT");
    std::string path = root ? root : "";
    while (!path.empty() && path.back() == '/') {
        path.pop_back();
    }
    return path;
}

} // namespace

std::vector<std::string> searchPathForDirectories(SearchPathDirectory directory, SearchPathDomain domains) {
    std::vector<std::string> paths;
    for (const auto& row : kRows) {
        if (row.directory != directory) {
            continue;
        }
        if (contains(domains, SearchPathDomain::User)) {
            if (auto home = userRoot()) {
                paths.push_back(*home + row.user);
            }
        }
        if (row.local && contains(domains, SearchPathDomain::Local)) {
            paths.push_back(machineRoot() + row.local);
        }
        if (row.system && contains(domains, SearchPathDomain::System)) {
            paths.push_back(machineRoot() + row.system);
        }
    }
    return paths;
}

} // namespace platform
