#pragma once

#include "FileDescriptor.h"

#include <optional>
#include <string>
#include <sys/types.h>

namespace platform {

// Where a new file or folder goes: its parent folder, opened, and its name there.
//
// Below the console user's home a root process must not be led astray: there no link is followed, and
// what it makes belongs to the home's owner.
class NewItemPlace {
public:
    struct Owner {
        uid_t user;
        gid_t group;
    };

    explicit NewItemPlace(const std::string& path);

    std::error_code error() const { return error_; } // why the parent could not be opened
    int folder() const { return folder_.get(); }
    const char* name() const { return name_.c_str(); }
    const std::optional<Owner>& owner() const { return owner_; } // absent: the process's own

    // A new, empty file in the folder; the X characters at the end of `name` are filled in. None with
    // errno set on failure.
    FileDescriptor createTemporary(std::string& name) const;

    // Gives `file` the mode and owner of what stands at the place now, or of a new item when there is
    // nothing.
    std::error_code giveAttributes(int file) const;

private:
    void openBelowHome(const std::string& home, const std::string& path);

    FileDescriptor folder_;
    std::string name_;
    std::optional<Owner> owner_;
    std::error_code error_;
};

} // namespace platform
