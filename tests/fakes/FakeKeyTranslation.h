#pragma once

#include "KeyTranslation.h"

#include <map>
#include <utility>
#include <vector>

// Gives what the test has put down for a key code, and nothing for any other.
class FakeKeyTranslation : public platform::KeyTranslation {
public:
    std::map<std::uint16_t, platform::TranslatedKey> keys;
    bool hasLayout = true;
    std::vector<std::pair<std::uint16_t, std::uint32_t>> asked;

    std::optional<platform::TranslatedKey> translate(std::uint16_t keyCode,
                                                     std::uint32_t modifierState) override {
        asked.emplace_back(keyCode, modifierState);
        const auto found = keys.find(keyCode);
        return !hasLayout ? std::nullopt
                          : std::optional(found == keys.end() ? platform::TranslatedKey() : found->second);
    }
};
