#include "NewItemPlace.h"

#include "Platform.h"

#include <array>
#include <climits>
#include <cstdlib>
#include <fcntl.h>
#include <random>
#include <sys/stat.h>

namespace platform {

namespace {

constexpr int kOpenParent = O_RDONLY | O_DIRECTORY | O_CLOEXEC;

// The home that a root process must be careful in; absent when the path lies in none.
std::optional<std::string> guardedHome(const std::string& path) {
    auto& users = *current().users;
    if (users.realUserID() != 0) {
        return std::nullopt;
    }
    auto name = users.consoleUser();
    auto home = name ? users.homeDirectoryForUser(*name) : std::nullopt;
    return home && path.starts_with(*home + "/") ? home : std::nullopt;
}

// What a link at `path` stands for, so that a file kept elsewhere is replaced there.
std::string destination(const std::string& path) {
    std::array<char, PATH_MAX> resolved{};
    struct stat status {};
    bool isLink = ::lstat(path.c_str(), &status) == 0 && S_ISLNK(status.st_mode);
    return isLink && ::realpath(path.c_str(), resolved.data()) ? std::string(resolved.data()) : path;
}

} // namespace

NewItemPlace::NewItemPlace(const std::string& path) {
    auto home = guardedHome(path);
    std::string full = home ? path : destination(path);
    auto slash = full.rfind('/');
    name_ = slash == std::string::npos ? full : full.substr(slash + 1);
    if (home) {
        openBelowHome(*home, full.substr(0, slash));
    } else {
        std::string parent = slash == std::string::npos ? "." : slash == 0 ? "/" : full.substr(0, slash);
        folder_ = FileDescriptor(::open(parent.c_str(), kOpenParent));
    }
    if (!folder_) {
        error_ = lastError();
    }
}

void NewItemPlace::openBelowHome(const std::string& home, const std::string& path) {
    folder_ = FileDescriptor(::open(home.c_str(), kOpenParent));
    struct stat status {};
    if (!folder_ || ::fstat(folder_.get(), &status) != 0) {
        folder_.reset();
        return;
    }
    owner_ = Owner{status.st_uid, status.st_gid};
    for (std::size_t start = home.size(); folder_ && start < path.size();) {
        auto end = path.find('/', start + 1);
        auto component = path.substr(start + 1, end == std::string::npos ? end : end - start - 1);
        if (!component.empty()) {
            folder_ = FileDescriptor(::openat(folder_.get(), component.c_str(), kOpenParent | O_NOFOLLOW));
        }
        start = end == std::string::npos ? path.size() : end;
    }
}

FileDescriptor NewItemPlace::createTemporary(std::string& name) const {
    static constexpr std::string_view kAlphabet = "abcdefghijklmnopqrstuvwxyz0123456789";
    std::random_device random;
    for (int attempt = 0; attempt < 100; ++attempt) {
        for (auto position = name.size(); position > name.size() - 6; --position) {
            name[position - 1] = kAlphabet[random() % kAlphabet.size()];
        }
        FileDescriptor file(::openat(folder_.get(), name.c_str(),
                                     O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0666));
        if (file || errno != EEXIST) {
            return file;
        }
    }
    return {};
}

std::error_code NewItemPlace::giveAttributes(int file) const {
    struct stat present {};
    bool replaces = ::fstatat(folder_.get(), name_.c_str(), &present, AT_SYMLINK_NOFOLLOW) == 0 &&
                    S_ISREG(present.st_mode);
    auto owner = replaces ? std::optional(Owner{present.st_uid, present.st_gid}) : owner_;
    struct stat made {};
    if (::fstat(file, &made) != 0) {
        return lastError();
    }
    if (owner && (owner->user != made.st_uid || owner->group != made.st_gid) &&
        ::fchown(file, owner->user, owner->group) != 0 && ::geteuid() == 0) {
        return lastError();
    }
    if (replaces && ::fchmod(file, present.st_mode & 07777) != 0) {
        return lastError();
    }
    return {};
}

} // namespace platform
