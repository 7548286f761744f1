#include "LinuxKeyTranslation.h"

#include "KeymapTranslation.h"

#include <memory>
#include <xcb/xcb.h>
#include <xkbcommon/xkbcommon-x11.h>

namespace platform {

namespace {

struct Disconnecter {
    void operator()(xcb_connection_t* connection) const { xcb_disconnect(connection); }
};

} // namespace

std::optional<TranslatedKey> LinuxKeyTranslation::translate(std::uint16_t keyCode,
                                                            std::uint32_t modifierState) {
    const std::unique_ptr<xcb_connection_t, Disconnecter> connection(xcb_connect(nullptr, nullptr));
    const auto context = newKeyboardContext();
    if (!context || xcb_connection_has_error(connection.get()) != 0 ||
        xkb_x11_setup_xkb_extension(connection.get(), XKB_X11_MIN_MAJOR_XKB_VERSION,
                                    XKB_X11_MIN_MINOR_XKB_VERSION, XKB_X11_SETUP_XKB_EXTENSION_NO_FLAGS,
                                    nullptr, nullptr, nullptr, nullptr) == 0) {
        return std::nullopt;
    }
    const auto keyboard = xkb_x11_get_core_keyboard_device_id(connection.get());
    const Keymap keymap(keyboard < 0 ? nullptr
                                     : xkb_x11_keymap_new_from_device(context.get(), connection.get(),
                                                                      keyboard, XKB_KEYMAP_COMPILE_NO_FLAGS));
    const KeyboardState state(keymap ? xkb_x11_state_new_from_device(keymap.get(), connection.get(), keyboard)
                                     : nullptr);
    if (!state) {
        return std::nullopt;
    }
    const auto layout = xkb_state_serialize_layout(state.get(), XKB_STATE_LAYOUT_EFFECTIVE);
    return translateKey(*keymap, layout, keyCode, modifierState);
}

} // namespace platform
