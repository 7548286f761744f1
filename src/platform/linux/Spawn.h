#pragma once

#include "FileDescriptor.h"

#include <functional>
#include <spawn.h>
#include <string>
#include <sys/types.h>
#include <system_error>
#include <vector>

namespace platform {

// What posix_spawn wants, owned. What the system refuses is thrown as std::system_error.

class SpawnFileActions {
public:
    SpawnFileActions();
    ~SpawnFileActions();
    SpawnFileActions(const SpawnFileActions&) = delete;
    SpawnFileActions& operator=(const SpawnFileActions&) = delete;

    void open(int descriptor, const char* path, int flags);
    void duplicate(int descriptor, int target); // the same number stays open in the child
    void changeFolder(const std::string& path);
    void closeAllButStreams();

    const posix_spawn_file_actions_t* get() const { return &actions_; }

private:
    posix_spawn_file_actions_t actions_{};
};

// No signal blocked or ignored, whatever is the case here.
class SpawnAttributes {
public:
    // `flags` of posix_spawnattr_setflags, besides those for the signals.
    explicit SpawnAttributes(short flags = 0);
    ~SpawnAttributes();
    SpawnAttributes(const SpawnAttributes&) = delete;
    SpawnAttributes& operator=(const SpawnAttributes&) = delete;

    const posix_spawnattr_t* get() const { return &attributes_; }

private:
    posix_spawnattr_t attributes_{};
};

// The process's handle, a pidfd; empty when it cannot be had, errno then says why.
FileDescriptor openProcess(pid_t process);

// A child's process and its handle.
struct SpawnedProcess {
    pid_t process = 0;
    FileDescriptor handle;
};

// What `start` starts, which returns the process, or 0 and why there is none. Its handle's place is kept
// before, above the numbers of the standard streams; when another thread takes it in that very moment the
// child is killed and collected. Without a handle `error` says why.
SpawnedProcess spawnWithHandle(const std::function<pid_t(std::error_code& error)>& start,
                               std::error_code& error);

// Pointers into `texts`, with a null at the end.
std::vector<char*> spawnPointers(const std::vector<std::string>& texts);

} // namespace platform
