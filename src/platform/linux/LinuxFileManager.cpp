#include "LinuxFileManager.h"

#include "Exception.h"
#include "FileReading.h"
#include "LinuxFolder.h"
#include "NewItemPlace.h"

#include <climits>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <sys/stat.h>

namespace platform {

namespace {

class LinuxFileHandle : public FileHandle {
public:
    explicit LinuxFileHandle(FileDescriptor file) : file_(std::move(file)) {}

    void write(std::string_view bytes) override {
        while (!bytes.empty()) {
            ssize_t count = retrying([&] { return ::write(file_.get(), bytes.data(), bytes.size()); });
            if (count < 0) {
                throw Exception("NSFileHandleOperationException", lastError().message());
            }
            bytes.remove_prefix(static_cast<std::size_t>(count));
        }
    }

    void seekToEnd() override {
        if (::lseek(file_.get(), 0, SEEK_END) < 0) {
            throw Exception("NSFileHandleOperationException", lastError().message());
        }
    }

private:
    FileDescriptor file_;
};

std::error_code writeAll(int file, std::string_view bytes) {
    while (!bytes.empty()) {
        ssize_t count = retrying([&] { return ::write(file, bytes.data(), bytes.size()); });
        if (count < 0) {
            return lastError();
        }
        bytes.remove_prefix(static_cast<std::size_t>(count));
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
    auto slash = path.rfind('/');
    if (slash != std::string::npos && slash > 0) {
        if (auto error = createDirectory(path.substr(0, slash))) {
            return error;
        }
    }
    NewItemPlace place(path);
    if (place.error()) {
        return place.error();
    }
    if (::mkdirat(place.folder(), place.name(), 0777) != 0) {
        return errno == EEXIST && isDirectory(path) ? std::error_code() : lastError();
    }
    if (place.owner()) {
        FileDescriptor made(
            ::openat(place.folder(), place.name(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
        if (!made || ::fchown(made.get(), place.owner()->user, place.owner()->group) != 0) {
            return lastError();
        }
    }
    return {};
}

std::error_code LinuxFileManager::removeItem(const std::string& path) {
    if (::unlink(path.c_str()) == 0) {
        return {};
    }
    if (errno != EISDIR && errno != EPERM) {
        return lastError();
    }
    std::error_code error;
    std::filesystem::remove_all(path, error);
    return error;
}

std::error_code LinuxFileManager::moveItem(const std::string& from, const std::string& to) {
    if (::renameat2(AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), RENAME_NOREPLACE) == 0) {
        return {};
    }
    if (errno != EINVAL && errno != ENOSYS) {
        return lastError();
    }
    // A file system without the flag.
    struct stat status {};
    if (::lstat(to.c_str(), &status) == 0) {
        return {EEXIST, std::generic_category()};
    }
    return ::rename(from.c_str(), to.c_str()) == 0 ? std::error_code() : lastError();
}

std::error_code LinuxFileManager::writeAtomically(const std::string& path, std::string_view bytes) {
    NewItemPlace place(path);
    if (place.error()) {
        return place.error();
    }
    std::string temporary = "." + std::string(place.name()).substr(0, 200) + ".XXXXXX";
    FileDescriptor file = place.createTemporary(temporary);
    if (!file) {
        return lastError();
    }
    auto finish = [&]() -> std::error_code {
        if (auto error = place.giveAttributes(file.get())) {
            return error;
        }
        if (auto error = writeAll(file.get(), bytes)) {
            return error;
        }
        // An empty file has nothing that a crash could lose, and a log starts many of them.
        if (!bytes.empty() && ::fsync(file.get()) != 0) {
            return lastError();
        }
        if (::renameat(place.folder(), temporary.c_str(), place.folder(), place.name()) != 0) {
            return lastError();
        }
        if (!bytes.empty()) {
            ::fsync(place.folder()); // best effort: not every file system can
        }
        return {};
    };
    auto error = finish();
    if (error) {
        ::unlinkat(place.folder(), temporary.c_str(), 0);
    }
    return error;
}

std::unique_ptr<FileHandle> LinuxFileManager::openForWriting(const std::string& path) {
    FileDescriptor file(
        retrying([&] { return ::open(path.c_str(), O_WRONLY | O_NONBLOCK | O_CLOEXEC | O_NOCTTY); }));
    struct stat status {};
    if (!file || ::fstat(file.get(), &status) != 0 || !S_ISREG(status.st_mode)) {
        return nullptr;
    }
    return std::make_unique<LinuxFileHandle>(std::move(file));
}

} // namespace platform
