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

// Null when libplist refuses the bytes. XML is plain (PlainXmlPropertyList.h), a binary file checked.
PlistNode plistFromBytes(std::string_view bytes, PropertyListFormat format);

// Empty when libplist fails.
std::string bytesFromPlist(plist_t node, PropertyListFormat format);

// What `plistFromBytes` read in `format`.
PropertyList listFromPlist(plist_t node, PropertyListFormat format);

// For writing in binary form. Throws `Exception` ("NSInvalidArgumentException") for what libplist would not
// write as it is, or not in bounded time.
PlistNode plistFromList(const PropertyList& list);

} // namespace platform
