#pragma once

#include "LocalizedStrings.h"

#include <map>

// The language that the test has put down; English for the rest.
class FakeLocalizedStrings : public platform::LocalizedStrings {
public:
    std::map<std::string, std::string> strings;

    std::string localizedString(const std::string& key) override {
        const auto found = strings.find(key);
        return found == strings.end() ? key : found->second;
    }
};
