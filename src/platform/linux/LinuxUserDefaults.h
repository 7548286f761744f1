#pragma once

#include "PreferencesFile.h"
#include "UserDefaults.h"

#include <mutex>

namespace platform {

// Preferences in the files `<bundle identifier>.plist` and `.GlobalPreferences.plist` of one folder.
// A read costs one system call per file while nobody writes. A write waits for other writers for at
// most two seconds; after that it counts as failed.
class LinuxUserDefaults : public UserDefaults {
public:
    LinuxUserDefaults(const std::string& preferencesFolder, const std::string& bundleIdentifier);

    void registerDefaults(const PropertyList::Dictionary& values) override;
    std::optional<PropertyList> objectForKey(const std::string& key) override;
    void setObject(const PropertyList& value, const std::string& key) override;
    std::optional<PropertyList> globalObjectForKey(const std::string& key) override;

private:
    PreferencesFile own_;
    PreferencesFile global_;

    std::mutex mutex_;                    // guards what follows
    PropertyList::Dictionary unsaved_;    // could not be stored, so it holds for this process only
    PropertyList::Dictionary registered_; // used while no domain has the key
};

} // namespace platform
