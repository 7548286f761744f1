#pragma once

#include "FileDescriptor.h"
#include "FileManager.h"

namespace platform {

// Opens `path` relative to `folder` (AT_FDCWD: as it stands) and reads it as `FileManager::contents`
// promises: pipes and devices are opened without waiting and then refused.
FileContents readFileAt(int folder, const char* path, std::size_t limit);

} // namespace platform
