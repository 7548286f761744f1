#pragma once

#include "PropertyList.h"

#include <ctime>
#include <mutex>
#include <optional>
#include <string>
#include <sys/types.h>

namespace platform {

// One domain of the user's preferences: a property-list file with a dictionary, shared with other
// processes. Any thread.
class PreferencesFile {
public:
    PreferencesFile(std::string folder, const std::string& name);

    const std::string& path() const { return path_; }

    // What the file holds under `key` now. A missing or damaged file holds nothing.
    std::optional<PropertyList> value(const std::string& key);

    // Changes this one key in the file as it is now, and makes the folder if need be. A damaged file
    // is kept as `<name>.damaged-<time>` first. Throws `Exception` when the value cannot be stored.
    void setValue(const PropertyList& value, const std::string& key);

private:
    // Tells one state of the file from another.
    struct Stamp {
        dev_t device;
        ino_t inode;
        off_t size;
        std::timespec modified;

        bool operator==(const Stamp& other) const;
        bool isSettled() const;
    };

    std::optional<Stamp> stamp() const; // absent when there is no file
    void refresh();

    const std::string folder_;
    const std::string path_;

    std::mutex mutex_; // guards what follows
    PropertyList::Dictionary values_;
    std::optional<Stamp> stamp_; // of the file that `values_` was read from
    bool isTrusted_ = false;     // an equal stamp means equal contents
};

} // namespace platform
