#pragma once

#include <string_view>

namespace platform {

// Whether libplist may read `file`, a binary property list: it makes a value of an object for every
// reference to it, so that a small file can stand for a huge list, and it passes over what is wrong in
// texts and numbers. Walks the objects as libplist will and stops at the reader's limits. Within them
// what libplist itself refuses may pass.
bool isReadableBinaryPropertyList(std::string_view file);

} // namespace platform
