#pragma once

#include "FileDescriptor.h"

#include <optional>
#include <string>
#include <sys/types.h>

namespace platform {

// Where an item stands or is to stand: its parent folder, opened, and its name there.
//
// Below a home that is not root's own, a root process must not be led astray: there no link is followed,
// and what it makes belongs to the home's owner.
class ItemPlace {
public:
    struct Owner {
        uid_t user;
        gid_t group;
    };

    // What a link at the place itself stands for. Below a guarded home it is never followed.
    enum class FinalLink { Kept, Followed };

    ItemPlace(const std::string& path, FinalLink finalLink);

    std::error_code error() const { return error_; } // why there is no such place

    // The parent folder: an O_PATH descriptor, for calls relative to it.
    int folder() const { return folder_.get(); }
    const char* name() const { return name_.c_str(); }

    // To whom a new item belongs; absent: to the process.
    const std::optional<Owner>& owner() const { return owner_; }

private:
    void enter(const std::string& path, int flags = 0);
    void enterBelowHome(const std::string& home, const std::string& parent);

    FileDescriptor folder_;
    std::string name_;
    std::optional<Owner> owner_;
    std::error_code error_;
};

} // namespace platform
