#pragma once

#include <string>
#include <string_view>

namespace platform {

// Writes a file in the place of one that could not be read, which is kept as `<path>.damaged-<time>`, and
// tells the console. Throws `Exception` when that is impossible; the file is where it was then. Any thread.
void replaceDamagedFile(const std::string& path, std::string_view bytes);

} // namespace platform
