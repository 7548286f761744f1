#include "LinuxFolder.h"

#include "FileReading.h"
#include "Text.h"

#include <algorithm>
#include <array>
#include <climits>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <linux/openat2.h>
#include <sys/stat.h>
#include <sys/syscall.h>

namespace platform {

namespace {

constexpr int kOpenFolder = O_RDONLY | O_DIRECTORY | O_NONBLOCK | O_CLOEXEC;

bool fits(std::size_t pathLength) {
    return pathLength < PATH_MAX;
}

// A kernel or sandbox without the call leaves the question open, which counts as yes.
bool mayCrossLinks(const std::string& path) {
    open_how how{};
    how.flags = O_PATH | O_CLOEXEC;
    how.resolve = RESOLVE_NO_SYMLINKS;
    return !FileDescriptor(
        static_cast<int>(::syscall(SYS_openat2, AT_FDCWD, path.c_str(), &how, sizeof how)));
}

EntryKind kindOf(int folder, const dirent64& entry) {
    switch (entry.d_type) {
    case DT_DIR:
        return EntryKind::Folder;
    case DT_LNK:
        return EntryKind::Link;
    case DT_UNKNOWN: {
        struct stat status {};
        if (::fstatat(folder, entry.d_name, &status, AT_SYMLINK_NOFOLLOW) != 0) {
            return EntryKind::File;
        }
        return S_ISDIR(status.st_mode)   ? EntryKind::Folder
               : S_ISLNK(status.st_mode) ? EntryKind::Link
                                         : EntryKind::File;
    }
    default:
        return EntryKind::File;
    }
}

bool isDotOrDotDot(const char* name) {
    return name[0] == '.' && (name[1] == '\0' || (name[1] == '.' && name[2] == '\0'));
}

void sortByName(std::vector<DirectoryEntry>& entries) {
    if (entries.size() < 2) {
        return;
    }
    struct Keyed {
        std::string key;
        DirectoryEntry entry;
    };
    std::vector<Keyed> keyed;
    keyed.reserve(entries.size());
    for (auto& entry : entries) {
        auto key = caseFolded(entry.name);
        keyed.push_back({std::move(key), std::move(entry)});
    }
    std::ranges::sort(keyed, [](const Keyed& a, const Keyed& b) {
        int order = a.key.compare(b.key);
        return order != 0 ? order < 0 : a.entry.name < b.entry.name;
    });
    std::ranges::transform(keyed, entries.begin(), [](Keyed& item) { return std::move(item.entry); });
}

} // namespace

LinuxFolder::LinuxFolder(std::string path) : path_(std::move(path)), crossesLinks_(mayCrossLinks(path_)) {
    open(AT_FDCWD, path_.c_str());
}

std::string LinuxFolder::join(std::string_view name) const {
    std::string path;
    if (path_.empty()) {
        return path; // nothing is below the folder without a name
    }
    path.reserve(path_.size() + 1 + name.size());
    path += path_;
    if (path.back() != '/') {
        path += '/';
    }
    path += name;
    return path;
}

void LinuxFolder::open(int folder, const char* name) {
    descriptor_ = FileDescriptor(retrying([&] { return ::openat(folder, name, kOpenFolder); }));
    if (!descriptor_) {
        openError_ = lastError();
    }
}

bool LinuxFolder::resume() {
    if (!descriptor_ && !openError_) {
        open(AT_FDCWD, path_.c_str());
    }
    return static_cast<bool>(descriptor_);
}

std::vector<DirectoryEntry> LinuxFolder::entries(Listing listing, std::error_code& error) {
    std::vector<DirectoryEntry> found;
    error.clear();
    if (!resume()) {
        error = openError_;
        return found;
    }
    if (std::exchange(listed_, true)) {
        ::lseek(descriptor_.get(), 0, SEEK_SET);
    }
    alignas(dirent64) std::array<char, std::size_t{32} << 10> buffer; // NOLINT: filled by the kernel
    for (;;) {
        ssize_t length =
            retrying([&] { return ::getdents64(descriptor_.get(), buffer.data(), buffer.size()); });
        if (length < 0) {
            error = lastError();
            return {};
        }
        if (length == 0) {
            break;
        }
        for (ssize_t offset = 0; offset < length;) {
            const auto* entry = reinterpret_cast<const dirent64*>(buffer.data() + offset);
            offset += entry->d_reclen;
            if (isDotOrDotDot(entry->d_name)) {
                continue;
            }
            EntryKind kind = kindOf(descriptor_.get(), *entry);
            if (listing == Listing::Everything || kind != EntryKind::File) {
                found.push_back({entry->d_name, kind});
            }
        }
    }
    sortByName(found);
    return found;
}

bool LinuxFolder::isFolder(const DirectoryEntry& entry) {
    if (entry.kind != EntryKind::Link) {
        return entry.kind == EntryKind::Folder && fits(path_.size() + 1 + entry.name.size());
    }
    struct stat status {};
    return ::stat(join(entry.name).c_str(), &status) == 0 && S_ISDIR(status.st_mode);
}

std::unique_ptr<Folder> LinuxFolder::subfolder(const DirectoryEntry& entry) {
    bool byLink = entry.kind == EntryKind::Link;
    std::unique_ptr<LinuxFolder> folder(new LinuxFolder(join(entry.name), byLink || crossesLinks_));
    // Step by step where that gives the same answer; otherwise it is opened by its whole path, and one that
    // is too long the system itself refuses.
    if (!byLink && fits(folder->path_.size()) && resume()) {
        folder->open(descriptor_.get(), entry.name.c_str());
    }
    return folder;
}

FileContents LinuxFolder::contents(std::string_view relativePath, std::size_t limit) {
    bool byStep = !crossesLinks_ && fits(path_.size() + 1 + relativePath.size()) && resume();
    return byStep ? readFileAt(descriptor_.get(), std::string(relativePath).c_str(), limit)
                  : readFileAt(AT_FDCWD, join(relativePath).c_str(), limit);
}

} // namespace platform
