#include "XmlScalars.h"

#include <charconv>
#include <chrono>
#include <cstdint>
#include <limits>
#include <optional>

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

// Takes the digits up to `end`, and `end` as well.
std::optional<unsigned> takeField(std::string_view& text, std::size_t minimum, std::size_t maximum,
                                  char end) {
    auto length = text.find(end);
    if (length == text.npos || length < minimum || length > maximum) {
        return std::nullopt;
    }
    auto value = number<unsigned>(text.substr(0, length));
    text.remove_prefix(length + 1);
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

bool isXmlInteger(std::string_view text) {
    text = withoutOuterSpace(text);
    bool negative = takeSign(text);
    bool hexadecimal = text.starts_with("0x") || text.starts_with("0X");
    if (!hexadecimal && text.size() > 1 && text.front() == '0') {
        return false;
    }
    auto magnitude = number<std::uint64_t>(hexadecimal ? text.substr(2) : text, hexadecimal ? 16 : 10);
    constexpr auto kLargest = static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max());
    return magnitude && (!negative || *magnitude <= kLargest + 1);
}

bool isXmlReal(std::string_view text) {
    text = withoutOuterSpace(text);
    takeSign(text);
    // A second sign and "nan(...)" are the parser's, not the format's.
    return !text.starts_with('-') && !text.ends_with(')') && number<double>(text);
}

bool isXmlDate(std::string_view text) {
    using namespace std::chrono;
    constexpr std::size_t kLongest = 31; // libplist takes anything longer for 1970
    if (text.size() > kLongest) {
        return false;
    }
    text = withoutOuterSpace(text);
    auto yearNumber = takeField(text, 1, 4, '-');
    auto monthNumber = takeField(text, 2, 2, '-');
    auto dayNumber = takeField(text, 2, 2, 'T');
    auto hour = takeField(text, 2, 2, ':');
    auto minute = takeField(text, 2, 2, ':');
    auto second = takeField(text, 2, 2, 'Z');
    if (!yearNumber || !monthNumber || !dayNumber || !hour || !minute || !second || !text.empty()) {
        return false;
    }
    year_month_day date(year(static_cast<int>(*yearNumber)), month(*monthNumber), day(*dayNumber));
    return date.ok() && *hour < 24 && *minute < 60 && *second < 60;
}

bool isXmlData(std::string_view text) {
    std::size_t length = 0; // digits and padding
    std::size_t padding = 0;
    for (char character : text) {
        if (isXmlSpace(character)) {
            continue;
        }
        bool isDigit = (character >= 'A' && character <= 'Z') || (character >= 'a' && character <= 'z') ||
                       (character >= '0' && character <= '9') || character == '+' || character == '/';
        bool isPadding = character == '=' && length % 4 >= 2;
        if (!isPadding && (!isDigit || padding > 0)) {
            return false;
        }
        padding += isPadding ? 1 : 0;
        ++length;
    }
    return length % 4 == 0;
}

} // namespace platform
