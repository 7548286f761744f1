#pragma once

#include "FileDescriptor.h"

#include <string>

namespace platform {

// Sole writer of a folder's files, among the threads and processes that ask for this lock. The lock is
// the folder's own (`flock`): no lock file is left behind, and it ends with the process at the latest.
class FolderLock {
public:
    // Waits for at most two seconds. Throws `Exception` ("NSFileHandleOperationException") when the
    // folder cannot be opened or somebody keeps it locked for longer.
    explicit FolderLock(const std::string& folder);

private:
    FileDescriptor descriptor_;
};

} // namespace platform
