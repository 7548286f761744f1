#pragma once

#include <string>

namespace platform {

// Moves a file that could not be read out of the way of the one that is to replace it, to
// `<path>.damaged-<time>`, and tells the console. Throws `Exception` when it cannot be moved. Any thread.
void keepDamagedFile(const std::string& path);

} // namespace platform
