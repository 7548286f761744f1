#include "linux/KeymapTranslation.h"
#include "linux/LinuxKeyTranslation.h"

#include <cstdlib>
#include <gtest/gtest.h>

using namespace platform;

namespace {

constexpr std::uint16_t kA = 38;
constexpr std::uint16_t kTwo = 11;
constexpr std::uint16_t kQ = 24;

// A key that gives this keysym, and no others.
KeymapTranslation keymapWith(const std::string& keysym) {
    return KeymapTranslation::fromText(
        "xkb_keymap { xkb_keycodes { minimum = 8; maximum = 255; <K> = 38; };"
        "xkb_types { include \"complete\" }; xkb_compat { include \"complete\" };"
        "xkb_symbols { key <K> { [ " +
        keysym + " ] }; }; };");
}

std::string textOf(const std::string& keysym) {
    const auto key = keymapWith(keysym).translate(kA, 0);
    EXPECT_TRUE(key) << keysym;
    EXPECT_TRUE(!key || key->status == 0) << keysym;
    return key ? key->text : "no keymap";
}

} // namespace

TEST(KeymapTranslation, KeysWithoutPrintedTextHaveControlCharacters) {
    const std::pair<const char*, const char*> expected[] = {
        {"Home", "\x01"},   {"KP_Home", "\x01"}, {"End", "\x04"},          {"KP_End", "\x04"},
        {"Prior", "\x0B"},  {"Next", "\x0C"},    {"Left", "\x1C"},         {"Right", "\x1D"},
        {"Up", "\x1E"},     {"Down", "\x1F"},    {"KP_Up", "\x1E"},        {"KP_Enter", "\x03"},
        {"Return", "\x0D"}, {"Tab", "\x09"},     {"ISO_Left_Tab", "\x19"}, {"BackSpace", "\x08"},
        {"Delete", "\x7F"}, {"Escape", "\x1B"},  {"space", " "},           {"KP_Delete", "\x7F"}};
    for (const auto& [keysym, text] : expected) {
        EXPECT_EQ(textOf(keysym), text) << keysym;
    }
}

TEST(KeymapTranslation, KeysWithANameHaveIt) {
    EXPECT_EQ(textOf("F1"), "F1");
    EXPECT_EQ(textOf("F35"), "F35");
    EXPECT_EQ(textOf("Print"), "Print Screen");
    EXPECT_EQ(textOf("Insert"), "Insert");
    EXPECT_EQ(textOf("Clear"), "Clear");        // not the control character that it would be in a terminal
    EXPECT_EQ(textOf("Linefeed"), "Line Feed"); // the same
    EXPECT_EQ(textOf("XF86AudioPlay"), "AudioPlay");
}

TEST(KeymapTranslation, DeadKeysAndModifiersGiveNothing) {
    for (const char* keysym : {"dead_acute", "dead_circumflex", "Shift_L", "Super_L", "ISO_Level3_Shift",
                               "Caps_Lock", "Multi_key"}) {
        EXPECT_EQ(textOf(keysym), "") << keysym;
    }
}

TEST(KeymapTranslation, ModifiersChooseAmongTheTexts) {
    auto german = KeymapTranslation::fromNames("de");
    EXPECT_EQ(german.translate(kTwo, 0)->text, "2");
    EXPECT_EQ(german.translate(kTwo, KeyTranslation::kShift)->text, "\"");
    EXPECT_EQ(german.translate(kQ, KeyTranslation::kOption)->text, "@");
    EXPECT_EQ(german.translate(kQ, KeyTranslation::kCapsLock)->text, "Q");
    EXPECT_EQ(german.translate(kQ, 0x01)->text, "q"); // Command
}

TEST(KeymapTranslation, ACodeThatNoKeyboardHasIsAnError) {
    auto american = KeymapTranslation::fromNames("us");
    const auto key = american.translate(3, 0);
    ASSERT_TRUE(key);
    EXPECT_EQ(key->status, 22);
    EXPECT_EQ(key->statusName, "EINVAL");
    EXPECT_EQ(key->statusComment, "Invalid argument");
    EXPECT_EQ(key->text, "");
    EXPECT_NE(american.translate(0xFFFF, 0)->status, 0);
}

TEST(KeymapTranslation, WithoutAKeymapThereIsNoLayout) {
    EXPECT_FALSE(KeymapTranslation::fromText("no keymap").translate(kA, 0));
    EXPECT_FALSE(KeymapTranslation::fromNames("no-such-layout").translate(kA, 0));
}

TEST(KeymapTranslation, WithoutADisplayThereIsNoLayout) {
    ::unsetenv("DISPLAY");
    EXPECT_FALSE(LinuxKeyTranslation().translate(kA, 0));
    ::setenv("DISPLAY", ":64999", 1);
    EXPECT_FALSE(LinuxKeyTranslation().translate(kA, 0));
}
