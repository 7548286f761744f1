#include "DBusDictionary.h"

#include "CarriedText.h"

#include <cstdint>
#include <string_view>
#include <type_traits>

namespace platform {

namespace {

using Dictionary = PropertyList::Dictionary;
using Array = PropertyList::Array;

// A container's contents, written by `write`.
template <typename Write>
bool appendContainer(sd_bus_message* message, char type, const char* contents, Write write) {
    return sd_bus_message_open_container(message, type, contents) >= 0 && write() &&
           sd_bus_message_close_container(message) >= 0;
}

template <typename Write>
bool appendVariant(sd_bus_message* message, const char* type, Write write) {
    return appendContainer(message, 'v', type, write);
}

template <typename Scalar>
bool appendScalar(sd_bus_message* message, char type, Scalar value) {
    return sd_bus_message_append_basic(message, type, &value) >= 0;
}

template <typename Scalar>
bool appendScalarVariant(sd_bus_message* message, const char* type, Scalar value) {
    return appendVariant(message, type, [&] { return appendScalar(message, *type, value); });
}

// One kind of value each.
class ValueWriter {
public:
    explicit ValueWriter(sd_bus_message* message) : message_(message) {}

    bool operator()(bool value) const { return appendScalarVariant(message_, "b", int{value}); }
    bool operator()(std::int64_t value) const { return appendScalarVariant(message_, "x", value); }
    bool operator()(std::uint64_t value) const { return appendScalarVariant(message_, "t", value); }
    bool operator()(double value) const { return appendScalarVariant(message_, "d", value); }
    bool operator()(const std::string& value) const {
        return appendVariant(message_, "s", [&] { return appendText(message_, value); });
    }
    bool operator()(PropertyList::Date value) const {
        return appendVariant(message_, "(d)", [&] {
            return appendContainer(message_, 'r', "d", [&] {
                return appendScalar(message_, 'd', value.secondsSinceReferenceDate);
            });
        });
    }
    bool operator()(const PropertyList::Data& value) const {
        return appendVariant(message_, "ay", [&] {
            return sd_bus_message_append_array(message_, 'y', value.bytes.data(), value.bytes.size()) >= 0;
        });
    }
    bool operator()(PropertyList::Uid) const { return false; } // belongs to keyed archives alone
    bool operator()(const Array& values) const {
        return appendVariant(message_, "av", [&] {
            return appendContainer(message_, 'a', "v", [&] {
                for (const auto& value : values) {
                    if (!appendValue(message_, value)) {
                        return false;
                    }
                }
                return true;
            });
        });
    }
    bool operator()(const Dictionary& values) const {
        return appendVariant(message_, "a{sv}", [&] { return appendDictionary(message_, values); });
    }

private:
    sd_bus_message* message_;
};

// Reads values within the bounds of one message.
class ValueReader {
public:
    explicit ValueReader(sd_bus_message* message) : message_(message) {}

    std::optional<Dictionary> dictionary() {
        Dictionary result;
        const bool isRead = contents('a', "{sv}", [&] {
            return contents('e', "sv", [&] {
                auto key = text();
                auto value = key ? variant() : std::nullopt;
                if (value) {
                    result.insert_or_assign(std::move(*key), std::move(*value));
                }
                return value.has_value();
            });
        });
        return isRead ? std::optional(std::move(result)) : std::nullopt;
    }

private:
    static constexpr int kLevels = 16;

    // Enters a container and reads it: an array until `read` has read the last element, others once. False
    // when something went wrong.
    template <typename Read>
    bool contents(char type, const char* signature, Read read) {
        if (++level_ > 3 * kLevels || sd_bus_message_enter_container(message_, type, signature) <= 0) {
            return false;
        }
        do {
            int atEnd = type == 'a' ? sd_bus_message_at_end(message_, 0) : 0;
            if (atEnd > 0) {
                break;
            }
            if (atEnd < 0 || !read()) {
                return false;
            }
        } while (type == 'a');
        --level_;
        return sd_bus_message_exit_container(message_) >= 0;
    }

    bool spend(std::size_t bytes) {
        const bool isAffordable = valuesLeft_ > 0 && bytes <= bytesLeft_;
        if (isAffordable) {
            --valuesLeft_;
            bytesLeft_ -= bytes;
        }
        return isAffordable;
    }

    template <typename Scalar>
    std::optional<Scalar> scalar(char type) {
        Scalar value{};
        return spend(sizeof value) && sd_bus_message_read_basic(message_, type, &value) > 0
                   ? std::optional(value)
                   : std::nullopt;
    }

