#include "StandardFolders.h"

#include "FolderPath.h"
#include "Platform.h"

#include <array>
#include <optional>
#include <utility>

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

// The folder that a domain lies in, as the start of its paths: the top folder is the empty text.
std::string asStart(std::string folder) {
    return folder == "/" ? std::string() : std::move(folder);
}

std::optional<std::string> startOfUserDomain() {
    auto& users = *current().users;
    if (users.realUserID() == 0) {
        return "/var/root";
    }
    auto home = users.homeDirectory();
    return home ? std::optional(asStart(*std::move(home))) : std::nullopt;
}

std::string startOfMachineDomains() {
    return asStart(folderInEnvironment("VANTOREL_ROOT").value_or("/"));
}

} // namespace

std::vector<std::string> searchPathForDirectories(SearchPathDirectory directory, SearchPathDomain domains) {
    std::vector<std::string> paths;
    for (const auto& row : kRows) {
        if (row.directory != directory) {
            continue;
        }
        if (contains(domains, SearchPathDomain::User)) {
            if (auto home = startOfUserDomain()) {
                paths.push_back(*home + row.user);
            }
        }
        if (row.local && contains(domains, SearchPathDomain::Local)) {
            paths.push_back(startOfMachineDomains() + row.local);
        }
        if (row.system && contains(domains, SearchPathDomain::System)) {
            paths.push_back(startOfMachineDomains() + row.system);
        }
    }
    return paths;
}

} // namespace platform
