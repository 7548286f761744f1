#include "Format.h"

#include <algorithm>
#include <charconv>

namespace {

// What stands between a percent sign and the end of its conversion.
struct Conversion {
    bool leftAligned = false;
    bool zeroPadded = false;
    char positiveSign = 0; // '+', ' ' or none
    std::size_t width = 0;
    std::optional<std::size_t> precision;
    char letter = 0;
    std::size_t length = 0; // of the conversion's text, without the percent sign
};

// The largest fraction has 309 digits before the point; the precision allows 999 behind it.
using NumberBuffer = std::array<char, 1400>;

bool isDigit(char character) {
    return character >= '0' && character <= '9';
}

// Takes flags off the front of `text`.
void takeFlags(std::string_view& text, Conversion& conversion) {
    for (; !text.empty(); text.remove_prefix(1)) {
        const char flag = text.front();
        if (flag == '-') {
            conversion.leftAligned = true;
        } else if (flag == '0') {
            conversion.zeroPadded = true;
        } else if (flag == '+' || (flag == ' ' && conversion.positiveSign != '+')) {
            conversion.positiveSign = flag;
        } else if (flag != ' ') {
            return;
        }
    }
}

// Takes a number of up to three digits off the front of `text`; none when there are more, so that no
// format asks for megabytes of padding.
std::optional<std::size_t> takeNumber(std::string_view& text) {
    std::size_t number = 0;
    for (int digits = 0; !text.empty() && isDigit(text.front()); text.remove_prefix(1)) {
        if (++digits > 3) {
            return std::nullopt;
        }
        number = number * 10 + static_cast<std::size_t>(text.front() - '0');
    }
    return number;
}

// The conversion that `text`, what follows a percent sign, begins with; none when that is no conversion.
std::optional<Conversion> parseConversion(std::string_view text) {
    static constexpr std::string_view kLengths = "hlqjzt";
    static constexpr std::string_view kLetters = "@sdiuxcf";
    const auto start = text.size();
    Conversion conversion;
    takeFlags(text, conversion);
    auto width = takeNumber(text);
    if (!width) {
        return std::nullopt;
    }
    conversion.width = *width;
    if (text.starts_with('.')) {
        text.remove_prefix(1);
        conversion.precision = takeNumber(text);
        if (!conversion.precision) {
            return std::nullopt;
        }
    }
    while (!text.empty() && kLengths.find(text.front()) != std::string_view::npos) {
        text.remove_prefix(1); // passed over: an argument knows its own size
    }
    if (text.empty() || kLetters.find(text.front()) == std::string_view::npos) {
        return std::nullopt;
    }
    conversion.letter = text.front();
    conversion.length = start - text.size() + 1;
    return conversion;
}

void appendPadded(std::string& result, std::string_view text, const Conversion& conversion) {
    const auto padding = conversion.width - std::min(conversion.width, text.size());
    result.append(conversion.leftAligned ? 0 : padding, ' ');
    result.append(text);
    result.append(conversion.leftAligned ? padding : 0, ' ');
}

// `number` may begin with a minus sign; at least `minimumDigits` are shown.
void appendNumber(std::string& result, std::string_view number, std::size_t minimumDigits,
                  const Conversion& conversion) {
    std::string text;
    if (number.starts_with('-')) {
        text = '-';
        number.remove_prefix(1);
    } else if (conversion.positiveSign) {
        text = conversion.positiveSign;
    }
    auto digits = std::max(minimumDigits, number.size());
    if (conversion.zeroPadded && !conversion.leftAligned && isDigit(number.front())) {
        digits = std::max(digits, conversion.width - std::min(conversion.width, text.size()));
    }
    text.append(digits - number.size(), '0');
    text += number;
    appendPadded(result, text, conversion);
}

bool isCharacter(std::uint64_t number) {
    return number <= 0x10FFFF && (number < 0xD800 || number > 0xDFFF);
}

std::string utf8(std::uint64_t character) {
    auto byte = [character](unsigned shift, unsigned mark) {
        return static_cast<char>(mark | ((character >> shift) & 0x3F));
    };
    if (character < 0x80) {
        return {static_cast<char>(character)};
    }
    if (character < 0x800) {
        return {byte(6, 0xC0), byte(0, 0x80)};
    }
    if (character < 0x10000) {
        return {byte(12, 0xE0), byte(6, 0x80), byte(0, 0x80)};
    }
    return {byte(18, 0xF0), byte(12, 0x80), byte(6, 0x80), byte(0, 0x80)};
}

// Appends one argument, in its natural form where the conversion is meant for another kind.
struct ArgumentWriter {
    std::string& result;
    const Conversion& conversion;

    void operator()(std::int64_t number) const {
        if (number >= 0) {
            return (*this)(static_cast<std::uint64_t>(number));
        }
        appendInteger(number, 10);
    }
    void operator()(std::uint64_t number) const {
        if (conversion.letter == 'c' && isCharacter(number)) {
            return appendPadded(result, utf8(number), conversion);
        }
        appendInteger(number, conversion.letter == 'x' ? 16 : 10);
    }
    void operator()(double number) const {
        NumberBuffer buffer;
        const auto end = buffer.data() + buffer.size();
        const auto written = conversion.letter == 'f'
                                 ? std::to_chars(buffer.data(), end, number, std::chars_format::fixed,
                                                 static_cast<int>(conversion.precision.value_or(6)))
                                 : std::to_chars(buffer.data(), end, number);
        appendNumber(result, std::string_view(buffer.data(), written.ptr), 0, conversion);
    }
    void operator()(std::string_view text) const {
        const bool isForText = conversion.letter == '@' || conversion.letter == 's';
        if (isForText && conversion.precision && *conversion.precision < text.size()) {
            auto length = *conversion.precision;
            while (length > 0 && (static_cast<unsigned char>(text[length]) & 0xC0) == 0x80) {
                --length;
            }
            text = text.substr(0, length);
        }
        appendPadded(result, text, conversion);
    }
    void operator()(std::nullopt_t) const { appendPadded(result, "(null)", conversion); }

private:
    template <typename Number>
    void appendInteger(Number number, int base) const {
        NumberBuffer buffer;
        const auto written = std::to_chars(buffer.data(), buffer.data() + buffer.size(), number, base);
        appendNumber(result, std::string_view(buffer.data(), written.ptr), conversion.precision.value_or(0),
                     conversion);
    }
};

} // namespace

std::string formatWithArguments(std::string_view text, std::span<const FormatArgument> arguments) {
    std::string result;
    while (!text.empty()) {
        const auto literal = std::min(text.find('%'), text.size());
        result += text.substr(0, literal);
        text.remove_prefix(literal);
        if (text.empty()) {
            break;
        }
        text.remove_prefix(1);
        if (text.starts_with('%')) {
            result += '%';
            text.remove_prefix(1);
            continue;
        }
        auto conversion = parseConversion(text);
        if (!conversion || arguments.empty()) {
            result += '%'; // what follows is passed on as it stands
            continue;
        }
        std::visit(ArgumentWriter{result, *conversion}, arguments.front().value());
        arguments = arguments.subspan(1);
        text.remove_prefix(conversion->length);
    }
    return result;
}
