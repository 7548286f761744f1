#include "LinuxFileManager.h"

#include "FileReading.h"
#include "FolderPath.h"
#include "ItemCopy.h"
#include "ItemPlace.h"
#include "LinuxFolder.h"
#include "ProcessInfo.h"

#include <climits>
#include <cstdio>
#include <fcntl.h>
#include <filesystem>
#include <sys/stat.h>

namespace platform {

namespace {

constexpr mode_t kFolderMode = 0777; // less what the process's mask takes away
constexpr mode_t kPrivateFolderMode = 0700;

// `written` counts on by the bytes that reached the file, also when not all of them did.
std::error_code writeAll(int file, std::string_view bytes, std::size_t& written) {
    while (!bytes.empty()) {
        ssize_t count = retrying([&] { return ::write(file, bytes.data(), bytes.size()); });
        if (count < 0) {
            return lastError();
        }
        written += static_cast<std::size_t>(count);
        bytes.remove_prefix(static_cast<std::size_t>(count));
    }
    return {};
}

class LinuxFileHandle : public FileHandle {
public:
    explicit LinuxFileHandle(FileDescriptor file) : file_(std::move(file)) {}

    void write(std::string_view bytes) override {
        std::size_t written = 0;
        if (auto error = writeAll(file_.get(), bytes, written)) {
            throw FileHandleException(error.message(), written);
        }
    }

