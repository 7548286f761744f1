#include "ApplicationSearch.h"

#include "Bundle.h"
#include "Package.h"
#include "Platform.h"
#include "StandardFolders.h"
#include "Text.h"

#include <deque>
#include <memory>

namespace platform {

namespace {

// Whoever has more has something else below the folder.
constexpr int kMostFolders = 50'000;

} // namespace

std::optional<std::string> findApplication(const std::string& identifier) {
    constexpr auto kAllDomains = static_cast<SearchPathDomain>(
        static_cast<unsigned>(SearchPathDomain::User) | static_cast<unsigned>(SearchPathDomain::Local) |
        static_cast<unsigned>(SearchPathDomain::System));
    const auto key = caseInsensitiveKey(identifier);
    std::deque<std::string> folders;
    for (auto& path : searchPathForDirectories(SearchPathDirectory::Application, kAllDomains)) {
        folders.push_back(std::move(path));
    }
    for (int count = 0; !folders.empty() && count < kMostFolders; ++count) {
        auto folder = current().fileManager->openFolder(folders.front());
        folders.pop_front();
        std::error_code error; // a folder that cannot be read has nothing to find
        for (const auto& entry : folder->entries(Listing::FoldersAndLinks, error)) {
            const auto path = folder->path() + '/' + entry.name;
            if (lowercase(pathExtension(entry.name)) == "app") {
                auto found = stringForKey(Bundle{path}.infoDictionary(), "CFBundleIdentifier");
                if (found && caseInsensitiveKey(*found) == key) {
                    return path;
                }
            } else if (entry.kind == EntryKind::Folder && !isPackageName(entry.name)) {
                folders.push_back(path);
            }
        }
    }
    return std::nullopt;
}

} // namespace platform
