#include "ItemCopy.h"

#include <climits>
#include <dirent.h>
#include <fcntl.h>
#include <memory>
#include <string_view>
#include <sys/sendfile.h>
#include <sys/stat.h>
#include <vector>

namespace platform {

namespace {

constexpr int kOpenFolder = O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC;

struct CloseListing {
    void operator()(DIR* listing) const { ::closedir(listing); }
};

std::vector<std::string> namesIn(const FileDescriptor& folder, std::error_code& error) {
    const int own = ::fcntl(folder.get(), F_DUPFD_CLOEXEC, 0);
    std::unique_ptr<DIR, CloseListing> listing(own < 0 ? nullptr : ::fdopendir(own));
    std::vector<std::string> names;
    if (!listing) {
        error = lastError();
        if (own >= 0) {
            ::close(own);
        }
        return names;
    }
    errno = 0;
    while (const auto* entry = ::readdir(listing.get())) {
        const std::string_view name = entry->d_name;
        if (name != "." && name != "..") {
            names.emplace_back(name);
        }
        errno = 0;
    }
    if (errno != 0) {
        error = lastError();
    }
    return names;
}

} // namespace

std::error_code ItemCopy::copy(const Item& from, const Item& to) const {
    struct stat status {};
    if (::fstatat(from.folder, from.name, &status, AT_SYMLINK_NOFOLLOW) != 0) {
        return lastError();
    }
    switch (status.st_mode & S_IFMT) {
    case S_IFLNK:
        return copyLink(from, to);
    case S_IFREG:
        return copyFile(from, to, status.st_mode);
    case S_IFDIR:
        return copyFolder(from, to, status.st_mode);
    default:
        return std::make_error_code(std::errc::not_supported);
    }
}

std::error_code ItemCopy::copyLink(const Item& from, const Item& to) const {
    std::string destination(PATH_MAX, '\0');
    const auto length = ::readlinkat(from.folder, from.name, destination.data(), destination.size());
    if (length < 0) {
        return lastError();
    }
    destination.resize(static_cast<std::size_t>(length));
    if (::symlinkat(destination.c_str(), to.folder, to.name) != 0 ||
        (owner_ && ::fchownat(to.folder, to.name, owner_->user, owner_->group, AT_SYMLINK_NOFOLLOW) != 0)) {
        return lastError();
    }
    return {};
}

std::error_code ItemCopy::copyFile(const Item& from, const Item& to, mode_t mode) const {
    FileDescriptor source(::openat(from.folder, from.name, O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
    if (!source) {
        return lastError();
    }
    FileDescriptor copy(
        ::openat(to.folder, to.name, O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600));
    if (!copy) {
        return lastError();
    }
    constexpr std::size_t kPiece = std::size_t{64} << 20;
    ssize_t count = 0;
    do {
        count = retrying([&] { return ::sendfile(copy.get(), source.get(), nullptr, kPiece); });
    } while (count > 0);
    return count < 0 ? lastError() : finish(copy.get(), mode);
}

std::error_code ItemCopy::copyFolder(const Item& from, const Item& to, mode_t mode) const {
    FileDescriptor source(::openat(from.folder, from.name, kOpenFolder));
    if (!source || ::mkdirat(to.folder, to.name, 0700) != 0) {
        return lastError();
    }
    FileDescriptor copy(::openat(to.folder, to.name, kOpenFolder));
    if (!copy) {
        return lastError();
    }
    std::error_code error;
    for (const auto& name : namesIn(source, error)) {
        if (auto failure = this->copy({source.get(), name.c_str()}, {copy.get(), name.c_str()})) {
            return failure;
        }
    }
    return error ? error : finish(copy.get(), mode);
}

// The owner first: changing it takes set-user-id away, which nobody else is to get.
std::error_code ItemCopy::finish(int copy, mode_t mode) const {
    const mode_t kept = owner_ ? 01777 : 07777;
    if ((owner_ && ::fchown(copy, owner_->user, owner_->group) != 0) || ::fchmod(copy, mode & kept) != 0) {
        return lastError();
    }
    return {};
}

} // namespace platform
