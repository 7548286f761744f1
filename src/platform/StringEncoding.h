#pragma once

#include <optional>
#include <string>

namespace platform {

// The first platform's numbers for how text is written in bytes. Any other number is one that no text can be
// read in.
enum class StringEncoding : int {
    Ascii = 1,
    Utf8 = 4,
    IsoLatin1 = 5,
    Utf16 = 10, // byte order as its mark says; big-endian without one
};

// The bytes as UTF-8 text; absent when they are no text in that encoding. A byte-order mark of UTF-16 is no
// part of the text, one of UTF-8 is. Any thread.
std::optional<std::string> decoded(std::string bytes, StringEncoding encoding);

} // namespace platform
