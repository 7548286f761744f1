#include "PlistNode.h"

#include "Exception.h"
#include "Text.h"

#include <bit>
#include <clocale>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <limits>

namespace platform {

namespace {

constexpr auto kLargestUid = std::numeric_limits<std::uint32_t>::max(); // libplist cuts off the rest

struct Free {
    // NOLINTNEXTLINE(cppcoreguidelines-no-malloc): what libplist hands out is freed so
    void operator()(void* memory) const { std::free(memory); }
};

// libplist reads reals in the locale of the thread, where a comma may stand for the point.
class PlainLocale {
public:
    PlainLocale() : previous_(uselocale(plain())) {}
    ~PlainLocale() { uselocale(previous_); }
    PlainLocale(const PlainLocale&) = delete;
    PlainLocale& operator=(const PlainLocale&) = delete;

private:
    static locale_t plain() {
        static const locale_t locale = newlocale(LC_ALL_MASK, "C", nullptr);
        return locale;
    }
    locale_t previous_;
};

// --- Reading

// Where the bytes of a date stand in a binary list of this date alone.
constexpr std::size_t kDateStart = 9;
constexpr std::size_t kDateSize = 8;

// libplist's own accessor loses the sign of a fraction, and all dates but those of 1932 to 2069.
PropertyList::Date dateFrom(plist_t node) {
    auto file = bytesFromPlist(node, PropertyListFormat::Binary);
    std::uint64_t bits = 0;
    for (char byte : file.substr(kDateStart, kDateSize)) {
        bits = bits << 8 | static_cast<unsigned char>(byte);
    }
    return {std::bit_cast<double>(bits)};
}

// libplist tells a negative number from one beyond 2^63-1, but only when it writes it.
PropertyList integerFrom(plist_t node) {
    std::uint64_t value = 0;
    plist_get_uint_val(node, &value);
    bool isLarge =
        value >> 63 != 0 && bytesFromPlist(node, PropertyListFormat::Xml).find(">-") == std::string::npos;
    return isLarge ? PropertyList(value) : PropertyList(static_cast<std::int64_t>(value));
}

PropertyList::Array arrayFrom(plist_t node, PropertyListFormat format) {
    PropertyList::Array array;
    plist_array_iter position = nullptr;
    plist_array_new_iter(node, &position);
    std::unique_ptr<void, Free> owned(position);
    for (;;) {
        plist_t item = nullptr;
        plist_array_next_item(node, position, &item);
        if (!item) {
            return array;
        }
        array.push_back(listFromPlist(item, format));
    }
}

PropertyList::Dictionary dictionaryFromBinary(plist_t node) {
    PropertyList::Dictionary dictionary;
    plist_dict_iter position = nullptr;
    plist_dict_new_iter(node, &position);
    std::unique_ptr<void, Free> owned(position);
    for (;;) {
        char* key = nullptr;
        plist_t item = nullptr;
        plist_dict_next_item(node, position, &key, &item);
        std::unique_ptr<char, Free> ownedKey(key);
        if (!item) {
            return dictionary;
        }
        dictionary.insert_or_assign(key, listFromPlist(item, PropertyListFormat::Binary));
    }
}

// Keys and values in turn.
PropertyList::Dictionary dictionaryFromPlainXml(plist_t node) {
    auto items = arrayFrom(plist_dict_get_item(node, ""), PropertyListFormat::Xml);
    PropertyList::Dictionary dictionary;
    for (std::size_t i = 0; i + 1 < items.size(); i += 2) {
        dictionary.insert_or_assign(std::get<std::string>(std::move(items[i]).takeValue()),
                                    std::move(items[i + 1]));
    }
    return dictionary;
}

// In XML, keyed archives write an object reference as a dictionary of this one entry.
PropertyList withObjectReference(PropertyList::Dictionary dictionary) {
    const auto* number = dictionary.size() == 1 && dictionary.begin()->first == "CF$UID"
                             ? dictionary.begin()->second.integer()
                             : nullptr;
    if (number && *number >= 0 && *number <= kLargestUid) {
        return PropertyList::Uid{static_cast<std::uint64_t>(*number)};
    }
    return dictionary;
}

// --- Writing

PlistNode plistFromDate(PropertyList::Date date) {
    auto bits = std::bit_cast<std::uint64_t>(date.secondsSinceReferenceDate);
    std::string file = "bplist00";
    file += '\x33'; // a date
    for (std::size_t i = kDateSize; i-- > 0;) {
        file += static_cast<char>(bits >> (8 * i) & 0xFF);
    }
    file += '\x08'; // the table: one object, behind the magic
    std::string trailer(32, '\0');
    trailer[6] = 1;                       // bytes of an offset
    trailer[7] = 1;                       // bytes of a reference
    trailer[15] = 1;                      // objects
    trailer[31] = kDateStart + kDateSize; // where the table starts
    return plistFromBytes(file + trailer, PropertyListFormat::Binary);
}

class Builder {
public:
    PlistNode build(const PropertyList& list, std::size_t depth) {
        if (depth > kPropertyListMaximumDepth) {
            fail("The property list is nested too deeply");
        }
        countNode();
        return std::visit([&](const auto& value) { return node(value, depth); }, list.value());
    }

private:
    PlistNode node(bool value, std::size_t) { return PlistNode(plist_new_bool(value ? 1 : 0)); }
    PlistNode node(std::int64_t value, std::size_t) {
        return PlistNode(plist_new_uint(static_cast<std::uint64_t>(value)));
    }
    PlistNode node(std::uint64_t value, std::size_t) {
        return value >> 63 == 0
                   ? PlistNode(plist_new_uint(value))
                   : plistFromBytes("<plist><integer>" + std::to_string(value) + "</integer></plist>",
                                    PropertyListFormat::Xml);
    }
    PlistNode node(double value, std::size_t) { return PlistNode(plist_new_real(value)); }
    PlistNode node(const std::string& value, std::size_t) { return PlistNode(plist_new_string(text(value))); }
    PlistNode node(PropertyList::Date value, std::size_t) {
        if (!std::isfinite(value.secondsSinceReferenceDate)) {
            fail("The date is no finite number");
        }
        return plistFromDate(value);
    }
    PlistNode node(const PropertyList::Data& value, std::size_t) {
        countBytes(value.bytes);
        return PlistNode(plist_new_data(value.bytes.data(), value.bytes.size()));
    }
    PlistNode node(PropertyList::Uid value, std::size_t) {
        if (value.value > kLargestUid) {
            fail("The object reference is too large");
        }
        return PlistNode(plist_new_uid(value.value));
    }
    PlistNode node(const PropertyList::Array& value, std::size_t depth) {
        PlistNode array(plist_new_array());
        for (const auto& item : value) {
            plist_array_append_item(array.get(), build(item, depth + 1).release());
        }
        return array;
    }
    PlistNode node(const PropertyList::Dictionary& value, std::size_t depth) {
        PlistNode dictionary(plist_new_dict());
        for (const auto& [key, item] : value) {
            countNode();
            const char* name = text(key); // may throw, so before the item is let go
            plist_dict_set_item(dictionary.get(), name, build(item, depth + 1).release());
        }
        return dictionary;
    }

