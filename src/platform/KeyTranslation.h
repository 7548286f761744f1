#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace platform {

// What pressing a key gives.
struct TranslatedKey {
    // 0, or a system error; then the text is empty and these say which.
    int status = 0;
    std::string statusName = {};
    std::string statusComment = {};

    // Empty for a key that gives none by itself, such as a dead key. Keys that no text is printed on have a
    // control character:
    //
    //   U+0001 home        U+0008 backspace   U+000C page down       U+001B escape
    //   U+0003 Enter of    U+0009 tab         U+000D return          U+001C to U+001F left, right, up and
    //          the keypad  U+000B page up     U+0019 tab with Shift         down arrow
    //   U+0004 end                                                   U+007F delete
    //
    // and others, such as the function keys, their name.
    std::string text = {};
};

// The keyboard as the user has set it up. Any thread.
class KeyTranslation {
public:
    // Bits of a modifier state; others are without effect.
    static constexpr std::uint32_t kShift = 0x02;
    static constexpr std::uint32_t kCapsLock = 0x04;
    static constexpr std::uint32_t kOption = 0x08; // the key for the third character of the others
    static constexpr std::uint32_t kControl = 0x10;

    virtual ~KeyTranslation() = default;

    // A press of the key in the layout that is in use at this moment. Key codes are those of the display
    // server. The numbers of the keypad count as being on. Absent when there is no layout.
    virtual std::optional<TranslatedKey> translate(std::uint16_t keyCode, std::uint32_t modifierState) = 0;
};

} // namespace platform
