#include "ItemPlace.h"

#include "FolderPath.h"
#include "Platform.h"

#include <algorithm>
#include <array>
#include <climits>
#include <cstdlib>
#include <fcntl.h>
#include <sys/stat.h>
#include <utility>

namespace platform {

namespace {

// Search permission is all that a parent folder needs.
constexpr int kOpenParent = O_PATH | O_DIRECTORY | O_CLOEXEC;

bool isRootsOwn(const std::string& home) {
    struct stat status {};
    return ::stat(home.c_str(), &status) == 0 && status.st_uid == 0;
}

// The home that a root process must be careful in; absent when the path lies in none.
std::optional<std::string> guardedHome(const std::string& path) {
    auto& users = *current().users;
    if (users.realUserID() != 0) {
        return std::nullopt;
    }
    auto name = users.consoleUser();
    for (const auto& home :
         {name ? users.homeDirectoryForUser(*name) : std::nullopt, users.homeDirectory()}) {
        if (home && path.starts_with(*home + "/") && !isRootsOwn(*home)) {
            return home;
        }
    }
    return std::nullopt;
}

// What a link at `path` stands for, so that a file kept elsewhere is replaced there.
std::string destination(const std::string& path) {
    std::array<char, PATH_MAX> resolved{};
    struct stat status {};
    bool isLink = ::lstat(path.c_str(), &status) == 0 && S_ISLNK(status.st_mode);
    return isLink && ::realpath(path.c_str(), resolved.data()) ? std::string(resolved.data()) : path;
}

} // namespace

ItemPlace::ItemPlace(const std::string& path, FinalLink finalLink) {
    std::string full(withoutTrailingSlashes(path));
    auto home = guardedHome(full);
    if (!home && finalLink == FinalLink::Followed) {
        full = destination(full);
    }
    auto slash = full.rfind('/');
    name_ = full.substr(slash + 1); // the whole of it when there is no slash
    if (name_ == "." || name_ == "..") {
        error_ = std::make_error_code(std::errc::invalid_argument);
    } else if (home) {
        enterBelowHome(*home, full.substr(0, slash));
    } else {
        enter(slash == std::string::npos ? "." : full.substr(0, slash + 1));
    }
}

void ItemPlace::enter(const std::string& path, int flags) {
    int from = folder_ ? folder_.get() : AT_FDCWD;
    FileDescriptor next(retrying([&] { return ::openat(from, path.c_str(), kOpenParent | flags); }));
    if (!next) {
        error_ = lastError();
    }
    folder_ = std::move(next);
}

void ItemPlace::enterBelowHome(const std::string& home, const std::string& parent) {
    enter(home);
    struct stat status {};
    if (!error_ && ::fstat(folder_.get(), &status) != 0) {
        error_ = lastError();
    }
    owner_ = Owner{status.st_uid, status.st_gid};
    for (auto start = home.size(); !error_ && start < parent.size();) {
        auto end = std::min(parent.find('/', start + 1), parent.size());
        auto component = parent.substr(start + 1, end - start - 1);
        if (component == "..") { // leads out of the home
            error_ = std::make_error_code(std::errc::invalid_argument);
        } else if (!component.empty()) {
            enter(component, O_NOFOLLOW);
        }
        start = end;
    }
}

} // namespace platform
