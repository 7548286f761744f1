#include "FolderLock.h"

#include "Exception.h"

#include <chrono>
#include <fcntl.h>
#include <sys/file.h>
#include <thread>

namespace platform {

FolderLock::FolderLock(const std::string& folder)
    : descriptor_(retrying([&] { return ::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC); })) {
    using namespace std::chrono_literals;
    if (!descriptor_) {
        throw Exception("NSFileHandleOperationException", lastError().message());
    }
    // No call waits for this lock with a time limit, so it is asked for again: often, because whoever
    // writes value after value leaves it free for moments only.
    constexpr auto kPause = 250us;
    const auto deadline = std::chrono::steady_clock::now() + 2s;
    while (::flock(descriptor_.get(), LOCK_EX | LOCK_NB) != 0) {
        if (errno != EWOULDBLOCK && errno != EINTR) {
            throw Exception("NSFileHandleOperationException", lastError().message());
        }
        if (std::chrono::steady_clock::now() >= deadline) {
            throw Exception("NSFileHandleOperationException", "another program keeps the folder locked");
        }
        std::this_thread::sleep_for(kPause);
    }
}

} // namespace platform
