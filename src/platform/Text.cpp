#include "Text.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <unicode/ucasemap.h>
#include <unicode/uchar.h>
#include <unicode/unorm2.h>
#include <unicode/ustring.h>
#include <unicode/utf8.h>

namespace platform {

namespace {

char asciiLower(char character) {
    return character >= 'A' && character <= 'Z' ? static_cast<char>(character - 'A' + 'a') : character;
}

std::string asciiLowercase(std::string_view text) {
    std::string lower(text);
    for (char& character : lower) {
        character = asciiLower(character);
    }
    return lower;
}

// The library's case maps hold no state that a call changes, so one serves every thread.
const UCaseMap* rootCaseMap() {
    static const UCaseMap* const map = [] {
        UErrorCode status = U_ZERO_ERROR;
        return ucasemap_open("", U_FOLD_CASE_DEFAULT, &status);
    }();
    return map;
}

using CaseFunction = int32_t (*)(const UCaseMap*, char*, int32_t, const char*, int32_t, UErrorCode*);

std::string mapCase(std::string_view text, CaseFunction function) {
    // Case mapping at most triples the length of UTF-8 text.
    std::string mapped(text.size() * 3, '\0');
    UErrorCode status = U_ZERO_ERROR;
    int32_t length = function(rootCaseMap(), mapped.data(), static_cast<int32_t>(mapped.size()), text.data(),
                              static_cast<int32_t>(text.size()), &status);
    if (U_FAILURE(status)) {
        return std::string(text);
    }
    mapped.resize(static_cast<std::size_t>(length));
    return mapped;
}

std::string decomposed(std::string_view text) {
    UErrorCode status = U_ZERO_ERROR;
    const UNormalizer2* normalizer = unorm2_getNFDInstance(&status);
    std::u16string wide(text.size(), u'\0');
    int32_t length = 0;
    u_strFromUTF8WithSub(wide.data(), static_cast<int32_t>(wide.size()), &length, text.data(),
                         static_cast<int32_t>(text.size()), 0xFFFD, nullptr, &status);
    wide.resize(static_cast<std::size_t>(length));
    constexpr std::size_t kMaximumExpansion = 4; // of canonical decomposition in UTF-16
    std::u16string normal(wide.size() * kMaximumExpansion, u'\0');
    length = unorm2_normalize(normalizer, wide.data(), static_cast<int32_t>(wide.size()), normal.data(),
                              static_cast<int32_t>(normal.size()), &status);
    normal.resize(static_cast<std::size_t>(length));
    std::string bytes(normal.size() * 3, '\0');
    u_strToUTF8(bytes.data(), static_cast<int32_t>(bytes.size()), &length, normal.data(),
                static_cast<int32_t>(normal.size()), &status);
    bytes.resize(U_SUCCESS(status) ? static_cast<std::size_t>(length) : 0);
    return bytes;
}

// The code point at `offset`, which moves behind it; negative for bytes that are not UTF-8.
UChar32 nextCodePoint(std::string_view text, int32_t& offset) {
    UChar32 codePoint = 0;
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wconversion" // inside the library's macro
    U8_NEXT(text.data(), offset, static_cast<int32_t>(text.size()), codePoint);
#pragma GCC diagnostic pop
    return codePoint;
}

// The code point that ends at `offset`, which moves before it; negative for bytes that are not UTF-8.
UChar32 previousCodePoint(std::string_view text, int32_t& offset) {
    UChar32 codePoint = 0;
    U8_PREV(text.data(), 0, offset, codePoint);
    return codePoint;
}

bool isSpace(UChar32 codePoint) {
    if ((codePoint >= 0x09 && codePoint <= 0x0D) || codePoint == 0x85) {
        return true;
    }
    return codePoint >= 0 && (U_GET_GC_MASK(codePoint) & U_GC_Z_MASK) != 0;
}

void appendEscaped(std::string& line, char character) {
    switch (character) {
    case '\n':
        line += "\\n";
        break;
    case '\r':
        line += "\\r";
        break;
    case '\t':
        line += "\\t";
        break;
    default:
        std::array<char, 5> code{};
        std::snprintf(code.data(), code.size(), "\\x%02x", static_cast<unsigned char>(character));
        line += code.data();
    }
}

// `character` is one character of UTF-8: controls stand below the space, at 0x7F, and at U+0080 to U+009F.
bool isControl(std::string_view character) {
    auto first = static_cast<unsigned char>(character[0]);
    return first < 0x20 || first == 0x7F ||
           (first == 0xC2 && static_cast<unsigned char>(character[1]) < 0xA0);
}

} // namespace

bool isValidUtf8(std::string_view text) {
    if (isAscii(text)) {
        return true;
    }
    for (int32_t offset = 0; offset < static_cast<int32_t>(text.size());) {
        if (nextCodePoint(text, offset) < 0) {
            return false;
        }
    }
    return true;
}

bool isAscii(std::string_view text) {
    return std::ranges::none_of(text, [](char byte) { return static_cast<unsigned char>(byte) >= 0x80; });
}

std::size_t lengthOfFirstCharacter(std::string_view text) {
    int32_t offset = 0;
    return !text.empty() && nextCodePoint(text, offset) >= 0 ? static_cast<std::size_t>(offset) : 0;
}

std::size_t lengthOfLastCharacter(std::string_view text) {
    auto offset = static_cast<int32_t>(text.size());
    if (offset > 0) {
        previousCodePoint(text, offset);
    }
    return text.size() - static_cast<std::size_t>(offset);
}

std::string lowercase(std::string_view text) {
    return isAscii(text) ? asciiLowercase(text) : mapCase(text, ucasemap_utf8ToLower);
}

std::string uppercase(std::string_view text) {
    return mapCase(text, ucasemap_utf8ToUpper);
}

std::string caseInsensitiveKey(std::string_view text) {
    if (isAscii(text)) {
        return asciiLowercase(text);
    }
    return decomposed(mapCase(decomposed(text), ucasemap_utf8FoldCase));
}

std::string caseFolded(std::string_view text) {
    return isAscii(text) ? asciiLowercase(text) : mapCase(text, ucasemap_utf8FoldCase);
}

std::size_t utf16Length(std::string_view text) {
    if (isAscii(text)) {
        return text.size();
    }
    std::size_t length = 0;
    for (int32_t offset = 0; offset < static_cast<int32_t>(text.size());) {
        length += nextCodePoint(text, offset) > 0xFFFF ? 2 : 1;
    }
    return length;
}

std::string_view trimmed(std::string_view text) {
    int32_t start = 0;
    while (start < static_cast<int32_t>(text.size())) {
        int32_t next = start;
        if (!isSpace(nextCodePoint(text, next))) {
            break;
        }
        start = next;
    }
    text.remove_prefix(static_cast<std::size_t>(start));
    while (!text.empty()) {
        auto last = static_cast<int32_t>(text.size());
        if (!isSpace(previousCodePoint(text, last))) {
            break;
        }
        text.remove_suffix(text.size() - static_cast<std::size_t>(last));
    }
    return text;
}

std::string withoutControlCharacters(std::string_view text) {
    std::string line;
    line.reserve(text.size());
    while (!text.empty()) {
        auto length = lengthOfFirstCharacter(text);
        auto character = text.substr(0, length == 0 ? 1 : length);
        if (length > 0 && !isControl(character)) {
            line += character;
        } else {
            for (char byte : character) {
                appendEscaped(line, byte);
            }
        }
        text.remove_prefix(character.size());
    }
    return line;
}

} // namespace platform
