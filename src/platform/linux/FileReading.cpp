#include "FileReading.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <utility>

namespace platform {

FileContents readFileAt(int folder, const char* path, std::size_t limit) {
    FileDescriptor file(
        retrying([&] { return ::openat(folder, path, O_RDONLY | O_NONBLOCK | O_CLOEXEC | O_NOCTTY); }));
    if (!file) {
        // It may exist all the same: unreadable, a socket, or no descriptors left.
        struct stat status {};
        return {.exists = errno != ENOENT && errno != ENOTDIR && ::fstatat(folder, path, &status, 0) == 0,
                .bytes = std::nullopt};
    }
    struct stat status {};
    if (::fstat(file.get(), &status) != 0 || !S_ISREG(status.st_mode) ||
        static_cast<std::size_t>(status.st_size) > limit) {
        return {.exists = true, .bytes = std::nullopt};
    }
    // One byte more than the file claims tells its end in the same call. A file that claims nothing may be
    // one that the system makes up, which comes in pieces; a file that grows is read on.
    const auto claimed = static_cast<std::size_t>(status.st_size);
    std::string bytes(claimed + 1, '\0');
    std::size_t length = 0;
    for (bool atEnd = false; !atEnd;) {
        ssize_t count =
            retrying([&] { return ::read(file.get(), bytes.data() + length, bytes.size() - length); });
        length += count > 0 ? static_cast<std::size_t>(count) : 0;
        if (count < 0 || length > limit) {
            return {.exists = true, .bytes = std::nullopt};
        }
        atEnd = count == 0 || (length == claimed && claimed > 0);
        if (length == bytes.size()) {
            bytes.resize(bytes.size() * 2);
        }
    }
    bytes.resize(length);
    return {.exists = true, .bytes = std::move(bytes)};
}

} // namespace platform
