#include "XmlPropertyListWriter.h"

#include "Exception.h"
#include "PropertyListSerialization.h"
#include "Text.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <chrono>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <limits>
#include <variant>

namespace platform {

namespace {

constexpr const char* kHead = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
                              "<!DOCTYPE plist PUBLIC \"-//Apple//DTD PLIST 1.0//EN\" "
                              "\"http://www.apple.com/DTDs/PropertyList-1.0.dtd\">\n"
                              "<plist version=\"1.0\">\n";

constexpr std::size_t kLineOfData = 76;

constexpr const char* kTooLarge = "The property list is too large for one file";

[[noreturn]] void fail(const char* reason) {
    throw Exception("NSInvalidArgumentException", reason);
}

template <typename Number>
std::string number(Number value) {
    std::array<char, 32> text{};
    auto result = std::to_chars(text.data(), text.data() + text.size(), value);
    return {text.data(), result.ptr};
}

std::string dateText(PropertyList::Date date) {
    using namespace std::chrono;
    const double whole = std::floor(date.secondsSinceReferenceDate);
    constexpr double kFar = 1e12; // beyond any year of four digits, and safely a whole number
    if (!(std::abs(whole) < kFar)) {
        fail("The date is no finite number, or its year is none of four digits");
    }
    const sys_seconds time(seconds(static_cast<std::int64_t>(whole) + PropertyList::Date::kReferenceDate));
    const auto day = floor<days>(time);
    const year_month_day calendar(day);
    const hh_mm_ss clock(time - day);
    const int year = static_cast<int>(calendar.year());
    if (year < 0 || year > 9999) {
        fail("The year of a date is none of four digits");
    }
    std::array<char, 64> text{};
    std::snprintf(text.data(), text.size(), "%04d-%02u-%02uT%02d:%02d:%02dZ", year,
                  static_cast<unsigned>(calendar.month()), static_cast<unsigned>(calendar.day()),
                  static_cast<int>(clock.hours().count()), static_cast<int>(clock.minutes().count()),
                  static_cast<int>(clock.seconds().count()));
    return text.data();
}

std::string base64(const std::string& bytes) {
    constexpr std::string_view kDigits = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string text;
    text.reserve((bytes.size() + 2) / 3 * 4);
    for (std::size_t i = 0; i < bytes.size(); i += 3) {
        auto byte = [&](std::size_t at) {
            return at < bytes.size() ? static_cast<std::uint32_t>(static_cast<unsigned char>(bytes[at])) : 0U;
        };
        const std::uint32_t group = byte(i) << 16 | byte(i + 1) << 8 | byte(i + 2);
        text += kDigits[group >> 18 & 63];
        text += kDigits[group >> 12 & 63];
        text += i + 1 < bytes.size() ? kDigits[group >> 6 & 63] : '=';
        text += i + 2 < bytes.size() ? kDigits[group & 63] : '=';
    }
    return text;
}

enum class Layout { Indented, Compact };

class Writer {
public:
    explicit Writer(Layout layout) : isIndented_(layout == Layout::Indented) {}

    // Incomplete once it is longer than the reader's limit.
    std::string write(const PropertyList& list) {
        xml_ = kHead;
        value(list, 0);
        return std::move(xml_) + "</plist>\n";
    }

private:
    void value(const PropertyList& list, std::size_t depth) {
        if (depth >= kPropertyListMaximumDepth) {
            fail("The property list is nested too deeply");
        }
        if (xml_.size() > kPropertyListMaximumBytes) {
            return;
        }
        std::visit([&](const auto& content) { element(content, depth); }, list.value());
    }

    void element(bool value, std::size_t depth) { line(depth, value ? "<true/>" : "<false/>"); }
    void element(std::int64_t value, std::size_t depth) { scalar(depth, "integer", number(value)); }
    void element(std::uint64_t value, std::size_t depth) { scalar(depth, "integer", number(value)); }
    void element(double value, std::size_t depth) { scalar(depth, "real", number(value)); }
    void element(const std::string& value, std::size_t depth) { scalar(depth, "string", escaped(value)); }
    void element(PropertyList::Date value, std::size_t depth) { scalar(depth, "date", dateText(value)); }
    void element(const PropertyList::Data& value, std::size_t depth) {
        if (value.bytes.size() > kPropertyListMaximumBytes) {
            fail(kTooLarge);
        }
        line(depth, "<data>");
        const std::string text = base64(value.bytes);
        // Tabs count for eight columns, of which there are 76.
        const std::size_t width =
            isIndented_ ? kLineOfData - 8 * std::min<std::size_t>(depth, 8) : text.size();
        for (std::size_t start = 0; start < text.size(); start += width) {
            line(depth, std::string_view(text).substr(start, width));
        }
        line(depth, "</data>");
    }
    // As keyed archives write it in XML.
    void element(PropertyList::Uid value, std::size_t depth) {
        if (value.value > std::numeric_limits<std::uint32_t>::max()) {
            fail("The object reference is too large");
        }
        line(depth, "<dict>");
        scalar(depth + 1, "key", "CF$UID");
        scalar(depth + 1, "integer", number(value.value));
        line(depth, "</dict>");
    }
    void element(const PropertyList::Array& value, std::size_t depth) {
        line(depth, value.empty() ? "<array/>" : "<array>");
        for (const auto& item : value) {
            this->value(item, depth + 1);
        }
        if (!value.empty()) {
            line(depth, "</array>");
        }
    }
    void element(const PropertyList::Dictionary& value, std::size_t depth) {
        line(depth, value.empty() ? "<dict/>" : "<dict>");
        for (const auto& [key, item] : value) {
            scalar(depth + 1, "key", escaped(key));
            this->value(item, depth + 1);
        }
        if (!value.empty()) {
            line(depth, "</dict>");
        }
    }

    void scalar(std::size_t depth, std::string_view name, std::string_view text) {
        indent(depth);
        xml_.append("<").append(name).append(">").append(text).append("</").append(name).append(">");
        endLine();
    }
    void line(std::size_t depth, std::string_view text) {
        indent(depth);
        xml_.append(text);
        endLine();
    }
    void indent(std::size_t depth) { xml_.append(isIndented_ ? depth : 0, '\t'); }
    void endLine() { xml_.append(isIndented_ ? 1 : 0, '\n'); }

    static std::string escaped(const std::string& text) {
        if (!isValidUtf8(text) || text.find('\0') != text.npos) {
            fail("The property list holds text that is not UTF-8 or has a zero byte");
        }
        std::string result;
        result.reserve(text.size());
        for (char character : text) {
            switch (character) {
            case '&':
                result += "&amp;";
                break;
            case '<':
                result += "&lt;";
                break;
            case '>':
                result += "&gt;";
                break;
            case '\r': // readers take one that stands by itself for a line feed
                result += "&#13;";
                break;
            default:
                result += character;
            }
        }
        return result;
    }

    bool isIndented_;
    std::string xml_;
};

} // namespace

std::string xmlFromList(const PropertyList& list) {
    auto xml = Writer(Layout::Indented).write(list);
    if (xml.size() > kPropertyListMaximumBytes) {
        xml = Writer(Layout::Compact).write(list);
    }
    if (xml.size() > kPropertyListMaximumBytes) {
        fail(kTooLarge);
    }
    return xml;
}

} // namespace platform
