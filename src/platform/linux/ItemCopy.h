#pragma once

#include "ItemPlace.h"

namespace platform {

// Copies a file, a link or a folder with all that is in it. No link is followed. Used by one thread.
class ItemCopy {
public:
    // A name in an opened folder.
    struct Item {
        int folder;
        const char* name;
    };

    // Whom the copy is to belong to; absent: the process.
    explicit ItemCopy(std::optional<ItemPlace::Owner> owner) : owner_(owner) {}

    // Leaves what it has copied when it fails.
    std::error_code copy(const Item& from, const Item& to) const;

private:
    std::error_code copyLink(const Item& from, const Item& to) const;
    std::error_code copyFile(const Item& from, const Item& to, mode_t mode) const;
    std::error_code copyFolder(const Item& from, const Item& to, mode_t mode) const;
    std::error_code finish(int copy, mode_t mode) const;

    std::optional<ItemPlace::Owner> owner_;
};

} // namespace platform
