#include "TrustedTool.h"

#include "Refusal.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>
#include <deque>
#include <fcntl.h>
#include <string_view>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>
#include <vector>

namespace {

using platform::FileDescriptor;

constexpr int kMaximumLinks = 40; // as the system's own bound

struct Step {
    FileDescriptor descriptor;
    struct stat status {};
};

// Nothing is read by opening; a link is opened as itself.
Step open(int folder, const std::string& name) {
    Step step;
    step.descriptor = FileDescriptor(::openat(folder, name.c_str(), O_PATH | O_NOFOLLOW | O_CLOEXEC));
    if (!step.descriptor || ::fstat(step.descriptor.get(), &step.status) != 0) {
        throw Refusal(platform::lastError().message());
    }
    return step;
}

bool isRootsAlone(const struct stat& status) {
    // Where there is an access list, the group's bits are what it grants at the most.
    return status.st_uid == 0 && (status.st_mode & (S_IWGRP | S_IWOTH)) == 0;
}

void checkFolderOnTheWay(const struct stat& status) {
    if (status.st_uid != 0 || (!isRootsAlone(status) && (status.st_mode & S_ISVTX) == 0)) {
        throw Refusal("others than root may change a folder on the way");
    }
}

std::string linkTarget(const FileDescriptor& link) {
    std::array<char, PATH_MAX> target{};
    const auto length = ::readlinkat(link.get(), "", target.data(), target.size());
    if (length < 0) {
        throw Refusal(platform::lastError().message());
    }
    if (static_cast<std::size_t>(length) == target.size()) {
        throw Refusal("a link on the way is too long");
    }
    return {target.data(), static_cast<std::size_t>(length)};
}

// Puts the components of a path before those that are still to be walked.
void prepend(std::deque<std::string>& components, std::string_view path) {
    auto place = components.begin();
    while (!path.empty()) {
        const auto end = std::min(path.find('/'), path.size());
        if (const auto name = path.substr(0, end); !name.empty() && name != ".") {
            place = components.emplace(place, name) + 1;
        }
        path.remove_prefix(std::min(end + 1, path.size()));
    }
}

} // namespace

TrustedTool::TrustedTool(const std::string& path) {
    if (path.empty() || path.front() != '/') {
        throw Refusal("its path is not absolute");
    }
    // A tool of several names goes by the one it is called by, so there must be one.
    if (const auto name = path.substr(path.rfind('/') + 1); name.empty() || name == "." || name == "..") {
        throw Refusal("its path does not end in a name");
    }
    std::deque<std::string> components;
    prepend(components, path);
    std::vector<Step> folders; // from the root to where the walk is
    folders.push_back(open(AT_FDCWD, "/"));
    checkFolderOnTheWay(folders.back().status);

    int links = 0;
    while (!components.empty()) {
        const auto name = std::move(components.front());
        components.pop_front();
        if (name == "..") {
            if (folders.size() > 1) {
                folders.pop_back();
            }
            continue;
        }
        auto step = open(folders.back().descriptor.get(), name);
        // The tool's folder, and that of a link to it.
        if (components.empty() && !isRootsAlone(folders.back().status)) {
            throw Refusal("others than root may write to its folder");
        }
        if (S_ISLNK(step.status.st_mode)) {
            if (step.status.st_uid != 0 || ++links > kMaximumLinks) {
                throw Refusal("a link on the way is not root's, or there are too many");
            }
            const auto target = linkTarget(step.descriptor);
            if (target.starts_with('/')) {
                folders.resize(1);
            }
            prepend(components, target);
        } else if (S_ISDIR(step.status.st_mode)) {
            checkFolderOnTheWay(step.status);
            folders.push_back(std::move(step));
        } else if (!components.empty()) {
            throw Refusal(std::error_code(ENOTDIR, std::generic_category()).message());
        } else if (!S_ISREG(step.status.st_mode)) {
            throw Refusal("it is not a file");
        } else if (!isRootsAlone(step.status)) {
            throw Refusal("it is not root's, or others may write to it");
        } else {
            file_ = std::move(step.descriptor);
            folder_ = std::move(folders.back().descriptor);
            name_ = name;
        }
    }
    if (!file_) {
        throw Refusal("it is a folder");
    }
}

void TrustedTool::execute(char* const* arguments, char* const* environment) const {
    struct stat checked {};
    struct stat present {};
    if (::fstat(file_.get(), &checked) != 0 ||
        ::fstatat(folder_.get(), name_.c_str(), &present, AT_SYMLINK_NOFOLLOW) != 0) {
        return;
    }
    if (checked.st_dev != present.st_dev || checked.st_ino != present.st_ino) {
        errno = ESTALE;
        return;
    }
    ::execveat(folder_.get(), name_.c_str(), arguments, environment, AT_SYMLINK_NOFOLLOW);
    if (errno == ENOENT) {
        // So the system refuses a script whose folder closes before its interpreter could read it.
        ::fcntl(folder_.get(), F_SETFD, 0);
        ::execveat(folder_.get(), name_.c_str(), arguments, environment, AT_SYMLINK_NOFOLLOW);
    }
}
