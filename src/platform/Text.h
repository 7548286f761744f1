#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace platform {

// Text is UTF-8. Bytes that are not UTF-8 never make a call fail: each broken-off sequence, and each byte
// that can start none, counts as one character. Mapping to another case keeps them as they are.
// No function here depends on the locale. Any thread.

bool isValidUtf8(std::string_view text);

bool isAscii(std::string_view text);

// Bytes of the character at the start; 0 when the text is empty or starts with bytes that are no UTF-8.
std::size_t lengthOfFirstCharacter(std::string_view text);

// Bytes of the character at the end, or of what counts as one there; 0 only when the text is empty.
std::size_t lengthOfLastCharacter(std::string_view text);

// Full Unicode lower case, and upper case: "ß" becomes "SS".
std::string lowercase(std::string_view text);
std::string uppercase(std::string_view text);

// The same key for two texts exactly when they are canonical caseless matches (Unicode, D145). Keys
// compare byte by byte, which is code-point order of the folded texts. A replacement character stands for
// what is not UTF-8.
std::string caseInsensitiveKey(std::string_view text);

// The text with full Unicode case folding. Folders are listed by the folded names, ties by the names.
std::string caseFolded(std::string_view text);

// Length in UTF-16 code units.
std::size_t utf16Length(std::string_view text);

// The text without white space and line breaks (general category Z, U+0009 to U+000D, U+0085) at both
// ends. A view into `text`.
std::string_view trimmed(std::string_view text);

// The text on one line, fit for a terminal: control characters (C0, DEL, C1) and bytes that are no UTF-8
// are shown as escapes such as \n and \x1b.
std::string withoutControlCharacters(std::string_view text);

} // namespace platform
