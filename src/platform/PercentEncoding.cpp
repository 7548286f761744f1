#include "PercentEncoding.h"

namespace platform {

std::string percentEncoded(std::string_view text, std::string_view alsoPlain) {
    static constexpr std::string_view kUnreserved =
        "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-._~";
    static constexpr std::string_view kDigits = "0123456789ABCDEF";
    std::string encoded;
    for (char character : text) {
        if (kUnreserved.find(character) != std::string_view::npos ||
            alsoPlain.find(character) != std::string_view::npos) {
            encoded += character;
        } else {
            auto byte = static_cast<unsigned char>(character);
            encoded += '%';
            encoded += kDigits[byte >> 4];
            encoded += kDigits[byte & 0x0F];
        }
    }
    return encoded;
}

} // namespace platform
