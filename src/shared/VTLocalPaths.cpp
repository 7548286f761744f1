#include "VTLocalPaths.h"

#include "Platform.h"
#include "ProcessInfo.h"
#include "Text.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <ctime>

using platform::SearchPathDirectory;
using platform::SearchPathDomain;

namespace {

SearchPathDomain domain(bool userDomain) {
    return userDomain ? SearchPathDomain::User : SearchPathDomain::Local;
}

bool isRoot() {
    return platform::current().users->realUserID() == 0;
}

// Drops the last UTF-16 code unit. Half a character equals no path, whichever of its bytes are left.
void dropLastUnit(std::string_view& text) {
    constexpr std::size_t kBytesOfTwoUnits = 4;
    auto length = platform::lengthOfLastCharacter(text);
    text.remove_suffix(length == kBytesOfTwoUnits ? 1 : length);
}

} // namespace

VTLocalPaths::Path VTLocalPaths::appending(Path path, std::string_view component) {
    if (path) {
        while (component.starts_with('/')) {
            component.remove_prefix(1);
        }
        if (!component.empty()) {
            if (!path->ends_with('/')) {
                *path += '/';
            }
            *path += component;
        }
    }
    return path;
}

VTLocalPaths::Path VTLocalPaths::pathForDirectory(SearchPathDirectory directory, SearchPathDomain domain) {
    auto paths = platform::searchPathForDirectories(directory, domain);
    if (paths.empty()) {
        return std::nullopt;
    }
    if (domain == SearchPathDomain::User && isRoot()) {
        return pathInUserDirectory(paths.front());
    }
    return paths.front();
}

VTLocalPaths::Path VTLocalPaths::pathInUserDirectory(std::string_view path) {
    if (path.starts_with("/var/root")) {
        path.remove_prefix(9);
    }
    if (path.starts_with("/private/var/root")) {
        path.remove_prefix(16); // one short of the prefix: the "t" of "root" stays
    }
    return appending(userDirectory(), path);
}

VTLocalPaths::Path VTLocalPaths::applicationDirectory(bool userDomain) {
    return pathForDirectory(SearchPathDirectory::Application, domain(userDomain));
}

VTLocalPaths::Path VTLocalPaths::adminApplicationDirectory(bool userDomain) {
    return pathForDirectory(SearchPathDirectory::AdminApplication, domain(userDomain));
}

VTLocalPaths::Path VTLocalPaths::documentDirectory(bool userDomain) {
    return pathForDirectory(SearchPathDirectory::Document, domain(userDomain));
}

VTLocalPaths::Path VTLocalPaths::libraryDirectory(bool userDomain) {
    return pathForDirectory(SearchPathDirectory::Library, domain(userDomain));
}

VTLocalPaths::Path VTLocalPaths::prefsDirectory(bool userDomain) {
    return appending(libraryDirectory(userDomain), "Preferences");
}

VTLocalPaths::Path VTLocalPaths::cacheDirectory(bool userDomain) {
    return pathForDirectory(SearchPathDirectory::Caches, domain(userDomain));
}

VTLocalPaths::Path VTLocalPaths::appSupportDirectory(bool userDomain) {
    return pathForDirectory(SearchPathDirectory::ApplicationSupport, domain(userDomain));
}

VTLocalPaths::Path VTLocalPaths::logDirectory(bool userDomain) {
    return appending(libraryDirectory(userDomain), "Logs");
}

VTLocalPaths::Path VTLocalPaths::movieDirectory() {
    return pathForDirectory(SearchPathDirectory::Movies, SearchPathDomain::User);
}

VTLocalPaths::Path VTLocalPaths::desktopDirectory() {
    return pathForDirectory(SearchPathDirectory::Desktop, SearchPathDomain::User);
}

VTLocalPaths::Path VTLocalPaths::systemLibraryDirectory() {
    return pathForDirectory(SearchPathDirectory::Library, SearchPathDomain::System);
}

VTLocalPaths::Path VTLocalPaths::localDocumentationDirectory() {
    return pathForDirectory(SearchPathDirectory::Documentation, SearchPathDomain::Local);
}

VTLocalPaths::Path VTLocalPaths::trashDirectory() {
    return appending(userDirectory(), ".Trash");
}

VTLocalPaths::Path VTLocalPaths::userDirectory() {
    auto& users = *platform::current().users;
    if (isRoot()) {
        if (auto name = currentConsoleUser()) {
            return users.homeDirectoryForUser(*name);
        }
    }
    return users.homeDirectory();
}

std::optional<std::string> VTLocalPaths::username() {
    return isRoot() ? currentConsoleUser() : platform::current().users->loginName();
}

std::optional<std::string> VTLocalPaths::currentConsoleUser() {
    auto name = platform::current().users->consoleUser();
    return name == "loginwindow" ? std::nullopt : name;
}

VTLocalPaths::Path VTLocalPaths::darwinCacheDirectory() {
    return platform::userCacheDirectory();
}

VTLocalPaths::Path VTLocalPaths::tempDirectory() {
    return platform::temporaryDirectory();
}

VTLocalPaths::Path VTLocalPaths::tempFile() {
    return appending(tempDirectory(), uuid() + randomString(8));
}

std::string VTLocalPaths::uuid() {
    return platform::globallyUniqueString();
}

std::string VTLocalPaths::randomString(std::size_t length) {
    static constexpr std::string_view kAlphabet = "abcdefghijklmnopqrstuvwxyz0123456789";
    auto product = static_cast<std::uint64_t>(std::clock()) * static_cast<std::uint64_t>(std::time(nullptr));
    std::srand(static_cast<unsigned>(product));
    std::string text;
    for (std::size_t i = 0; i < length; ++i) {
        text += kAlphabet[static_cast<std::size_t>(std::rand()) % kAlphabet.size()];
    }
    return text;
}

bool VTLocalPaths::isPathSystemDirectory(std::string_view path, bool exactMatch) {
    if (path == "/") {
        return true;
    }
    if (platform::utf16Length(path) < 3) {
        return false;
    }
    if (path.ends_with('/')) {
        path.remove_suffix(1);
        dropLastUnit(path);
    }
    const std::array<Path, 20> protectedPaths{
        applicationDirectory(true),
        applicationDirectory(false),
        adminApplicationDirectory(true),
        adminApplicationDirectory(false),
        documentDirectory(true),
        documentDirectory(false),
        libraryDirectory(true),
        libraryDirectory(false),
        prefsDirectory(true),
        prefsDirectory(false),
        cacheDirectory(true),
        cacheDirectory(false),
        appSupportDirectory(true),
        appSupportDirectory(false),
        desktopDirectory(),
        userDirectory(),
        systemLibraryDirectory(),
        localDocumentationDirectory(),
        "/Users/Shared",
        "/Volumes",
    };
    if (std::ranges::any_of(protectedPaths, [path](const Path& known) { return known == path; })) {
        return true;
    }
    if (exactMatch) {
        return false;
    }
    return path.starts_with("/usr") || path.starts_with("/var") || path.starts_with("/private/var") ||
           path.starts_with("/System");
}

bool VTLocalPaths::isPathOnTimeMachineVolume(std::string_view path) {
    static constexpr std::string_view kStore = "Backups.backupdb";
    if (!path.starts_with("/Volumes/")) {
        return false;
    }
    for (std::size_t start = 0; start < path.size();) {
        auto end = std::min(path.find('/', start), path.size());
        if (path.substr(start, end - start) == kStore) {
            return true;
        }
        start = end + 1;
    }
    return false;
}
