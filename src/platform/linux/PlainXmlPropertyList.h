#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace platform {

// The same property list in the few forms that libplist reads without guessing and without delay: no
// declarations, attributes, comments or references, every scalar spelt one way, and each dictionary as a
// dictionary whose only entry, under the empty key, is the array of its keys and values in turn. (libplist
// compares the keys of a dictionary with each other, which takes minutes when they are chosen for it.)
//
// Absent when `document` is not well-formed XML in UTF-8, brings entities along, is no property list, or
// goes beyond the reader's limits of depth and values. Time and memory grow with the text alone.
std::optional<std::string> plainXmlPropertyList(std::string_view document);

} // namespace platform
