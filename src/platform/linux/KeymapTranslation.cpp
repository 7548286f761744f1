#include "KeymapTranslation.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <string_view>
#include <xkbcommon/xkbcommon-keysyms.h>
#include <xkbcommon/xkbcommon.h>

namespace platform {

namespace {

struct KeysymText {
    xkb_keysym_t keysym;
    const char* text;
};

// Keys that no text is printed on and that are known by a control character.
constexpr std::array<KeysymText, 24> kControlCharacters{{
    {XKB_KEY_Home, "\x01"},      {XKB_KEY_KP_Home, "\x01"},      {XKB_KEY_End, "\x04"},
    {XKB_KEY_KP_End, "\x04"},    {XKB_KEY_Page_Up, "\x0B"},      {XKB_KEY_KP_Page_Up, "\x0B"},
    {XKB_KEY_Page_Down, "\x0C"}, {XKB_KEY_KP_Page_Down, "\x0C"}, {XKB_KEY_Left, "\x1C"},
    {XKB_KEY_KP_Left, "\x1C"},   {XKB_KEY_Right, "\x1D"},        {XKB_KEY_KP_Right, "\x1D"},
    {XKB_KEY_Up, "\x1E"},        {XKB_KEY_KP_Up, "\x1E"},        {XKB_KEY_Down, "\x1F"},
    {XKB_KEY_KP_Down, "\x1F"},   {XKB_KEY_KP_Enter, "\x03"},     {XKB_KEY_Return, "\x0D"},
    {XKB_KEY_Tab, "\x09"},       {XKB_KEY_ISO_Left_Tab, "\x19"}, {XKB_KEY_BackSpace, "\x08"},
    {XKB_KEY_Delete, "\x7F"},    {XKB_KEY_KP_Delete, "\x7F"},    {XKB_KEY_Escape, "\x1B"},
}};

// Keys that have a name in place of a text; function keys and those of makers are named by rule.
constexpr std::array<KeysymText, 13> kNames{{
    {XKB_KEY_Insert, "Insert"},
    {XKB_KEY_KP_Insert, "Insert"},
    {XKB_KEY_Print, "Print Screen"},
    {XKB_KEY_Sys_Req, "System Request"},
    {XKB_KEY_Scroll_Lock, "Scroll Lock"},
    {XKB_KEY_Pause, "Pause"},
    {XKB_KEY_Break, "Break"},
    {XKB_KEY_Menu, "Menu"},
    {XKB_KEY_Help, "Help"},
    {XKB_KEY_Clear, "Clear"},
    {XKB_KEY_Undo, "Undo"},
    {XKB_KEY_Find, "Find"},
    {XKB_KEY_Linefeed, "Line Feed"},
}};

constexpr std::string_view kMakersPrefix = "XF86"; // keys for sound, brightness and the like

const char* find(const auto& table, xkb_keysym_t keysym) {
    const auto found = std::ranges::find(table, keysym, &KeysymText::keysym);
    return found == table.end() ? nullptr : found->text;
}

std::string nameOfKeysym(xkb_keysym_t keysym) {
    std::array<char, 64> name{};
    xkb_keysym_get_name(keysym, name.data(), name.size());
    return name.data();
}

// A state in which these modifiers are held.
KeyboardState stateWith(xkb_keymap& keymap, xkb_layout_index_t layout, std::uint32_t modifierState) {
    KeyboardState state(xkb_state_new(&keymap));
    const auto mask = [&](std::uint32_t flag, const char* modifier) -> xkb_mod_mask_t {
        const auto index = xkb_keymap_mod_get_index(&keymap, modifier);
        return (modifierState & flag) != 0 && index != XKB_MOD_INVALID ? xkb_mod_mask_t{1} << index : 0;
    };
    if (state) {
        constexpr const char* kThirdLevel = "Mod5"; // in all keymaps of the system's rules
        const auto held = mask(KeyTranslation::kShift, XKB_MOD_NAME_SHIFT) |
                          mask(KeyTranslation::kOption, kThirdLevel) |
                          mask(KeyTranslation::kControl, XKB_MOD_NAME_CTRL);
        xkb_state_update_mask(state.get(), held, 0, mask(KeyTranslation::kCapsLock, XKB_MOD_NAME_CAPS), 0, 0,
                              layout);
    }
    return state;
}

// What the keypad's key types while its numbers are on; empty for a key that has none.
std::string numberOf(xkb_keymap& keymap, xkb_layout_index_t layout, xkb_keycode_t key) {
    const xkb_keysym_t* keysyms = nullptr;
    std::array<char, 8> text{};
    if (xkb_keymap_key_get_syms_by_level(&keymap, key, layout, 1, &keysyms) == 1) {
        xkb_keysym_to_utf8(*keysyms, text.data(), text.size());
    }
    return text.data();
}

bool isOfKeypad(xkb_keysym_t keysym) {
    return keysym >= XKB_KEY_KP_Home && keysym <= XKB_KEY_KP_Delete;
}

std::string textOf(xkb_keymap& keymap, xkb_layout_index_t layout, xkb_state& state, xkb_keycode_t key) {
    const auto keysym = xkb_state_key_get_one_sym(&state, key);
    if (isOfKeypad(keysym)) {
        if (auto number = numberOf(keymap, layout, key); !number.empty()) {
            return number;
        }
    }
    if (const char* control = find(kControlCharacters, keysym)) {
        return control;
    }
    if (const char* name = find(kNames, keysym)) {
        return name;
    }
    if (keysym >= XKB_KEY_F1 && keysym <= XKB_KEY_F35) {
        return nameOfKeysym(keysym);
    }
    std::array<char, 256> text{}; // one keysym gives a few bytes, a key with several a few more
    xkb_state_key_get_utf8(&state, key, text.data(), text.size());
    if (text.front() != '\0') {
        return text.data();
    }
    const auto name = nameOfKeysym(keysym);
    return name.starts_with(kMakersPrefix) ? name.substr(kMakersPrefix.size()) : "";
}

TranslatedKey failure(int status) {
    return {.status = status,
            .statusName = ::strerrorname_np(status),
            .statusComment = ::strerrordesc_np(status)};
}

} // namespace

void KeymapDeleter::operator()(xkb_context* context) const {
    xkb_context_unref(context);
}
void KeymapDeleter::operator()(xkb_keymap* keymap) const {
    xkb_keymap_unref(keymap);
}
void KeymapDeleter::operator()(xkb_state* state) const {
    xkb_state_unref(state);
}

KeyboardContext newKeyboardContext() {
    return KeyboardContext(xkb_context_new(XKB_CONTEXT_NO_FLAGS));
}

TranslatedKey translateKey(xkb_keymap& keymap, xkb_layout_index_t layout, std::uint16_t keyCode,
                           std::uint32_t modifierState) {
    if (keyCode < xkb_keymap_min_keycode(&keymap) || keyCode > xkb_keymap_max_keycode(&keymap)) {
        return failure(EINVAL); // no keyboard has such a key
    }
    const auto state = stateWith(keymap, layout, modifierState);
    return state ? TranslatedKey{.text = textOf(keymap, layout, *state, keyCode)} : failure(ENOMEM);
}

KeymapTranslation KeymapTranslation::fromNames(const std::string& layout, const std::string& variant) {
    const auto context = newKeyboardContext();
    const xkb_rule_names names{.rules = "evdev",
                               .model = "pc105",
                               .layout = layout.c_str(),
                               .variant = variant.c_str(),
                               .options = ""};
    return KeymapTranslation(Keymap(
        context ? xkb_keymap_new_from_names(context.get(), &names, XKB_KEYMAP_COMPILE_NO_FLAGS) : nullptr));
}

KeymapTranslation KeymapTranslation::fromText(const std::string& text) {
    const auto context = newKeyboardContext();
    return KeymapTranslation(
        Keymap(context ? xkb_keymap_new_from_string(context.get(), text.c_str(), XKB_KEYMAP_FORMAT_TEXT_V1,
                                                    XKB_KEYMAP_COMPILE_NO_FLAGS)
                       : nullptr));
}

std::optional<TranslatedKey> KeymapTranslation::translate(std::uint16_t keyCode,
                                                          std::uint32_t modifierState) {
    return keymap_ ? std::optional(translateKey(*keymap_, 0, keyCode, modifierState)) : std::nullopt;
}

} // namespace platform
