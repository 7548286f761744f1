#pragma once

#include "PropertyList.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

// The user's file of key bindings, which the whole suite and the manager share: a dictionary whose
// "watchlist" is an array of watch entries. There is no lock, and the last who writes wins; but nobody ever
// sees a file that is half written. What is not of one's own is kept as it is, in its order.
//
// An object is the file as it was read, to be changed and written back at once.
class BindingFile {
public:
    using PropertyList = platform::PropertyList;

    // Bits of an entry's "modifiers".
    static constexpr std::uint16_t kCommand = 0x0100;
    static constexpr std::uint16_t kShift = 0x0200;
    static constexpr std::uint16_t kOption = 0x0800;
    static constexpr std::uint16_t kControl = 0x1000;

    static std::uint16_t mask(bool shift, bool ctrl, bool cmd, bool opt);

    // A number of an entry; one that is missing counts as 0.
    static std::uint64_t numberForKey(const PropertyList::Dictionary& entry, std::string_view key);

    // com.vantorel.shortcutkeys.plist in the user's preferences; absent where there is no such folder.
    static std::optional<std::string> path();

    // Without any entry when the file is missing or cannot be read.
    static BindingFile read();
    bool wasRead() const { return found_ == Found::Bindings; }

    const PropertyList::Array& watchlist() const { return watchlist_; }

    // Takes out the first entry of the application whose `key` holds this value; none when that is absent.
    void removeFirst(std::string_view bundleIdentifier, std::string_view key,
                     const std::optional<PropertyList>& value);
    void append(PropertyList::Dictionary entry);

    // A file that was there and could not be read is kept under another name. Failure is silent.
    void write() const;

private:
    enum class Found { Nothing, Damage, Bindings };

    BindingFile() = default;

    PropertyList::Dictionary root_; // without the list
    PropertyList::Array watchlist_;
    Found found_ = Found::Nothing;
};
