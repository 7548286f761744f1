#pragma once

#include "PropertyList.h"

#include <optional>
#include <string>

// The suite's own preferences: `com.vantorel.global.plist` in the user's Preferences folder. Any thread.

// What the file holds under that key now; absent without the key or a sound file.
std::optional<platform::PropertyList> globalPreference(const std::string& key);

// Whether it is a number or a boolean of this value.
bool isNumber(const std::optional<platform::PropertyList>& value, int number);

// Whether it is the text "1", or a number or a boolean of that value.
bool isOne(const std::optional<platform::PropertyList>& value);
