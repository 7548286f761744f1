#include "BinaryPropertyListCheck.h"

#include "PropertyListSerialization.h"
#include "Text.h"

#include <bit>
#include <cmath>
#include <cstdint>
#include <optional>
#include <string>
#include <unicode/ustring.h>

namespace platform {

namespace {

constexpr std::size_t kMagicSize = 8;
constexpr std::size_t kTrailerSize = 32;

// The marker's high half.
enum class Kind : std::uint8_t {
    Boolean = 0x0,
    Integer = 0x1,
    Real = 0x2,
    Date = 0x3,
    Data = 0x4,
    Ascii = 0x5,
    Utf16 = 0x6,
    Uid = 0x8,
    Array = 0xA,
    Dictionary = 0xD,
};

std::uint64_t bigEndian(std::string_view bytes) {
    std::uint64_t value = 0;
    for (char byte : bytes) {
        value = value << 8 | static_cast<unsigned char>(byte);
    }
    return value;
}

// libplist ends a text at a zero byte.
bool isAsciiText(std::string_view body) {
    return isValidUtf8(body) && body.find('\0') == body.npos; // some writers put UTF-8 here
}

// libplist leaves a lone surrogate out.
bool isUtf16Text(std::string_view body) {
    std::u16string units;
    for (std::size_t i = 0; i < body.size(); i += 2) {
        units += static_cast<char16_t>(bigEndian(body.substr(i, 2)));
    }
    int32_t length = 0;
    UErrorCode status = U_ZERO_ERROR;
    u_strToUTF8(nullptr, 0, &length, units.data(), static_cast<int32_t>(units.size()), &status);
    return status != U_INVALID_CHAR_FOUND && units.find(u'\0') == units.npos;
}

class ObjectWalk {
public:
    explicit ObjectWalk(std::string_view file) : file_(file) {}

    bool reachesTheEnd() {
        if (file_.size() < kMagicSize + kTrailerSize) {
            return false;
        }
        auto trailer = file_.substr(file_.size() - kTrailerSize);
        offsetSize_ = bigEndian(trailer.substr(6, 1));
        referenceSize_ = bigEndian(trailer.substr(7, 1));
        objectCount_ = bigEndian(trailer.substr(8, 8));
        tableStart_ = bigEndian(trailer.substr(24, 8));
        auto tableEnd = file_.size() - kTrailerSize;
        return offsetSize_ >= 1 && offsetSize_ <= 8 && referenceSize_ >= 1 && referenceSize_ <= 8 &&
               tableStart_ <= tableEnd && objectCount_ <= (tableEnd - tableStart_) / offsetSize_ &&
               visit(bigEndian(trailer.substr(16, 8)), 1, false);
    }

private:
    struct Object {
        Kind kind;
        std::uint64_t count;   // elements, for what has any
        std::string_view body; // the bytes behind marker and count
    };

    std::optional<Object> objectAt(std::uint64_t index) const {
        auto offset = bigEndian(file_.substr(tableStart_ + index * offsetSize_, offsetSize_));
        if (offset < kMagicSize || offset >= tableStart_) {
            return std::nullopt;
        }
        auto rest = file_.substr(offset, tableStart_ - offset);
        auto marker = static_cast<unsigned char>(rest.front());
        rest.remove_prefix(1);
        Object object{.kind = static_cast<Kind>(marker >> 4), .count = marker & 0x0FU, .body = {}};
        std::uint64_t unit = 1; // bytes per element
        switch (object.kind) {
        case Kind::Boolean:
            return object; // its value is in the marker
        case Kind::Integer:
        case Kind::Real:
        case Kind::Date:
            object.count = std::uint64_t{1} << object.count;
            break;
        case Kind::Uid:
            ++object.count;
            break;
        default:
            unit = object.kind == Kind::Utf16        ? 2
                   : object.kind == Kind::Array      ? referenceSize_
                   : object.kind == Kind::Dictionary ? 2 * referenceSize_
                                                     : 1;
            if (object.count == 0x0F) { // the count is an integer object of its own
                auto sizeMarker = rest.empty() ? 0U : static_cast<unsigned char>(rest.front());
                std::size_t size = std::size_t{1} << (sizeMarker & 0x0F);
                if (size > 8 || size >= rest.size()) {
                    return std::nullopt;
                }
                object.count = bigEndian(rest.substr(1, size));
                rest.remove_prefix(1 + size);
            }
        }
        if (object.count > rest.size() / unit) {
            return std::nullopt;
        }
        object.body = rest.substr(0, object.count * unit);
        return object;
    }

    bool visit(std::uint64_t index, std::size_t depth, bool isKey) {
        nodes_ += isKey ? 0 : 1;
        if (index >= objectCount_ || depth > kPropertyListMaximumDepth ||
            nodes_ > kPropertyListMaximumNodes) {
            return false;
        }
        auto object = objectAt(index);
        if (!object || (isKey && object->kind != Kind::Ascii && object->kind != Kind::Utf16)) {
            return false;
        }
        switch (object->kind) {
        case Kind::Boolean:
        case Kind::Real:
            return true;
        case Kind::Uid:
            return object->body.size() <= 8; // as libplist
        case Kind::Integer:                  // libplist looks at the lower half of 16 bytes only
            return object->body.size() <= 8 || bigEndian(object->body.substr(0, 8)) == 0;
        case Kind::Date:
            return std::isfinite(std::bit_cast<double>(bigEndian(object->body)));
        case Kind::Data:
            return count(object->body);
        case Kind::Ascii:
            return count(object->body) && isAsciiText(object->body);
        case Kind::Utf16:
            return count(object->body) && isUtf16Text(object->body);
        case Kind::Array:
            return visitReferences(object->body, 0, depth);
        case Kind::Dictionary:
            return visitReferences(object->body, object->count, depth);
        }
        return false;
    }

    bool visitReferences(std::string_view references, std::uint64_t keys, std::size_t depth) {
        for (std::uint64_t i = 0; i * referenceSize_ < references.size(); ++i) {
            auto index = bigEndian(references.substr(i * referenceSize_, referenceSize_));
            if (!visit(index, depth + 1, i < keys)) {
                return false;
            }
        }
        return true;
    }

    bool count(std::string_view body) {
        bytes_ += body.size();
        return bytes_ <= kPropertyListMaximumBytes;
    }

    std::string_view file_;
    std::uint64_t offsetSize_ = 0;
    std::uint64_t referenceSize_ = 0;
    std::uint64_t objectCount_ = 0;
    std::uint64_t tableStart_ = 0;
    std::size_t nodes_ = 0; // keys not counted
    std::size_t bytes_ = 0; // of texts and data
};

} // namespace

bool isReadableBinaryPropertyList(std::string_view file) {
    return ObjectWalk(file).reachesTheEnd();
}

} // namespace platform
