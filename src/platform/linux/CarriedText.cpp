#include "CarriedText.h"

#include <array>
#include <bit>
#include <cstdint>

namespace platform {

namespace {

bool isCharacter(std::uint32_t code) {
    const bool isSurrogate = code >= 0xD800 && code < 0xE000;
    const bool isReserved = (code >= 0xFDD0 && code < 0xFDF0) || (code & 0xFFFE) == 0xFFFE;
    return code > 0 && code < 0x110000 && !isSurrogate && !isReserved;
}

// Bytes of the character at the start; 0 when there is none that the bus carries. Done by hand, since it also
// serves programs that would load Unicode's tables for nothing else.
std::size_t lengthOfCharacter(std::string_view text) {
    constexpr std::array<std::uint32_t, 5> kSmallest{0, 0, 0x80, 0x800, 0x10000}; // of so many bytes
    const auto first = static_cast<unsigned char>(text.front());
    const auto ones = static_cast<std::size_t>(std::countl_one(first));
    const std::size_t length = ones == 0 ? 1 : ones;
    if (ones == 1 || ones >= kSmallest.size() || length > text.size()) {
        return 0;
    }
    std::uint32_t code = length == 1 ? first : first & (0x7FU >> length);
    for (const char byte : text.substr(1, length - 1)) {
        if ((static_cast<unsigned char>(byte) & 0xC0) != 0x80) {
            return 0;
        }
        code = code << 6 | (static_cast<unsigned char>(byte) & 0x3FU);
    }
    return code >= kSmallest[length] && isCharacter(code) ? length : 0;
}

} // namespace

std::string carriedText(std::string_view text) {
    std::string result;
    result.reserve(text.size());
    while (!text.empty()) {
        const auto length = lengthOfCharacter(text);
        result += length > 0 ? text.substr(0, length) : "\uFFFD";
        text.remove_prefix(length > 0 ? length : 1);
    }
    return result;
}

} // namespace platform
