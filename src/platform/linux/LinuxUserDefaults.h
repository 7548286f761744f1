#pragma once

#include "OperationQueue.h"
#include "PreferencesFile.h"
#include "UserDefaults.h"

#include <cstdint>
#include <map>
#include <mutex>
#include <span>

namespace platform {

// Preferences in the files `<bundle identifier>.plist` and `.GlobalPreferences.plist` of one folder.
// A read costs one system call per file while nobody writes. Values are written one after the other on a
// thread of this object's own, which waits for other writers for at most two seconds; after that a write
// counts as failed.
class LinuxUserDefaults : public UserDefaults {
public:
    LinuxUserDefaults(const std::string& preferencesFolder, const std::string& bundleIdentifier);
    ~LinuxUserDefaults() override; // synchronizes
    LinuxUserDefaults(const LinuxUserDefaults&) = delete;
    LinuxUserDefaults& operator=(const LinuxUserDefaults&) = delete;

    void registerDefaults(const PropertyList::Dictionary& values) override;
    std::optional<PropertyList> objectForKey(const std::string& key) override;
    void setObject(const PropertyList& value, const std::string& key) override;
    void synchronize() override;
    std::optional<PropertyList> globalObjectForKey(const std::string& key) override;

private:
    struct Unsaved {
        PropertyList value;
        std::uint64_t change; // tells it from what the key is set to later
    };

    std::optional<Unsaved> unsaved(const std::string& key);
    void save(const std::string& key);

    PreferencesFile own_;
    PreferencesFile global_;

    std::mutex mutex_;                       // guards what follows
    std::map<std::string, Unsaved> unsaved_; // not stored yet, or it cannot be
    std::uint64_t changes_ = 0;
    PropertyList::Dictionary registered_; // used while no domain has the key

    OperationQueue<std::string> keysToSave_; // last: its thread uses all of the above
};

} // namespace platform
