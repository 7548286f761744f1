#include "PropertyListSerialization.h"

#include "BinaryPropertyListCheck.h"
#include "Exception.h"
#include "Platform.h"
#include "PlistNode.h"
#include "Text.h"
#include "XmlPropertyListCheck.h"

namespace platform {

namespace {

// libplist sees only what has passed the check.
PlistNode checkedPlist(std::string_view bytes) {
    constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
    if (bytes.size() > kPropertyListMaximumBytes) {
        return nullptr;
    }
    if (bytes.starts_with("bplist")) {
        return BinaryPropertyListCheck(bytes).accepts() ? plistFromBinary(bytes) : nullptr;
    }
    if (bytes.starts_with(kByteOrderMark)) {
        bytes.remove_prefix(kByteOrderMark.size());
    }
    if (bytes.find('\0') != bytes.npos || !isValidUtf8(bytes) || !XmlPropertyListCheck(bytes).accepts()) {
        return nullptr;
    }
    return plistFromXml(bytes);
}

} // namespace

std::optional<PropertyList> parsePropertyList(std::string_view bytes) {
    auto node = checkedPlist(bytes);
    return node ? std::optional(listFromPlist(node.get())) : std::nullopt;
}

std::string serializePropertyList(const PropertyList& list, PropertyListFormat format) {
    auto node = plistFromList(list, format);
    auto bytes = format == PropertyListFormat::Xml ? xmlFromPlist(node.get()) : binaryFromPlist(node.get());
    bool isReadable = bytes.size() <= kPropertyListMaximumBytes &&
                      (format == PropertyListFormat::Xml ? XmlPropertyListCheck(bytes).accepts()
                                                         : BinaryPropertyListCheck(bytes).accepts());
    if (!isReadable) {
        throw Exception("NSInvalidArgumentException", "The property list is too large for one file");
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
