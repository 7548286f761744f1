#include "UserDefaults.h"

#include <cmath>
#include <cstdlib>

namespace platform {

std::int64_t integerValue(const PropertyList& value) {
    if (const auto* number = value.integer()) {
        return *number;
    }
    if (const auto* boolean = value.boolean()) {
        return *boolean ? 1 : 0;
    }
    if (const auto* real = value.real()) {
        constexpr auto kLimit = 9.2e18; // safely inside 64 bits
        return std::isfinite(*real) && std::abs(*real) < kLimit ? static_cast<std::int64_t>(*real) : 0;
    }
    if (const auto* text = value.string()) {
        return std::strtoll(text->c_str(), nullptr, 10);
    }
    return 0;
}

std::int64_t UserDefaults::integerForKey(const std::string& key) {
    const auto value = objectForKey(key);
    return value ? integerValue(*value) : 0;
}

std::optional<std::vector<std::string>> UserDefaults::stringArrayForKey(const std::string& key) {
    auto value = objectForKey(key);
    if (!value || !value->array()) {
        return std::nullopt;
    }
    std::vector<std::string> texts;
    for (const auto& element : *value->array()) {
        if (!element.string()) {
            return std::nullopt;
        }
        texts.push_back(*element.string());
    }
    return texts;
}

} // namespace platform
