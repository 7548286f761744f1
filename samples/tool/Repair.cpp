#include "Repair.h"

#include "linux/FileDescriptor.h"

#include <array>
#include <chrono>
#include <cstdio>
#include <fcntl.h>
#include <spawn.h>
#include <string>
#include <sys/stat.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace {

constexpr int kFiles = 6;
constexpr auto kPause = std::chrono::milliseconds(500); // after each of them

constexpr const char* kCache = "com.vantorel.Purgel";

using platform::FileDescriptor;

std::string suiteOf(const std::string& bundlePath) {
    auto end = bundlePath.rfind("/Applications/");
    return bundlePath.substr(0, end == std::string::npos ? bundlePath.rfind('/') : end);
}

// A folder in a folder, whoever may have put a link there.
FileDescriptor folderIn(int parent, const char* name) {
    ::mkdirat(parent, name, 0755);
    return FileDescriptor(::openat(parent, name, O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
}

std::string fileName(int number) {
    return "Sample cache " + std::to_string(number);
}

bool fill(int folder) {
    for (int number = 1; number <= kFiles; ++number) {
        auto name = fileName(number);
        ::unlinkat(folder, name.c_str(), 0); // of a run that was cancelled
        FileDescriptor file(::openat(folder, name.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0644));
        if (file.get() < 0 || ::write(file.get(), "sample\n", 7) != 7) {
            return false;
        }
    }
    return true;
}

bool clear(int folder) {
    bool cleared = true;
    for (int number = 1; number <= kFiles; ++number) {
        auto name = fileName(number);
        cleared = ::unlinkat(folder, name.c_str(), 0) == 0 && cleared;
        std::printf("Purgel: cleared %s\n", name.c_str());
        std::fflush(stdout);
        std::this_thread::sleep_for(kPause);
    }
    return cleared;
}

bool clearSampleCache(const std::string& suite) {
    FileDescriptor root(::open(suite.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    auto library = folderIn(root.get(), "Library");
    auto caches = folderIn(library.get(), "Caches");
    auto cache = folderIn(caches.get(), kCache);
    if (cache.get() < 0 || !fill(cache.get())) {
        return false;
    }
    bool cleared = clear(cache.get());
    return ::unlinkat(caches.get(), kCache, AT_REMOVEDIR) == 0 && cleared;
}

// Root must not run what others may have put beside the suite.
std::string placeOfVtpost(const std::string& suite) {
    auto beside = suite.substr(0, suite.rfind('/')) + "/Launcher.app/Contents/Resources/vtpost";
    bool isOurs = ::geteuid() != 0 && ::access(beside.c_str(), X_OK) == 0;
    return isOurs ? beside : "/usr/libexec/vantorel/vtpost";
}

bool post(const std::string& suite, std::string notification) {
    auto place = placeOfVtpost(suite);
    std::array<char*, 3> arguments{place.data(), notification.data(), nullptr};
    pid_t child = 0;
    int status = 0;
    return ::posix_spawn(&child, place.c_str(), nullptr, nullptr, arguments.data(), environ) == 0 &&
           ::waitpid(child, &status, 0) == child && status == 0;
}

} // namespace

int repair(const std::string& bundlePath) {
    auto suite = suiteOf(bundlePath);
    bool cleared = clearSampleCache(suite);
    if (!cleared) {
        std::fputs("Purgel: the sample cache could not be cleared\n", stderr);
    }
    if (!post(suite, "VTKVDPurgelComplete")) {
        std::fputs("Purgel: nobody could be told of the end\n", stderr);
        return 1;
    }
    return cleared ? 0 : 1;
}
