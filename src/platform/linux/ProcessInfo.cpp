#include "ProcessInfo.h"

#include "FolderPath.h"
#include "Platform.h"

#include <array>
#include <cerrno>
#include <cstdlib>
#include <string_view>
#include <sys/stat.h>
#include <sys/utsname.h>
#include <unistd.h>

namespace platform {

namespace {

constexpr std::size_t kReleaseFileLimit = std::size_t{64} << 10;

// The value of PRETTY_NAME in os-release(5); the quotes are the shell's.
std::string prettyName() {
    for (const char* path : {"/etc/os-release", "/usr/lib/os-release"}) {
        auto text = current().fileManager->contents(path, kReleaseFileLimit).bytes;
        if (!text) {
            continue;
        }
        static constexpr std::string_view kKey = "\nPRETTY_NAME=";
        auto lines = "\n" + *text;
        auto start = lines.find(kKey);
        if (start == std::string::npos) {
            continue;
        }
        start += kKey.size();
        auto value = std::string_view(lines).substr(start, lines.find('\n', start) - start);
        bool isQuoted = value.size() >= 2 && (value.front() == '"' || value.front() == '\'') &&
                        value.back() == value.front();
        value = isQuoted ? value.substr(1, value.size() - 2) : value;
        if (!value.empty()) {
            return std::string(value);
        }
    }
    return "Linux";
}

bool isPrivateFolder(const std::string& path) {
    struct stat status {};
    return ::lstat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode) && status.st_uid == ::geteuid() &&
           (status.st_mode & 07777) == 0700;
}

bool makePrivateFolder(const std::string& path) {
    ::mkdir(path.c_str(), 0700);
    return isPrivateFolder(path);
}

} // namespace

std::string operatingSystemVersionString() {
    utsname system{};
    ::uname(&system);
    return prettyName() + " " + system.release;
}

int processorCount() {
    return static_cast<int>(::sysconf(_SC_NPROCESSORS_ONLN));
}

std::uint64_t physicalMemory() {
    return static_cast<std::uint64_t>(::sysconf(_SC_PHYS_PAGES)) *
           static_cast<std::uint64_t>(::sysconf(_SC_PAGESIZE));
}

std::string processName() {
    return ::program_invocation_short_name;
}

std::string globallyUniqueString() {
    std::array<unsigned char, 16> bytes{};
    ::arc4random_buf(bytes.data(), bytes.size());
    // RFC 4122, version 4
    bytes[6] = static_cast<unsigned char>((bytes[6] & 0x0F) | 0x40);
    bytes[8] = static_cast<unsigned char>((bytes[8] & 0x3F) | 0x80);
    std::string text;
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        if (i == 4 || i == 6 || i == 8 || i == 10) {
            text += '-';
        }
        static constexpr std::string_view kDigits = "0123456789ABCDEF";
        text += kDigits[bytes[i] >> 4];
        text += kDigits[bytes[i] & 0x0F];
    }
    return text;
}

std::optional<std::string> temporaryDirectory() {
    for (const char* variable : {"TMPDIR", "XDG_RUNTIME_DIR"}) {
        if (auto path = folderInEnvironment(variable); path && isPrivateFolder(*path)) {
            return path;
        }
    }
    if (auto own = "/tmp/com.vantorel." + std::to_string(::geteuid()); makePrivateFolder(own)) {
        return own;
    }
    // Somebody else has taken the name in /tmp; the cache folder is the user's own.
    if (auto caches = userCacheDirectory(); caches && makePrivateFolder(*caches += "/com.vantorel")) {
        return caches;
    }
    return std::nullopt;
}

std::optional<std::string> userCacheDirectory() {
    auto path = folderInEnvironment("XDG_CACHE_HOME");
    if (!path) {
        auto home = current().users->homeDirectory();
        path = home ? std::optional(*home + "/.cache") : std::nullopt;
    }
    return path && current().fileManager->isDirectory(*path) ? path : std::nullopt;
}

} // namespace platform
