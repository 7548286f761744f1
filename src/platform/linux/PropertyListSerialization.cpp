#include "PropertyListSerialization.h"

#include "BinaryPropertyListCheck.h"
#include "Exception.h"
#include "PlainXmlPropertyList.h"
#include "Platform.h"
#include "PlistNode.h"
#include "XmlPropertyListWriter.h"

namespace platform {

namespace {

bool isBinary(std::string_view bytes) {
    return bytes.starts_with("bplist");
}

// What libplist is given to read; absent when that would not be safe.
std::optional<std::string> checked(std::string_view bytes) {
    if (bytes.size() > kPropertyListMaximumBytes) {
        return std::nullopt;
    }
    if (isBinary(bytes)) {
        return isReadableBinaryPropertyList(bytes) ? std::optional<std::string>(bytes) : std::nullopt;
    }
    // XML has no zero bytes, but its parser takes UTF-16 for what it is.
    return bytes.find('\0') == bytes.npos ? plainXmlPropertyList(bytes) : std::nullopt;
}

} // namespace

std::optional<PropertyList> parsePropertyList(std::string_view bytes) {
    auto format = isBinary(bytes) ? PropertyListFormat::Binary : PropertyListFormat::Xml;
    auto safe = checked(bytes);
    auto node = safe ? plistFromBytes(*safe, format) : nullptr;
    return node ? std::optional(listFromPlist(node.get(), format)) : std::nullopt;
}

std::string serializePropertyList(const PropertyList& list, PropertyListFormat format) {
    auto bytes = format == PropertyListFormat::Xml ? xmlFromList(list)
                                                   : bytesFromPlist(plistFromList(list).get(), format);
    if (!checked(bytes)) {
        throw Exception("NSInvalidArgumentException",
                        "The property list is too large for one file, or holds characters unknown to XML");
    }
    return bytes;
}

std::optional<PropertyList::Dictionary> dictionaryWithContentsOfFile(const std::string& path) {
    auto contents = current().fileManager->contents(path, kPropertyListMaximumBytes);
    if (!contents.bytes) {
        return std::nullopt;
    }
    auto list = parsePropertyList(*contents.bytes);
    if (!list || !list->dictionary()) {
        return std::nullopt;
    }
    return std::get<PropertyList::Dictionary>(std::move(*list).takeValue());
}

} // namespace platform