    [[noreturn]] static void fail(const char* reason) {
        throw Exception("NSInvalidArgumentException", reason);
    }

    void countNode() {
        if (++nodes_ > kPropertyListMaximumWrittenNodes) {
            fail("The property list has too many values");
        }
    }

    void countBytes(const std::string& bytes) {
        bytes_ += bytes.size();
        if (bytes_ > kPropertyListMaximumBytes) {
            fail("The property list is too large for one file");
        }
    }

    const char* text(const std::string& text) {
        countBytes(text);
        if (!isValidUtf8(text) || text.find('\0') != text.npos) {
            fail("The property list holds text that is not UTF-8 or has a zero byte");
        }
        return text.c_str();
    }

    std::size_t nodes_ = 0; // keys counted
    std::size_t bytes_ = 0; // of texts and data
};

} // namespace

PlistNode plistFromBytes(std::string_view bytes, PropertyListFormat format) {
    PlainLocale locale;
    plist_t node = nullptr;
    auto read = format == PropertyListFormat::Xml ? plist_from_xml : plist_from_bin;
    read(bytes.data(), static_cast<std::uint32_t>(bytes.size()), &node);
    return PlistNode(node);
}

std::string bytesFromPlist(plist_t node, PropertyListFormat format) {
    char* bytes = nullptr;
    std::uint32_t length = 0;
    auto write = format == PropertyListFormat::Xml ? plist_to_xml : plist_to_bin;
    write(node, &bytes, &length);
    std::unique_ptr<char, Free> owned(bytes);
    return bytes ? std::string(bytes, length) : std::string();
}

PropertyList listFromPlist(plist_t node, PropertyListFormat format) {
    std::uint64_t length = 0;
    switch (plist_get_node_type(node)) {
    case PLIST_BOOLEAN: {
        std::uint8_t value = 0;
        plist_get_bool_val(node, &value);
        return value != 0;
    }
    case PLIST_UINT:
        return integerFrom(node);
    case PLIST_REAL: {
        double value = 0;
        plist_get_real_val(node, &value);
        return value;
    }
    case PLIST_STRING: {
        const char* text = plist_get_string_ptr(node, &length);
        return std::string(text, length);
    }
    case PLIST_DATE:
        return dateFrom(node);
    case PLIST_DATA: {
        const char* bytes = plist_get_data_ptr(node, &length);
        return PropertyList::Data{bytes ? std::string(bytes, length) : std::string()};
    }
    case PLIST_UID: {
        std::uint64_t value = 0;
        plist_get_uid_val(node, &value);
        return PropertyList::Uid{value};
    }
    case PLIST_ARRAY:
        return arrayFrom(node, format);
    default:
        return withObjectReference(format == PropertyListFormat::Xml ? dictionaryFromPlainXml(node)
                                                                     : dictionaryFromBinary(node));
    }
}

PlistNode plistFromList(const PropertyList& list) {
    return Builder().build(list, 1);
}

} // namespace platform
