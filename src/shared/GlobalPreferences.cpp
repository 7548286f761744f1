#include "GlobalPreferences.h"

#include "PropertyListSerialization.h"
#include "VTLocalPaths.h"

using platform::PropertyList;

std::optional<PropertyList> globalPreference(const std::string& key) {
    const auto path =
        VTLocalPaths::appending(VTLocalPaths::prefsDirectory(true), "com.vantorel.global.plist");
    const auto preferences = path ? platform::dictionaryWithContentsOfFile(*path) : std::nullopt;
    if (!preferences) {
        return std::nullopt;
    }
    const auto found = preferences->find(key);
    return found == preferences->end() ? std::nullopt : std::optional(found->second);
}

bool isNumber(const std::optional<PropertyList>& value, int number) {
    return value == PropertyList(number) || value == PropertyList(static_cast<double>(number)) ||
           ((number == 0 || number == 1) && value == PropertyList(number == 1));
}

bool isOne(const std::optional<PropertyList>& value) {
    return value == PropertyList("1") || isNumber(value, 1);
}
