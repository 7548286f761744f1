#pragma once

#include <concepts>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

namespace platform {

// One value of a property list, with everything that hangs below it. A plain value: copied whole,
// compared whole, safe to read from several threads as long as nobody changes it.
//
// The accessors answer for one kind only: a value of another kind counts as absent, so that a number
// where text is expected is treated like no entry at all.
class PropertyList {
public:
    using Array = std::vector<PropertyList>;
    using Dictionary = std::map<std::string, PropertyList, std::less<>>;

    // Seconds since 1 January 2001, 00:00 UTC, fractions included.
    struct Date {
        double secondsSinceReferenceDate = 0;
        static constexpr std::int64_t kReferenceDate = 978'307'200; // in seconds since 1970
        bool operator==(const Date&) const = default;
    };

    // Raw bytes.
    struct Data {
        std::string bytes;
        bool operator==(const Data&) const = default;
    };

    // An object reference as keyed archives write it; kept so that such files survive a round trip.
    struct Uid {
        std::uint64_t value = 0;
        bool operator==(const Uid&) const = default;
    };

    // `integer` holds -2^63 to 2^63-1; larger unsigned values use `unsignedInteger`.
    using Value = std::variant<bool, std::int64_t, std::uint64_t, double, std::string, Date, Data, Uid, Array,
                               Dictionary>;

    template <std::same_as<bool> Bool>
    PropertyList(Bool value) : value_(value) {} // no pointer is a truth value
    PropertyList(int value) : value_(static_cast<std::int64_t>(value)) {}
    PropertyList(std::int64_t value) : value_(value) {}
    PropertyList(std::uint64_t value) : value_(value) {}
    PropertyList(double value) : value_(value) {}
    PropertyList(const char* value) : value_(std::string(value)) {}
    PropertyList(std::string value) : value_(std::move(value)) {}
    PropertyList(Date value) : value_(value) {}
    PropertyList(Data value) : value_(std::move(value)) {}
    PropertyList(Uid value) : value_(value) {}
    PropertyList(Array value) : value_(std::move(value)) {}
    PropertyList(Dictionary value) : value_(std::move(value)) {}

    const Value& value() const { return value_; }
    Value takeValue() && { return std::move(value_); }

    // Null when the value is of another kind. The pointer lives as long as this value is unchanged.
    const bool* boolean() const { return std::get_if<bool>(&value_); }
    const std::int64_t* integer() const { return std::get_if<std::int64_t>(&value_); }
    const double* real() const { return std::get_if<double>(&value_); }
    const Date* date() const { return std::get_if<Date>(&value_); }
    const std::string* string() const { return std::get_if<std::string>(&value_); }
    const Array* array() const { return std::get_if<Array>(&value_); }
    const Dictionary* dictionary() const { return std::get_if<Dictionary>(&value_); }

    bool operator==(const PropertyList&) const = default;

private:
    Value value_;
};

// The text under `key`; absent when there is no such key or its value is not text.
inline std::optional<std::string> stringForKey(const PropertyList::Dictionary& dictionary,
                                               std::string_view key) {
    auto found = dictionary.find(key);
    if (found == dictionary.end() || !found->second.string()) {
        return std::nullopt;
    }
    return *found->second.string();
}

} // namespace platform
