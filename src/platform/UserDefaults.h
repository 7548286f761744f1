#pragma once

#include "PropertyList.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace platform {

// A number as it is, a boolean as 0 or 1, text as far as it reads as a decimal number, anything else as 0.
// Any thread.
std::int64_t integerValue(const PropertyList& value);

// The user's preferences: one property-list file per domain in a Preferences folder. A value is looked
// for in the application's own domain, then in the global domain, then among the registered values.
// Every read sees what another process has written; a write changes its own key only and replaces the
// file as a whole. A damaged file reads as empty and is kept as `<name>.damaged-<time>` before it is
// replaced. Any thread.
class UserDefaults {
public:
    virtual ~UserDefaults() = default;

    // Values used while the user has stored none. They are never written.
    virtual void registerDefaults(const PropertyList::Dictionary& values) = 0;

    // Absent when no domain has the key.
    virtual std::optional<PropertyList> objectForKey(const std::string& key) = 0;

    // See `integerValue`; an absent value is 0.
    std::int64_t integerForKey(const std::string& key);

    // Absent when there is none or it holds anything but text.
    std::optional<std::vector<std::string>> stringArrayForKey(const std::string& key);

    // Stores under the application's own domain. The value holds at once; it reaches the file soon after,
    // and nobody waits for that. A failure (full disk, read-only folder) is written to the console; the value
    // then holds for this process until it ends.
    virtual void setObject(const PropertyList& value, const std::string& key) = 0;

    // Returns when every value that was set before the call is in its file, or could not be stored.
    virtual void synchronize() = 0;

    // What the user's global domain (`.GlobalPreferences.plist`) holds under `key`.
    virtual std::optional<PropertyList> globalObjectForKey(const std::string& key) = 0;
};

} // namespace platform
