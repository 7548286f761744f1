#pragma once

#include "PropertyList.h"

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace platform {

enum class PropertyListFormat { Xml, Binary };

// What the reader accepts; anything beyond counts as damaged. The bytes are those of the file and, once
// more, of all texts and data in it: a binary file may refer to one of them many times. Keys are no nodes.
constexpr std::size_t kPropertyListMaximumBytes = std::size_t{4} << 20;
constexpr std::size_t kPropertyListMaximumNodes = 200'000;
constexpr std::size_t kPropertyListMaximumDepth = 512;

// What is written at most in binary form, keys counted: values chosen for it make writing slow.
constexpr std::size_t kPropertyListMaximumWrittenNodes = 10'000;

// Reads an XML or binary property list. Absent when the bytes are no property list, are damaged (a
// number, date or base64 text that is none, text that is not UTF-8, a missing root element, XML that is
// not well-formed or defines entities, a zero byte in a text), or go beyond the limits above. Time and
// memory are bounded whatever the bytes say. A UTF-8 byte-order mark is passed over. Any thread.
std::optional<PropertyList> parsePropertyList(std::string_view bytes);

// The list as a file's bytes. Throws `Exception` ("NSInvalidArgumentException") for a list beyond the
// limits above, so that nothing is written that could not be read back, and for what the format cannot
// tell: text that is not UTF-8 or has a zero byte, object references beyond 2^32-1, dates that are no
// number, and in XML control characters and dates outside the years 0 to 9999. XML keeps dates to the
// second; binary keeps their fractions.
std::string serializePropertyList(const PropertyList& list, PropertyListFormat format);

// The dictionary in the file at `path`. Absent when the file is missing, unreadable, no regular file,
// larger than the limit, damaged, or holds something else than a dictionary.
std::optional<PropertyList::Dictionary> dictionaryWithContentsOfFile(const std::string& path);

} // namespace platform
