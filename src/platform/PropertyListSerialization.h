#pragma once

#include "PropertyList.h"

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace platform {

enum class PropertyListFormat { Xml, Binary };

// What the reader accepts; anything beyond counts as damaged. The bytes are those of the file and, once
// more, of all texts and data in it: a binary file may refer to one of them many times. XML has a bound
// on keys and references besides: about 10,000 keys in one dictionary, 35,000 references in one text.
constexpr std::size_t kPropertyListMaximumBytes = std::size_t{4} << 20;
constexpr std::size_t kPropertyListMaximumNodes = 200'000;
constexpr std::size_t kPropertyListMaximumDepth = 512;

// Reads an XML or binary property list. Absent when the bytes are no property list, are damaged (a
// number, date or base64 text that is none, text that is not UTF-8 or has a zero byte, a missing root
// element), or go beyond the limits above. Time and memory are bounded whatever the bytes say. A UTF-8
// byte-order mark is passed over. References stand in XML texts and keys only; a decimal number does not
// start with a zero. Any thread.
std::optional<PropertyList> parsePropertyList(std::string_view bytes);

// The list as a file's bytes. A list deeper or larger than the reader's limits throws `Exception`
// ("NSInvalidArgumentException"), so that nothing is written that could not be read back; so do text
// that is not UTF-8 or has a zero byte, object references beyond 2^32-1, dates that are no number, and
// in XML dates outside the years 0 to 9999. XML keeps dates to the second and takes -0.0 for 0.0; binary
// keeps both.
std::string serializePropertyList(const PropertyList& list, PropertyListFormat format);

// The dictionary in the file at `path`. Absent when the file is missing, unreadable, no regular file,
// larger than the limit, damaged, or holds something else than a dictionary.
std::optional<PropertyList::Dictionary> dictionaryWithContentsOfFile(const std::string& path);

} // namespace platform
