#include "Spawn.h"

#include <csignal>
#include <system_error>
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
