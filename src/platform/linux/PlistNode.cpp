#include "PlistNode.h"

#include "Exception.h"
#include "PropertyListSerialization.h"
#include "Text.h"

#include <array>
#include <bit>
#include <clocale>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <limits>
#include <unordered_set>
#include <vector>

namespace platform {

namespace {

constexpr auto kLargestUid = std::numeric_limits<std::uint32_t>::max(); // libplist cuts off the rest

// The first second of the year 0 and the last of 9999.
constexpr double kFirstXmlDate = -63145526400;
constexpr double kLastXmlDate = 252423993599;

struct Free {
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

template <typename Parser>
PlistNode parsed(Parser parse, std::string_view bytes) {
    plist_t node = nullptr;
    parse(bytes.data(), static_cast<std::uint32_t>(bytes.size()), &node);
    return PlistNode(node);
}

template <typename Printer>
std::string printed(Printer print, plist_t node) {
    char* bytes = nullptr;
    std::uint32_t length = 0;
    print(node, &bytes, &length);
    std::unique_ptr<char, Free> owned(bytes);
    return bytes ? std::string(bytes, length) : std::string();
}

// Where the bytes of a date stand in a binary list of this date alone.
constexpr std::size_t kDateStart = 9;
constexpr std::size_t kDateSize = 8;

// libplist's own accessor knows whole microseconds of 1932 to 2069 only.
PropertyList::Date dateFrom(plist_t node) {
    auto file = binaryFromPlist(node);
    std::uint64_t bits = 0;
    for (char byte : file.substr(kDateStart, kDateSize)) {
        bits = bits << 8 | static_cast<unsigned char>(byte);
    }
    return {std::bit_cast<double>(bits)};
}

PlistNode plistFromDate(PropertyList::Date date) {
    auto bits = std::bit_cast<std::uint64_t>(date.secondsSinceReferenceDate);
    std::string file = "bplist00\x33";
    for (std::size_t i = kDateSize; i-- > 0;) {
        file += static_cast<char>(bits >> (8 * i) & 0xFF);
    }
    file += '\x08'; // the table: one object, behind the magic
    std::string trailer(32, '\0');
    trailer[6] = 1;                       // bytes of an offset
    trailer[7] = 1;                       // bytes of a reference
    trailer[15] = 1;                      // objects
    trailer[31] = kDateStart + kDateSize; // where the table starts
    return plistFromBinary(file + trailer);
}

// libplist tells a negative number from one beyond 2^63-1, but only when it writes it.
PropertyList integerFrom(plist_t node) {
    std::uint64_t value = 0;
    plist_get_uint_val(node, &value);
    bool isLarge = value >> 63 != 0 && xmlFromPlist(node).find("<integer>-") == std::string::npos;
    return isLarge ? PropertyList(value) : PropertyList(static_cast<std::int64_t>(value));
}

PlistNode plistFromUnsigned(std::uint64_t value) {
    if (value >> 63 == 0) {
        return PlistNode(plist_new_uint(value));
    }
    return plistFromXml("<plist><integer>" + std::to_string(value) + "</integer></plist>");
}

PropertyList arrayFrom(plist_t node) {
    PropertyList::Array array;
    array.reserve(plist_array_get_size(node));
    plist_array_iter position = nullptr;
    plist_array_new_iter(node, &position);
    std::unique_ptr<void, Free> owned(position);
    for (;;) {
        plist_t item = nullptr;
        plist_array_next_item(node, position, &item);
        if (!item) {
            return array;
        }
        array.push_back(listFromPlist(item));
    }
}

// In XML, keyed archives write an object reference as a dictionary of this one entry.
std::optional<PropertyList::Uid> objectReference(const PropertyList::Dictionary& dictionary) {
    if (dictionary.size() != 1 || dictionary.begin()->first != "CF$UID") {
        return std::nullopt;
    }
    const auto* number = dictionary.begin()->second.integer();
    if (!number || *number < 0 || *number > kLargestUid) {
        return std::nullopt;
    }
    return PropertyList::Uid{static_cast<std::uint64_t>(*number)};
}

PropertyList dictionaryFrom(plist_t node) {
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
            break;
        }
        dictionary.insert_or_assign(key, listFromPlist(item));
    }
    auto reference = objectReference(dictionary);
    return reference ? PropertyList(*reference) : PropertyList(std::move(dictionary));
}

// What libplist does to write a binary list: it looks for every value among those before it whose hash
// ends in the same twelve bits. Values made for it would keep it busy for minutes.
class BinaryEffort {
public:
    // False when it becomes too much.
    bool add(plist_type type, std::string_view bytes) {
        std::size_t hash = 5381U + type;
        for (char byte : bytes) {
            hash = hash * 33 + static_cast<std::size_t>(byte);
        }
        auto& chain = chains_[hash % chains_.size()];
        effort_ += chain * (1 + bytes.size() / kCacheLine);
        chain += seen_.insert(static_cast<char>(type) + std::string(bytes)).second ? 1 : 0;
        return effort_ <= kMaximum;
    }

private:
    static constexpr std::size_t kMaximum = 20'000'000; // a few seconds
    static constexpr std::size_t kCacheLine = 64;

