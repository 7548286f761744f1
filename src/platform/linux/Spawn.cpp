#include "Spawn.h"

#include <csignal>
#include <fcntl.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

namespace platform {

namespace {

void check(int failure) {
    if (failure != 0) {
        throw std::system_error(failure, std::generic_category());
    }
}

} // namespace

SpawnFileActions::SpawnFileActions() {
    check(posix_spawn_file_actions_init(&actions_));
}

SpawnFileActions::~SpawnFileActions() {
    posix_spawn_file_actions_destroy(&actions_);
}

void SpawnFileActions::open(int descriptor, const char* path, int flags) {
    check(posix_spawn_file_actions_addopen(&actions_, descriptor, path, flags, 0));
}

void SpawnFileActions::duplicate(int descriptor, int target) {
    check(posix_spawn_file_actions_adddup2(&actions_, descriptor, target));
}

void SpawnFileActions::changeFolder(const std::string& path) {
    check(posix_spawn_file_actions_addchdir_np(&actions_, path.c_str()));
}

void SpawnFileActions::closeAllButStreams() {
    check(posix_spawn_file_actions_addclosefrom_np(&actions_, STDERR_FILENO + 1));
}

SpawnAttributes::SpawnAttributes(short flags) {
    check(posix_spawnattr_init(&attributes_));
    sigset_t noSignals;
    sigset_t allSignals;
    sigemptyset(&noSignals);
    sigfillset(&allSignals);
    posix_spawnattr_setflags(&attributes_,
                             static_cast<short>(flags | POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF));
    posix_spawnattr_setsigmask(&attributes_, &noSignals);
    posix_spawnattr_setsigdefault(&attributes_, &allSignals);
}

SpawnAttributes::~SpawnAttributes() {
    posix_spawnattr_destroy(&attributes_);
}

FileDescriptor openProcess(pid_t process) {
    return FileDescriptor(static_cast<int>(::syscall(SYS_pidfd_open, process, 0)));
}

SpawnedProcess spawnWithHandle(const std::function<pid_t(std::error_code& error)>& start,
                               std::error_code& error) {
    auto place = openProcess(::getpid());
    if (place && place.get() <= STDERR_FILENO) {
        place = FileDescriptor(::fcntl(place.get(), F_DUPFD_CLOEXEC, STDERR_FILENO + 1));
    }
    if (!place) {
        error = lastError();
        return {};
    }
    SpawnedProcess result;
    result.process = start(error);
    place.reset();
    if (result.process == 0) {
        return {};
    }
    result.handle = openProcess(result.process);
    if (!result.handle) {
        error = lastError();
        // It may be gone already, or have become a program that is not ours to end.
        if (error != std::errc::no_such_process && ::kill(result.process, SIGKILL) == 0) {
            retrying([&] { return ::waitpid(result.process, nullptr, 0); });
        }
    }
    return result;
}

std::vector<char*> spawnPointers(const std::vector<std::string>& texts) {
    std::vector<char*> result;
    result.reserve(texts.size() + 1);
    for (const auto& text : texts) {
        // NOLINTNEXTLINE(cppcoreguidelines-pro-type-const-cast): posix_spawn changes nothing
        result.push_back(const_cast<char*>(text.c_str()));
    }
    result.push_back(nullptr);
    return result;
}

} // namespace platform