    // As a property list's number.
    template <typename Result, typename Scalar>
    std::optional<PropertyList> number(char type) {
        auto value = scalar<Scalar>(type);
        return value ? std::optional<PropertyList>(static_cast<Result>(*value)) : std::nullopt;
    }

    std::optional<std::string> text() {
        const char* value = nullptr;
        if (sd_bus_message_read_basic(message_, 's', &value) <= 0 || !spend(std::string_view(value).size())) {
            return std::nullopt;
        }
        return value;
    }

    std::optional<PropertyList> data() {
        const void* bytes = nullptr;
        std::size_t size = 0;
        if (sd_bus_message_read_array(message_, 'y', &bytes, &size) < 0 || !spend(size)) {
            return std::nullopt;
        }
        return PropertyList::Data{std::string(static_cast<const char*>(bytes), size)};
    }

    template <typename Element>
    std::optional<PropertyList> array(const char* type, Element element) {
        Array result;
        const bool isRead = contents('a', type, [&] {
            auto value = element();
            if (value) {
                result.emplace_back(std::move(*value));
            }
            return value.has_value();
        });
        return isRead && spend(0) ? std::optional<PropertyList>(std::move(result)) : std::nullopt;
    }

    std::optional<PropertyList> date() {
        std::optional<double> seconds;
        const bool isRead = contents('r', "d", [&] { return (seconds = scalar<double>('d')).has_value(); });
        return isRead ? std::optional<PropertyList>(PropertyList::Date{*seconds}) : std::nullopt;
    }

    std::optional<PropertyList> variant() {
        const char* type = nullptr;
        std::optional<PropertyList> value;
        if (sd_bus_message_peek_type(message_, nullptr, &type) <= 0 || !type) {
            return std::nullopt;
        }
        const bool isRead = contents('v', type, [&, signature = std::string(type)] {
            value = valueOf(signature);
            return value.has_value();
        });
        return isRead ? std::move(value) : std::nullopt;
    }

    std::optional<PropertyList> valueOf(std::string_view type) {
        if (type == "s") {
            auto value = text();
            return value ? std::optional<PropertyList>(std::move(*value)) : std::nullopt;
        }
        if (type == "b") {
            auto value = scalar<int>('b');
            return value ? std::optional<PropertyList>(*value != 0) : std::nullopt;
        }
        if (type == "a{sv}") {
            auto value = dictionary();
            return value && spend(0) ? std::optional<PropertyList>(std::move(*value)) : std::nullopt;
        }
        if (type == "av") {
            return array("v", [this] { return variant(); });
        }
        if (type == "as") {
            return array("s", [this] { return text(); });
        }
        return type == "ay" ? data() : type == "(d)" ? date() : numberOf(type);
    }

    std::optional<PropertyList> numberOf(std::string_view type) {
        switch (type.size() == 1 ? type.front() : '\0') {
        case 'y':
            return number<std::int64_t, std::uint8_t>('y');
        case 'n':
            return number<std::int64_t, std::int16_t>('n');
        case 'q':
            return number<std::int64_t, std::uint16_t>('q');
        case 'i':
            return number<std::int64_t, std::int32_t>('i');
        case 'u':
            return number<std::int64_t, std::uint32_t>('u');
        case 'x':
            return number<std::int64_t, std::int64_t>('x');
        case 't':
            return number<std::uint64_t, std::uint64_t>('t');
        case 'd':
            return number<double, double>('d');
        default:
            return std::nullopt;
        }
    }

    sd_bus_message* message_;
    int level_ = 0;
    int valuesLeft_ = 1'000;
    std::size_t bytesLeft_ = std::size_t{256} << 10;
};

} // namespace

bool appendText(sd_bus_message* message, const std::string& text) {
    return sd_bus_message_append_basic(message, 's', carriedText(text).c_str()) >= 0;
}

bool appendValue(sd_bus_message* message, const PropertyList& value) {
    return std::visit(ValueWriter(message), value.value());
}

bool appendDictionary(sd_bus_message* message, const Dictionary& dictionary) {
    return appendContainer(message, 'a', "{sv}", [&] {
        for (const auto& entry : dictionary) {
            const bool isWritten = appendContainer(message, 'e', "sv", [&] {
                return appendText(message, entry.first) && appendValue(message, entry.second);
            });
            if (!isWritten) {
                return false;
            }
        }
        return true;
    });
}

std::optional<Dictionary> readDictionary(sd_bus_message* message) {
    return ValueReader(message).dictionary();
}

} // namespace platform