    void seekToEnd() override {
        if (::lseek(file_.get(), 0, SEEK_END) < 0) {
            throw FileHandleException(lastError().message(), 0);
        }
    }

private:
    FileDescriptor file_;
};

std::error_code makeFolder(const std::string& path, mode_t mode) {
    ItemPlace place(path, ItemPlace::FinalLink::Kept);
    if (place.error()) {
        return place.error();
    }
    if (::mkdirat(place.folder(), place.name(), mode) != 0) {
        return lastError();
    }
    if (auto owner = place.owner()) {
        FileDescriptor made(
            ::openat(place.folder(), place.name(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
        if (!made || ::fchown(made.get(), owner->user, owner->group) != 0) {
            auto error = lastError();
            ::unlinkat(place.folder(), place.name(), AT_REMOVEDIR);
            return error;
        }
    }
    return {};
}

// What stands at the place, links not followed; absent when nothing does.
std::optional<struct stat> present(const ItemPlace& place) {
    struct stat status {};
    return ::fstatat(place.folder(), place.name(), &status, AT_SYMLINK_NOFOLLOW) == 0 ? std::optional(status)
                                                                                      : std::nullopt;
}

// Gives the new `file` the owner and mode of the one it replaces.
std::error_code giveAttributes(int file, const ItemPlace& place, const std::optional<struct stat>& replaced) {
    auto owner = replaced ? ItemPlace::Owner{replaced->st_uid, replaced->st_gid} : place.owner();
    struct stat made {};
    if (::fstat(file, &made) != 0) {
        return lastError();
    }
    mode_t modeKept = 07777;
    if (owner && (owner->user != made.st_uid || owner->group != made.st_gid) &&
        ::fchown(file, owner->user, owner->group) != 0) {
        if (::geteuid() == 0) {
            return lastError();
        }
        modeKept = 01777; // what runs as its owner must not come to run as another one
    }
    if (replaced && ::fchmod(file, replaced->st_mode & modeKept) != 0) {
        return lastError();
    }
    return {};
}

} // namespace

bool LinuxFileManager::fileExists(const std::string& path) {
    struct stat status {};
    return ::stat(path.c_str(), &status) == 0;
}

bool LinuxFileManager::isDirectory(const std::string& path) {
    struct stat status {};
    return ::stat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode);
}

std::optional<PropertyList::Date> LinuxFileManager::modificationDate(const std::string& path) {
    struct stat status {};
    if (::stat(path.c_str(), &status) != 0) {
        return std::nullopt;
    }
    const auto whole = status.st_mtim.tv_sec - PropertyList::Date::kReferenceDate;
    return PropertyList::Date{static_cast<double>(whole) + static_cast<double>(status.st_mtim.tv_nsec) / 1e9};
}

bool LinuxFileManager::isExecutableFile(const std::string& path) {
    return ::access(path.c_str(), X_OK) == 0;
}

std::optional<std::string> LinuxFileManager::destinationOfSymbolicLink(const std::string& path) {
    std::string destination(PATH_MAX, '\0');
    ssize_t length = ::readlink(path.c_str(), destination.data(), destination.size());
    if (length < 0) {
        return std::nullopt;
    }
    destination.resize(static_cast<std::size_t>(length));
    return destination;
}

std::unique_ptr<Folder> LinuxFileManager::openFolder(const std::string& path) {
    return std::make_unique<LinuxFolder>(path);
}

FileContents LinuxFileManager::contents(const std::string& path, std::size_t limit) {
    return readFileAt(AT_FDCWD, path.c_str(), limit);
}

std::error_code LinuxFileManager::createDirectory(const std::string& path) {
    if (isDirectory(path)) {
        return {};
    }
    auto error = makeFolder(path, kFolderMode);
    auto slash = withoutTrailingSlashes(path).rfind('/');
    if (error == std::errc::no_such_file_or_directory && slash != std::string::npos && slash > 0) {
        error = createDirectory(path.substr(0, slash));
        if (!error) {
            error = makeFolder(path, kFolderMode);
        }
    }
    // Another thread or program may have been quicker.
    return error == std::errc::file_exists && isDirectory(path) ? std::error_code() : error;
}

std::error_code LinuxFileManager::createPrivateDirectory(const std::string& path) {
    auto error = makeFolder(path, kPrivateFolderMode);
    return error == std::errc::file_exists && isDirectory(path) ? std::error_code() : error;
}

std::error_code LinuxFileManager::removeItem(const std::string& path) {
    ItemPlace place(path, ItemPlace::FinalLink::Kept);
    if (place.error()) {
        return place.error();
    }
    if (::unlinkat(place.folder(), place.name(), 0) == 0) {
        return {};
    }
    if (errno != EISDIR && errno != EPERM) {
        return lastError();
    }
    std::error_code error;
    std::filesystem::remove_all("/proc/self/fd/" + std::to_string(place.folder()) + "/" + place.name(),
                                error);
    return error;
}

std::error_code LinuxFileManager::moveItem(const std::string& from, const std::string& to) {
    ItemPlace source(from, ItemPlace::FinalLink::Kept);
    ItemPlace target(to, ItemPlace::FinalLink::Kept);
    if (source.error() || target.error()) {
        return source.error() ? source.error() : target.error();
    }
    if (::renameat2(source.folder(), source.name(), target.folder(), target.name(), RENAME_NOREPLACE) == 0) {
        return {};
    }
    if (errno != EINVAL && errno != ENOSYS) {
        return lastError();
    }
    // A file system without the flag.
    if (present(target)) {
        return std::make_error_code(std::errc::file_exists);
    }
    return ::renameat(source.folder(), source.name(), target.folder(), target.name()) == 0 ? std::error_code()
                                                                                           : lastError();
}

std::error_code LinuxFileManager::copyItem(const std::string& from, const std::string& to) {
    ItemPlace source(from, ItemPlace::FinalLink::Kept);
    ItemPlace target(to, ItemPlace::FinalLink::Kept);
    if (source.error() || target.error()) {
        return source.error() ? source.error() : target.error();
    }
    if (to.starts_with(std::string(withoutTrailingSlashes(from)) + "/")) {
        return std::make_error_code(std::errc::invalid_argument); // would copy itself for ever
    }
    if (present(target)) {
        return std::make_error_code(std::errc::file_exists);
    }
    auto error =
        ItemCopy(target.owner()).copy({source.folder(), source.name()}, {target.folder(), target.name()});
    if (error && error != std::errc::file_exists) {
        removeItem(to);
    }
    return error;
}

std::error_code LinuxFileManager::writeAtomically(const std::string& path, std::string_view bytes) {
    ItemPlace place(path, ItemPlace::FinalLink::Followed);
    if (place.error()) {
        return place.error();
    }
    auto replaced = present(place);
    if (replaced && S_ISLNK(replaced->st_mode)) {
        replaced.reset(); // leads nowhere, or must not be followed: the file takes its place
    }
    if (replaced && !S_ISREG(replaced->st_mode)) {
        return std::make_error_code(S_ISDIR(replaced->st_mode) ? std::errc::is_a_directory
                                                               : std::errc::file_exists);
    }
    const auto temporary = ".vantorel-" + globallyUniqueString();
    FileDescriptor file(
        ::openat(place.folder(), temporary.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666));
    if (!file) {
        return lastError();
    }
    auto finish = [&]() -> std::error_code {
        if (auto error = giveAttributes(file.get(), place, replaced)) {
            return error;
        }
        std::size_t written = 0;
        if (auto error = writeAll(file.get(), bytes, written)) {
            return error;
        }
        // An empty file has nothing that a crash could lose, and a log starts many of them.
        if (!bytes.empty() && ::fsync(file.get()) != 0) {
            return lastError();
        }
        return ::renameat(place.folder(), temporary.c_str(), place.folder(), place.name()) == 0
                   ? std::error_code()
                   : lastError();
    };
    auto error = finish();
    if (error) {
        ::unlinkat(place.folder(), temporary.c_str(), 0);
    }
    return error;
}

std::unique_ptr<FileHandle> LinuxFileManager::openForWriting(const std::string& path) {
    ItemPlace place(path, ItemPlace::FinalLink::Followed);
    if (place.error()) {
        return nullptr;
    }
    FileDescriptor file(retrying([&] {
        return ::openat(place.folder(), place.name(),
                        O_WRONLY | O_NONBLOCK | O_NOFOLLOW | O_CLOEXEC | O_NOCTTY);
    }));
    struct stat status {};
    if (!file || ::fstat(file.get(), &status) != 0 || !S_ISREG(status.st_mode)) {
        return nullptr;
    }
    return std::make_unique<LinuxFileHandle>(std::move(file));
}

} // namespace platform
