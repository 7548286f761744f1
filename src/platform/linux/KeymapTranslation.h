#pragma once

#include "KeyTranslation.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <utility>

// The library's own types.
struct xkb_context;
struct xkb_keymap;
struct xkb_state;

namespace platform {

struct KeymapDeleter {
    void operator()(xkb_context* context) const;
    void operator()(xkb_keymap* keymap) const;
    void operator()(xkb_state* state) const;
};
using KeyboardContext = std::unique_ptr<xkb_context, KeymapDeleter>;
using Keymap = std::unique_ptr<xkb_keymap, KeymapDeleter>;
using KeyboardState = std::unique_ptr<xkb_state, KeymapDeleter>;

// Null when there is no memory.
KeyboardContext newKeyboardContext();

// A key of the keymap, pressed in one of its layouts.
TranslatedKey translateKey(xkb_keymap& keymap, std::uint32_t layout, std::uint16_t keyCode,
                           std::uint32_t modifierState);

// A keymap that stays as it was given.
class KeymapTranslation : public KeyTranslation {
public:
    // Without a keymap there is no layout.
    explicit KeymapTranslation(Keymap keymap) : keymap_(std::move(keymap)) {}

    // By the names of the system's keyboard rules: ("us", "intl").
    static KeymapTranslation fromNames(const std::string& layout, const std::string& variant = {});
    // A compiled keymap's text.
    static KeymapTranslation fromText(const std::string& text);

    std::optional<TranslatedKey> translate(std::uint16_t keyCode, std::uint32_t modifierState) override;

private:
    Keymap keymap_;
};

} // namespace platform
