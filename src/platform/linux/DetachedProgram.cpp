#include "DetachedProgram.h"

#include <csignal>
#include <fcntl.h>
#include <spawn.h>
#include <unistd.h>

namespace platform {

namespace {

std::vector<char*> pointers(const std::vector<std::string>& texts) {
    std::vector<char*> result;
    result.reserve(texts.size() + 1);
    for (const auto& text : texts) {
        // NOLINTNEXTLINE(cppcoreguidelines-pro-type-const-cast): posix_spawn changes nothing
        result.push_back(const_cast<char*>(text.c_str()));
    }
    result.push_back(nullptr);
    return result;
}

class FileActions {
public:
    FileActions() { posix_spawn_file_actions_init(&actions_); }
    ~FileActions() { posix_spawn_file_actions_destroy(&actions_); }
    FileActions(const FileActions&) = delete;
    FileActions& operator=(const FileActions&) = delete;
    posix_spawn_file_actions_t* get() { return &actions_; }

private:
    posix_spawn_file_actions_t actions_{};
};

class Attributes {
public:
    Attributes() { posix_spawnattr_init(&attributes_); }
    ~Attributes() { posix_spawnattr_destroy(&attributes_); }
    Attributes(const Attributes&) = delete;
    Attributes& operator=(const Attributes&) = delete;
    posix_spawnattr_t* get() { return &attributes_; }

private:
    posix_spawnattr_t attributes_{};
};

} // namespace

pid_t DetachedProgram::start(std::error_code& error) const {
    FileActions actions;
    for (int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        posix_spawn_file_actions_addopen(actions.get(), stream, "/dev/null", O_RDWR, 0);
    }
    posix_spawn_file_actions_addclosefrom_np(actions.get(), STDERR_FILENO + 1);
    posix_spawn_file_actions_addchdir_np(actions.get(), workingDirectory.c_str());

    sigset_t noSignals;
    sigset_t allSignals;
    sigemptyset(&noSignals);
    sigfillset(&allSignals);
    Attributes attributes;
    posix_spawnattr_setflags(attributes.get(),
                             POSIX_SPAWN_SETSID | POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);
    posix_spawnattr_setsigmask(attributes.get(), &noSignals);
    posix_spawnattr_setsigdefault(attributes.get(), &allSignals);

    std::vector<std::string> words{path};
    words.insert(words.end(), arguments.begin(), arguments.end());
    pid_t child = 0;
    int failure = ::posix_spawnp(&child, path.c_str(), actions.get(), attributes.get(),
                                 pointers(words).data(), pointers(environment).data());
    error.assign(failure, std::generic_category());
    return failure == 0 ? child : 0;
}

} // namespace platform
