#include "XmlScalars.h"

#include "Exception.h"

#include <array>
#include <charconv>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <limits>

namespace platform {

namespace {

constexpr std::chrono::sys_days kReferenceDay{std::chrono::January / 1 / 2001};
constexpr std::string_view kBase64Digits = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
constexpr std::uint8_t kNoDigit = 0xFF;

constexpr std::array<std::uint8_t, 256> kBase64Values = [] {
    std::array<std::uint8_t, 256> values{};
    values.fill(kNoDigit);
    for (std::size_t i = 0; i < kBase64Digits.size(); ++i) {
        values[static_cast<unsigned char>(kBase64Digits[i])] = static_cast<std::uint8_t>(i);
    }
    return values;
}();

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

// A field of the date: digits only.
std::optional<int> digits(std::string_view text) {
    return text.find_first_not_of("0123456789") == text.npos ? number<int>(text) : std::nullopt;
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

std::optional<PropertyList> integerFromXml(std::string_view text) {
    text = withoutOuterSpace(text);
    bool negative = takeSign(text);
    bool hexadecimal = text.starts_with("0x") || text.starts_with("0X");
    auto magnitude = number<std::uint64_t>(hexadecimal ? text.substr(2) : text, hexadecimal ? 16 : 10);
    if (!magnitude) {
        return std::nullopt;
    }
    constexpr auto kLargest = static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max());
    if (negative) {
        // Negated without a sign, so that -2^63 does not overflow.
        return *magnitude <= kLargest + 1
                   ? std::optional<PropertyList>(static_cast<std::int64_t>(~*magnitude + 1))
                   : std::nullopt;
    }
    if (*magnitude > kLargest) {
        return *magnitude;
    }
    return static_cast<std::int64_t>(*magnitude);
}

std::optional<double> realFromXml(std::string_view text) {
    text = withoutOuterSpace(text);
    bool negative = takeSign(text);
    // A second sign and "nan(...)" are the parser's, not the format's.
    if (text.starts_with('-') || text.ends_with(')')) {
        return std::nullopt;
    }
    auto value = number<double>(text);
    return value && negative ? -*value : value;
}

std::optional<PropertyList::Date> dateFromXml(std::string_view text) {
    using namespace std::chrono;
    text = withoutOuterSpace(text);
    constexpr std::string_view kPattern = "0000-00-00T00:00:00Z";
    if (text.size() != kPattern.size()) {
        return std::nullopt;
    }
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (kPattern[i] != '0' && text[i] != kPattern[i]) {
            return std::nullopt;
        }
    }
    auto yearNumber = digits(text.substr(0, 4));
    auto monthNumber = digits(text.substr(5, 2));
    auto dayNumber = digits(text.substr(8, 2));
    auto hour = digits(text.substr(11, 2));
    auto minute = digits(text.substr(14, 2));
    auto second = digits(text.substr(17, 2));
    if (!yearNumber || !monthNumber || !dayNumber || !hour || !minute || !second || *hour > 23 ||
        *minute > 59 || *second > 59) {
        return std::nullopt;
    }
    year_month_day date(year(*yearNumber), month(static_cast<unsigned>(*monthNumber)),
                        day(static_cast<unsigned>(*dayNumber)));
    if (!date.ok()) {
        return std::nullopt;
    }
    auto time = sys_days(date) - kReferenceDay + hours(*hour) + minutes(*minute) + seconds(*second);
    return PropertyList::Date{static_cast<double>(time.count())};
}

std::optional<PropertyList::Data> dataFromXml(std::string_view text) {
    PropertyList::Data data;
    data.bytes.reserve(text.size() / 4 * 3);
    std::uint32_t group = 0;
    int length = 0;  // digits and padding in the group of four
    int padding = 0; // once there is any, the text is over
    for (char character : text) {
        if (isXmlSpace(character)) {
            continue;
        }
        bool isPadding = character == '=' && (length == 2 || length == 3);
        auto value = isPadding ? std::uint8_t{0} : kBase64Values[static_cast<unsigned char>(character)];
        if (value == kNoDigit || (padding > 0 && !isPadding)) {
            return std::nullopt;
        }
        padding += isPadding ? 1 : 0;
        group = group << 6 | value;
        if (++length == 4) {
            for (int i = 0; i < 3 - padding; ++i) {
                data.bytes += static_cast<char>(group >> (16 - 8 * i) & 0xFF);
            }
            group = 0;
            length = 0;
        }
    }
    if (length != 0) {
        return std::nullopt;
    }
    return data;
}

std::string xmlFromReal(double value) {
    if (std::isnan(value)) {
        return "nan";
    }
    if (std::isinf(value)) {
        return value > 0 ? "+infinity" : "-infinity";
    }
    std::array<char, 32> text{};
    auto result = std::to_chars(text.data(), text.data() + text.size(), value);
    return {text.data(), result.ptr};
}

std::string xmlFromDate(PropertyList::Date date) {
    using namespace std::chrono;
    constexpr auto kFirst = duration_cast<seconds>(sys_days(year(0) / January / 1) - kReferenceDay);
    constexpr auto kEnd = duration_cast<seconds>(sys_days(year(10000) / January / 1) - kReferenceDay);
    double whole = std::floor(date.secondsSinceReferenceDate);
    if (!(whole >= static_cast<double>(kFirst.count()) && whole < static_cast<double>(kEnd.count()))) {
        throw Exception("NSInvalidArgumentException", "The date is outside the years 0 to 9999");
    }
    sys_seconds time = kReferenceDay + seconds(static_cast<std::int64_t>(whole));
    auto midnight = floor<days>(time);
    year_month_day day(midnight);
    hh_mm_ss clock(time - midnight);
    std::array<char, 64> text{};
    int length =
        std::snprintf(text.data(), text.size(), "%04d-%02u-%02uT%02d:%02d:%02dZ",
                      static_cast<int>(day.year()), static_cast<unsigned>(day.month()),
                      static_cast<unsigned>(day.day()), static_cast<int>(clock.hours().count()),
                      static_cast<int>(clock.minutes().count()), static_cast<int>(clock.seconds().count()));
    return {text.data(), static_cast<std::size_t>(length)};
}

void appendBase64(std::string& text, std::string_view bytes) {
    for (std::size_t start = 0; start < bytes.size(); start += 3) {
        auto chunk = bytes.substr(start, 3);
        std::uint32_t group = 0;
        for (std::size_t i = 0; i < 3; ++i) {
            group = group << 8 | (i < chunk.size() ? static_cast<unsigned char>(chunk[i]) : 0U);
        }
        for (std::size_t i = 0; i < 4; ++i) {
            text += i <= chunk.size() ? kBase64Digits[group >> (18 - 6 * i) & 0x3F] : '=';
        }
    }
}

} // namespace platform
