#include "BinaryPropertyListCheck.h"

#include "PropertyListSerialization.h"
#include "Text.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <limits>
#include <string>
#include <unicode/ustring.h>

namespace platform {

namespace {

constexpr std::string_view kMagic = "bplist00";
constexpr std::size_t kTrailerSize = 32;

std::uint64_t bigEndian(std::string_view bytes) {
    std::uint64_t value = 0;
    for (char byte : bytes) {
        value = value << 8 | static_cast<unsigned char>(byte);
    }
    return value;
}

// 16 bytes are how unsigned values beyond 2^63-1 are written; libplist looks at the lower half only.
bool isInteger(std::string_view body) {
    return body.size() <= 8 || bigEndian(body.substr(0, 8)) == 0;
}

// In UTF-8. Absent when a surrogate stands alone or a zero ends the text early.
std::optional<std::size_t> lengthOfUtf16(std::string_view body) {
    std::u16string units(body.size() / 2, u'\0');
    for (std::size_t i = 0; i < units.size(); ++i) {
        units[i] = static_cast<char16_t>(bigEndian(body.substr(2 * i, 2)));
    }
    int32_t length = 0;
    UErrorCode status = U_ZERO_ERROR;
    u_strToUTF8(nullptr, 0, &length, units.data(), static_cast<int32_t>(units.size()), &status);
    if (status == U_INVALID_CHAR_FOUND || units.find(u'\0') != units.npos) {
        return std::nullopt;
    }
    return static_cast<std::size_t>(length);
}

} // namespace

bool BinaryPropertyListCheck::accepts() {
    return readTrailer() && measure(rootIndex_, 1);
}

bool BinaryPropertyListCheck::readTrailer() {
    if (file_.size() < kMagic.size() + kTrailerSize || !file_.starts_with(kMagic)) {
        return false;
    }
    auto trailerStart = file_.size() - kTrailerSize;
    auto trailer = file_.substr(trailerStart);
    offsetSize_ = bigEndian(trailer.substr(6, 1));
    referenceSize_ = bigEndian(trailer.substr(7, 1));
    auto objectCount = bigEndian(trailer.substr(8, 8));
    rootIndex_ = bigEndian(trailer.substr(16, 8));
    tableStart_ = bigEndian(trailer.substr(24, 8));
    if (offsetSize_ < 1 || offsetSize_ > 8 || referenceSize_ < 1 || referenceSize_ > 8) {
        return false;
    }
    if (tableStart_ <= kMagic.size() || tableStart_ > trailerStart ||
        objectCount > (trailerStart - tableStart_) / offsetSize_) {
        return false;
    }
    // Every value has at most one key, so a sound table holds no more objects than this.
    if (objectCount > 2 * kPropertyListMaximumNodes) {
        return false;
    }
    extents_.resize(objectCount);
    return true;
}

std::optional<BinaryPropertyListCheck::Object> BinaryPropertyListCheck::objectAt(std::uint64_t index) const {
    auto offset = bigEndian(file_.substr(tableStart_ + index * offsetSize_, offsetSize_));
    if (offset < kMagic.size() || offset >= tableStart_) {
        return std::nullopt;
    }
    auto rest = file_.substr(offset, tableStart_ - offset);
    auto marker = static_cast<unsigned char>(rest.front());
    rest.remove_prefix(1);
    Object object{.kind = static_cast<Kind>(marker >> 4),
                  .detail = static_cast<std::uint8_t>(marker & 0x0F),
                  .count = 0,
                  .body = {}};
    std::size_t unit = 1; // bytes per element
    switch (object.kind) {
    case Kind::Boolean:
        return object.detail == 8 || object.detail == 9 ? std::optional(object) : std::nullopt;
    case Kind::Integer:
    case Kind::Real:
    case Kind::Date:
    case Kind::Uid: {
        bool isUid = object.kind == Kind::Uid;
        std::size_t size = isUid ? object.detail + std::size_t{1} : std::size_t{1} << object.detail;
        bool isAllowed = object.kind == Kind::Integer ? size <= 16
                         : object.kind == Kind::Real  ? size == 4 || size == 8
                         : object.kind == Kind::Date  ? size == 8
                                                      : size <= 8;
        if (!isAllowed || size > rest.size()) {
            return std::nullopt;
        }
        object.body = rest.substr(0, size);
        return object;
    }
    case Kind::Data:
    case Kind::Ascii:
        break;
    case Kind::Utf16:
        unit = 2;
        break;
    case Kind::Array:
        unit = referenceSize_;
        break;
    case Kind::Dictionary:
        unit = 2 * referenceSize_;
        break;
    default:
        return std::nullopt;
    }
    object.count = object.detail;
    if (object.detail == 0x0F) { // the count is an integer object of its own
        auto sizeMarker = rest.empty() ? 0U : static_cast<unsigned char>(rest.front());
        std::size_t size = std::size_t{1} << (sizeMarker & 0x0F);
        if (sizeMarker >> 4 != static_cast<unsigned>(Kind::Integer) || size > 8 || size >= rest.size()) {
            return std::nullopt;
        }
        object.count = bigEndian(rest.substr(1, size));
        rest.remove_prefix(1 + size);
    }
    if (object.count > rest.size() / unit) {
        return std::nullopt;
    }
    object.body = rest.substr(0, object.count * unit);
    return object;
}

std::uint64_t BinaryPropertyListCheck::reference(const Object& object, std::uint64_t position) const {
    return bigEndian(object.body.substr(position * referenceSize_, referenceSize_));
}

bool BinaryPropertyListCheck::measure(std::uint64_t index, std::size_t depth) {
    if (index >= extents_.size()) {
        return false;
    }
    Extent& extent = extents_[index];
    if (extent.state == Extent::State::Known) {
        return depth + extent.height - 1 <= kPropertyListMaximumDepth;
    }
    if (extent.state == Extent::State::Measuring || depth > kPropertyListMaximumDepth) {
        return false; // it contains itself, or lies too deep
    }
    extent.state = Extent::State::Measuring;
    auto object = objectAt(index);
    if (!object) {
        return false;
    }
    bool isContainer = object->kind == Kind::Array || object->kind == Kind::Dictionary;
    if (!(isContainer ? measureReferences(*object, depth, extent) : measureScalar(*object, extent))) {
        return false;
    }
    extent.state = Extent::State::Known;
    return true;
}

bool BinaryPropertyListCheck::measureScalar(const Object& object, Extent& extent) const {
    switch (object.kind) {
    case Kind::Integer:
        return isInteger(object.body);
    case Kind::Date:
        return std::isfinite(std::bit_cast<double>(bigEndian(object.body)));
    case Kind::Uid:
        return bigEndian(object.body) <= std::numeric_limits<std::uint32_t>::max(); // as libplist keeps it
    case Kind::Data:
        extent.bytes = static_cast<std::uint32_t>(object.body.size());
        return true;
    case Kind::Ascii:
        // Some writers put UTF-8 here.
        extent.isText = true;
        extent.bytes = static_cast<std::uint32_t>(object.body.size());
        return isValidUtf8(object.body) && object.body.find('\0') == object.body.npos;
    case Kind::Utf16: {
        auto length = lengthOfUtf16(object.body);
        extent.isText = true;
        extent.bytes = static_cast<std::uint32_t>(length.value_or(0));
        return length.has_value();
    }
    default:
        return true;
    }
}

bool BinaryPropertyListCheck::measureReferences(const Object& object, std::size_t depth, Extent& extent) {
    std::uint64_t keyCount = object.kind == Kind::Dictionary ? object.count : 0;
    std::uint64_t nodes = 1;
    std::uint64_t bytes = 0;
    for (std::uint64_t i = 0; i < keyCount + object.count; ++i) {
        auto index = reference(object, i);
        if (!measure(index, depth + 1)) {
            return false;
        }
        const Extent& child = extents_[index];
        if (i < keyCount && !child.isText) {
            return false;
        }
        nodes += i < keyCount ? 0 : child.nodes;
        bytes += child.bytes;
        if (nodes > kPropertyListMaximumNodes || bytes > kPropertyListMaximumBytes) {
            return false;
        }
        extent.height = std::max(extent.height, static_cast<std::uint16_t>(child.height + 1));
    }
    extent.nodes = static_cast<std::uint32_t>(nodes);
    extent.bytes = static_cast<std::uint32_t>(bytes);
    return true;
}

} // namespace platform
