#include "StringEncoding.h"

#include "Text.h"

#include <algorithm>
#include <string_view>
#include <unicode/utf16.h>
#include <utility>

namespace platform {

namespace {

unsigned char byteAt(std::string_view bytes, std::size_t index) {
    return static_cast<unsigned char>(bytes[index]);
}

void append(std::string& text, char32_t character) {
    const auto bits = [character](int shift) {
        return static_cast<char>(0x80 | (character >> shift & 0x3F));
    };
    if (character < 0x80) {
        text += static_cast<char>(character);
    } else if (character < 0x800) {
        text += static_cast<char>(0xC0 | character >> 6);
        text += bits(0);
    } else if (character < 0x10000) {
        text += static_cast<char>(0xE0 | character >> 12);
        text += bits(6);
        text += bits(0);
    } else {
        text += static_cast<char>(0xF0 | character >> 18);
        text += bits(12);
        text += bits(6);
        text += bits(0);
    }
}

std::string fromLatin1(std::string_view bytes) {
    std::string text;
    for (char byte : bytes) {
        append(text, static_cast<unsigned char>(byte));
    }
    return text;
}

std::optional<std::string> fromUtf16(std::string_view bytes) {
    if (bytes.size() % 2 != 0) {
        return std::nullopt;
    }
    const bool isLittleEndian = bytes.starts_with("\xFF\xFE");
    if (isLittleEndian || bytes.starts_with("\xFE\xFF")) {
        bytes.remove_prefix(2);
    }
    const auto unitAt = [&](std::size_t index) {
        const auto first = byteAt(bytes, index);
        const auto second = byteAt(bytes, index + 1);
        return static_cast<char16_t>(isLittleEndian ? second << 8 | first : first << 8 | second);
    };
    std::string text;
    for (std::size_t index = 0; index < bytes.size(); index += 2) {
        const char16_t unit = unitAt(index);
        if (!U16_IS_SURROGATE(unit)) {
            append(text, unit);
            continue;
        }
        index += 2;
        if (!U16_IS_SURROGATE_LEAD(unit) || index == bytes.size() || !U16_IS_TRAIL(unitAt(index))) {
            return std::nullopt;
        }
        append(text, static_cast<char32_t>(U16_GET_SUPPLEMENTARY(unit, unitAt(index))));
    }
    return text;
}

} // namespace

std::optional<std::string> decoded(std::string bytes, StringEncoding encoding) {
    switch (encoding) {
    case StringEncoding::Ascii:
        return isAscii(bytes) ? std::optional(std::move(bytes)) : std::nullopt;
    case StringEncoding::Utf8:
        return isValidUtf8(bytes) ? std::optional(std::move(bytes)) : std::nullopt;
    case StringEncoding::IsoLatin1:
        return fromLatin1(bytes);
    case StringEncoding::Utf16:
        return fromUtf16(bytes);
    }
    return std::nullopt;
}

} // namespace platform
