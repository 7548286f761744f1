#pragma once

#include <array>
#include <concepts>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <variant>

// Text that may be absent, seen but not owned. A null pointer is absent.
class FormatText {
public:
    FormatText(std::nullopt_t) {}
    FormatText(const char* text) {
        if (text) {
            text_ = text;
        }
    }
    FormatText(std::string_view text) : text_(text) {}
    FormatText(const std::string& text) : text_(text) {}
    FormatText(const std::optional<std::string>& text) : text_(text) {}

    const std::optional<std::string_view>& text() const { return text_; }

private:
    std::optional<std::string_view> text_;
};

// One argument of a format: a number, or text that may be absent. Truth values are the numbers 1 and 0.
class FormatArgument {
public:
    using Value = std::variant<std::int64_t, std::uint64_t, double, std::string_view, std::nullopt_t>;

    template <std::signed_integral Number>
    explicit FormatArgument(Number number) : value_(static_cast<std::int64_t>(number)) {}
    template <std::unsigned_integral Number>
    explicit FormatArgument(Number number) : value_(static_cast<std::uint64_t>(number)) {}
    template <std::floating_point Number>
    explicit FormatArgument(Number number) : value_(static_cast<double>(number)) {}
    explicit FormatArgument(const FormatText& text) : value_(std::nullopt) {
        if (text.text()) {
            value_ = *text.text();
        }
    }

    const Value& value() const { return value_; }

private:
    Value value_;
};

// See `format`.
std::string formatWithArguments(std::string_view text, std::span<const FormatArgument> arguments);

// Expands the conversions in `text`, one argument each, from left to right:
//
//   %@ %s              anything, in its natural form; absent text is "(null)"
//   %d %i %u %x        whole numbers; a length (h, l, ll, q, j, z, t) may stand before the letter
//   %c                 the character with that Unicode number
//   %f                 fractions, with six digits unless a precision says otherwise
//   %%                 a percent sign
//
// Between the percent sign and the letter may stand flags (- + space 0), a width and a precision of up
// to three digits. The precision is the least number of digits of a whole number and the largest number
// of bytes of a text, of which no character is torn.
//
// Nothing but the arguments is ever read: a conversion that has none, is unfinished or is unknown stays
// as it is written; surplus arguments are ignored; an argument of another kind than the conversion's is
// shown in its natural form. Independent of the locale. Any thread.
template <typename... Arguments>
std::string format(std::string_view text, const Arguments&... arguments) {
    const std::array<FormatArgument, sizeof...(Arguments)> list{FormatArgument(arguments)...};
    return formatWithArguments(text, list);
}
