#include "BinaryPropertyListReader.h"

#include "PropertyListSerialization.h"
#include "Text.h"

#include <bit>
#include <cmath>
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

double realFrom(std::string_view body) {
    auto bits = bigEndian(body);
    return body.size() == sizeof(float) ? std::bit_cast<float>(static_cast<std::uint32_t>(bits))
                                        : std::bit_cast<double>(bits);
}

// 16 bytes are how unsigned values beyond 2^63-1 are written: the upper half only extends the sign.
bool isInteger(std::string_view body) {
    if (body.size() <= 8) {
        return true;
    }
    auto upper = bigEndian(body.substr(0, 8));
    bool isNegative = bigEndian(body.substr(8)) >> 63 != 0;
    return upper == 0 || (upper == ~std::uint64_t{0} && isNegative);
}

// Absent when a surrogate stands alone.
std::optional<std::string> textFromUtf16(std::string_view body) {
    std::u16string units(body.size() / 2, u'\0');
    for (std::size_t i = 0; i < units.size(); ++i) {
        units[i] = static_cast<char16_t>(bigEndian(body.substr(2 * i, 2)));
    }
    std::string text(units.size() * 3, '\0'); // at most three bytes a unit
    int32_t length = 0;
    UErrorCode status = U_ZERO_ERROR;
    u_strToUTF8(text.data(), static_cast<int32_t>(text.size()), &length, units.data(),
                static_cast<int32_t>(units.size()), &status);
    if (U_FAILURE(status)) {
        return std::nullopt;
    }
    text.resize(static_cast<std::size_t>(length));
    return text;
}

} // namespace

std::optional<PropertyList> BinaryPropertyListReader::read() {
    if (!readTrailer() || !measure(rootIndex_, 1)) {
        return std::nullopt;
    }
    return build(rootIndex_);
}

bool BinaryPropertyListReader::readTrailer() {
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

std::optional<BinaryPropertyListReader::Object>
BinaryPropertyListReader::objectAt(std::uint64_t index) const {
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

std::uint64_t BinaryPropertyListReader::reference(const Object& object, std::uint64_t position) const {
    return bigEndian(object.body.substr(position * referenceSize_, referenceSize_));
}

bool BinaryPropertyListReader::measure(std::uint64_t index, std::size_t depth) {
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

bool BinaryPropertyListReader::measureScalar(const Object& object, Extent& extent) const {
    switch (object.kind) {
    case Kind::Integer:
        return isInteger(object.body);
    case Kind::Date:
        return std::isfinite(realFrom(object.body));
    case Kind::Data:
        extent.bytes = static_cast<std::uint32_t>(object.body.size());
        return true;
    case Kind::Ascii:
        // Some writers put UTF-8 here.
        extent.isText = true;
        extent.bytes = static_cast<std::uint32_t>(object.body.size());
        return isValidUtf8(object.body);
    case Kind::Utf16: {
        auto text = textFromUtf16(object.body);
        extent.isText = true;
        extent.bytes = static_cast<std::uint32_t>(text ? text->size() : 0);
        return text.has_value();
    }
    default:
        return true;
    }
}

bool BinaryPropertyListReader::measureReferences(const Object& object, std::size_t depth, Extent& extent) {
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

PropertyList BinaryPropertyListReader::build(std::uint64_t index) const {
    const auto object = *objectAt(index);
    switch (object.kind) {
    case Kind::Integer:
        return buildInteger(object.body);
    case Kind::Real:
        return realFrom(object.body);
    case Kind::Date:
        return PropertyList::Date{realFrom(object.body)};
    case Kind::Data:
        return PropertyList::Data{std::string(object.body)};
    case Kind::Ascii:
        return std::string(object.body);
    case Kind::Utf16:
        return *textFromUtf16(object.body);
    case Kind::Uid:
        return PropertyList::Uid{bigEndian(object.body)};
    case Kind::Array: {
        PropertyList::Array array;
        array.reserve(object.count);
        for (std::uint64_t i = 0; i < object.count; ++i) {
            array.push_back(build(reference(object, i)));
        }
        return array;
    }
    case Kind::Dictionary: {
        PropertyList::Dictionary dictionary;
        for (std::uint64_t i = 0; i < object.count; ++i) {
            dictionary.insert_or_assign(std::get<std::string>(build(reference(object, i)).takeValue()),
                                        build(reference(object, object.count + i)));
        }
        return dictionary;
    }
    case Kind::Boolean:
        break;
    }
    return object.detail == 9;
}

// Up to four bytes hold no sign, eight and sixteen do.
PropertyList BinaryPropertyListReader::buildInteger(std::string_view body) {
    auto value = bigEndian(body.substr(body.size() > 8 ? body.size() - 8 : 0));
    bool isUnsigned = body.size() == 16 && body.front() == '\0';
    if (isUnsigned && value >> 63 != 0) {
        return value;
    }
    return static_cast<std::int64_t>(value);
}

} // namespace platform
