#include "XmlScalars.h"

#include <charconv>
#include <chrono>
#include <cstdint>
#include <limits>

namespace platform {

namespace {

std::string_view withoutOuterSpace(std::string_view text) {
    while (!text.empty() && isXmlSpace(text.front())) {
        text.remove_prefix(1);
    }
    while (!text.empty() && isXmlSpace(text.back())) {
        text.remove_suffix(1);
    }
    return text;
}

// The whole text as one number; absent when anything is left over or does not fit.
template <typename Number, typename... Options>
std::optional<Number> number(std::string_view text, Options... options) {
    Number value{};
    const char* end = text.data() + text.size();
    auto result = std::from_chars(text.data(), end, value, options...);
    if (text.empty() || result.ec != std::errc() || result.ptr != end) {
        return std::nullopt;
    }
    return value;
}

// The sign is taken off the text; true for a minus.
bool takeSign(std::string_view& text) {
    bool negative = text.starts_with('-');
    if (negative || text.starts_with('+')) {
        text.remove_prefix(1);
    }
    return negative;
}

} // namespace

bool isXmlSpace(char character) {
    return character == ' ' || character == '\t' || character == '\n' || character == '\r';
}

std::optional<std::string> plainInteger(std::string_view text) {
    text = withoutOuterSpace(text);
    bool negative = takeSign(text);
    bool hexadecimal = text.starts_with("0x") || text.starts_with("0X");
    auto magnitude = number<std::uint64_t>(hexadecimal ? text.substr(2) : text, hexadecimal ? 16 : 10);
    constexpr auto kLargest = static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max());
    if (!magnitude || (negative && *magnitude > kLargest + 1)) {
        return std::nullopt;
    }
    return (negative ? "-" : "") + std::to_string(*magnitude);
}

std::optional<std::string> plainReal(std::string_view text) {
    text = withoutOuterSpace(text);
    auto digits = text;
    takeSign(digits);
    // A second sign and "nan(...)" are the parser's, not the format's.
    if (digits.starts_with('-') || digits.ends_with(')') || !number<double>(digits)) {
        return std::nullopt;
    }
    return std::string(text);
}

std::optional<std::string> plainDate(std::string_view text) {
    using namespace std::chrono;
    text = withoutOuterSpace(text);
    constexpr std::string_view kPattern = "0000-00-00T00:00:00Z";
    if (text.size() != kPattern.size()) {
        return std::nullopt;
    }
    for (std::size_t i = 0; i < text.size(); ++i) {
        bool isDigit = text[i] >= '0' && text[i] <= '9';
        if (kPattern[i] == '0' ? !isDigit : text[i] != kPattern[i]) {
            return std::nullopt;
        }
    }
    auto field = [&](std::size_t start, std::size_t length) {
        return number<unsigned>(text.substr(start, length)).value_or(0);
    };
    year_month_day date(year(static_cast<int>(field(0, 4))), month(field(5, 2)), day(field(8, 2)));
    bool isDate = date.ok() && field(11, 2) < 24 && field(14, 2) < 60 && field(17, 2) < 60;
    return isDate ? std::optional<std::string>(text) : std::nullopt;
}

std::optional<std::string> plainData(std::string_view text) {
    std::string plain;
    bool isPadded = false;
    for (char character : text) {
        if (isXmlSpace(character)) {
            continue;
        }
        bool isDigit = (character >= 'A' && character <= 'Z') || (character >= 'a' && character <= 'z') ||
                       (character >= '0' && character <= '9') || character == '+' || character == '/';
        bool isPadding = character == '=' && plain.size() % 4 >= 2;
        if (!isPadding && (!isDigit || isPadded)) {
            return std::nullopt;
        }
        isPadded = isPadding;
        plain += character;
    }
    return plain.size() % 4 == 0 ? std::optional(plain) : std::nullopt;
}

} // namespace platform
