#pragma once

#include "PropertyListSerialization.h"

#include <memory>
#include <plist/plist.h>
#include <string>
#include <string_view>

namespace platform {

struct PlistDeleter {
    void operator()(plist_t node) const { plist_free(node); }
};

// A property list as libplist holds it, with everything below it.
using PlistNode = std::unique_ptr<void, PlistDeleter>;

// Null when libplist refuses the bytes. They have passed the check of their format, or are our own.
PlistNode plistFromXml(std::string_view document);
PlistNode plistFromBinary(std::string_view file);

// Empty when libplist fails.
std::string xmlFromPlist(plist_t node);
std::string binaryFromPlist(plist_t node);

// `node` is no deeper than the reader's limit.
PropertyList listFromPlist(plist_t node);

// For writing in `format`. Throws `Exception` ("NSInvalidArgumentException") for what libplist or the
// reader would not take: too deep, too many values, too large, text that is not UTF-8 or has a zero byte,
// a date that is no number or that the format cannot tell, a reference beyond 2^32-1.
PlistNode plistFromList(const PropertyList& list, PropertyListFormat format);

} // namespace platform
