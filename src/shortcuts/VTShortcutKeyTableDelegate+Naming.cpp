#include "BindingFile.h"
#include "Format.h"
#include "KeyNameTable.h"
#include "Platform.h"
#include "Text.h"
#include "VTShortcutKeyTableDelegate.h"

#include <array>
#include <utility>

std::string VTShortcutKeyTableDelegate::nameForKeyCode(std::uint64_t keyCode, std::uint64_t modifiers) {
    constexpr std::array<std::pair<std::uint16_t, const char*>, 4> kPrefixes{
        {{BindingFile::kControl, "Ctrl+"},
         {BindingFile::kShift, "Shift+"},
         {BindingFile::kOption, "Alt+"},
         {BindingFile::kCommand, "Cmd+"}}};
    const auto mask = static_cast<std::uint16_t>(modifiers);
    std::string name;
    for (const auto& [bit, prefix] : kPrefixes) {
        if ((mask & bit) != 0) {
            name += prefix;
        }
    }
    // Named as if pressed alone: what Shift makes of it is not what is printed on the key.
    auto key = stringForKeyCode(static_cast<std::uint16_t>(keyCode), 0);
    if (key && platform::utf16Length(*key) == 1) {
        key = platform::uppercase(*key);
    }
    return name + format("%@", key);
}

std::optional<std::string> VTShortcutKeyTableDelegate::stringForKeyCode(std::uint16_t keyCode,
                                                                        std::uint32_t modifierFlags) {
    const auto& services = platform::current();
    const auto key = services.keyTranslation->translate(keyCode, modifierFlags);
    if (!key) {
        services.consoleLog->log("Couldn't find a suitable keyboard layout from which to translate");
        return std::nullopt;
    }
    if (key->status != 0) {
        // What it calls the key code has always been the status.
        services.consoleLog->log(
            format("There was an %s error translating from the '%ld' key code to a human readable string: %s",
                   key->statusName, key->status, key->statusComment));
        return std::nullopt;
    }
    if (key->text.empty()) {
        services.consoleLog->log(format("Couldn't find a translation for the '%d' key code", keyCode));
        return std::nullopt;
    }
    if (const char* name = keyNameForText(key->text)) {
        return services.localizedStrings->localizedString(name);
    }
    return key->text;
}