    std::vector<std::size_t> chains_ = std::vector<std::size_t>(4096);
    std::unordered_set<std::string> seen_;
    std::size_t effort_ = 0;
};

// Makes nodes of a list, and throws for what libplist or the reader would not take.
class Builder {
public:
    explicit Builder(PropertyListFormat format) : format_(format) {}

    PlistNode build(const PropertyList& list, std::size_t depth) {
        count(depth);
        return std::visit([&](const auto& value) { return node(value, depth); }, list.value());
    }

private:
    PlistNode node(bool value, std::size_t) { return PlistNode(plist_new_bool(value ? 1 : 0)); }
    PlistNode node(std::int64_t value, std::size_t) {
        addEffort(PLIST_UINT, value);
        return PlistNode(plist_new_uint(static_cast<std::uint64_t>(value)));
    }
    PlistNode node(std::uint64_t value, std::size_t) {
        addEffort(PLIST_UINT, value);
        return plistFromUnsigned(value);
    }
    PlistNode node(double value, std::size_t) {
        addEffort(PLIST_REAL, value);
        return PlistNode(plist_new_real(value));
    }
    PlistNode node(const std::string& value, std::size_t) {
        return PlistNode(plist_new_string(text(PLIST_STRING, value)));
    }
    PlistNode node(PropertyList::Date value, std::size_t) {
        auto& seconds = value.secondsSinceReferenceDate;
        if (!std::isfinite(seconds)) {
            fail("The date is no finite number");
        }
        if (format_ == PropertyListFormat::Xml) {
            seconds = std::floor(seconds); // libplist would go towards 2001
            if (seconds < kFirstXmlDate || seconds > kLastXmlDate) {
                fail("The date is outside the years 0 to 9999");
            }
        }
        addEffort(PLIST_DATE, seconds);
        return plistFromDate(value);
    }
    PlistNode node(const PropertyList::Data& value, std::size_t) {
        addSize(value.bytes);
        return PlistNode(plist_new_data(value.bytes.data(), value.bytes.size()));
    }
    PlistNode node(PropertyList::Uid value, std::size_t depth) {
        count(depth + 1); // XML spells it as a dictionary with a number
        if (value.value > kLargestUid) {
            fail("The object reference is too large");
        }
        addEffort(PLIST_UID, value.value);
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
            plist_dict_set_item(dictionary.get(), text(PLIST_KEY, key), build(item, depth + 1).release());
        }
        return dictionary;
    }

    [[noreturn]] static void fail(const char* reason) {
        throw Exception("NSInvalidArgumentException", reason);
    }

    void count(std::size_t depth) {
        if (depth > kPropertyListMaximumDepth) {
            fail("The property list is nested too deeply");
        }
        if (++nodes_ > kPropertyListMaximumNodes) {
            fail("The property list has too many values");
        }
    }

    void addSize(const std::string& bytes) {
        bytes_ += bytes.size();
        if (bytes_ > kPropertyListMaximumBytes) {
            fail("The property list is too large for one file");
        }
    }

    template <typename Number>
    void addEffort(plist_type type, Number value) {
        auto bytes = std::bit_cast<std::array<char, sizeof(Number)>>(value);
        addEffort(type, std::string_view(bytes.data(), bytes.size()));
    }

    void addEffort(plist_type type, std::string_view bytes) {
        if (format_ == PropertyListFormat::Binary && !effort_.add(type, bytes)) {
            fail("The property list has too many values of one hash");
        }
    }

    const char* text(plist_type type, const std::string& text) {
        addSize(text);
        addEffort(type, std::string_view(text));
        if (!isValidUtf8(text) || text.find('\0') != text.npos) {
            fail("The property list holds text that is not UTF-8 or has a zero byte");
        }
        return text.c_str();
    }

    PropertyListFormat format_;
    BinaryEffort effort_;
    std::size_t nodes_ = 0;
    std::size_t bytes_ = 0; // of texts and data
};

} // namespace

PlistNode plistFromXml(std::string_view document) {
    PlainLocale locale;
    return parsed(plist_from_xml, document);
}

PlistNode plistFromBinary(std::string_view file) {
    return parsed(plist_from_bin, file);
}

std::string xmlFromPlist(plist_t node) {
    return printed(plist_to_xml, node);
}

std::string binaryFromPlist(plist_t node) {
    return printed(plist_to_bin, node);
}

PropertyList listFromPlist(plist_t node) {
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
        return arrayFrom(node);
    default:
        return dictionaryFrom(node);
    }
}

PlistNode plistFromList(const PropertyList& list, PropertyListFormat format) {
    return Builder(format).build(list, 1);
}

} // namespace platform
