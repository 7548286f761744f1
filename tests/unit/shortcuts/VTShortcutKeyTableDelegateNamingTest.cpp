#include "KeyNameTable.h"
#include "Platform.h"
#include "ShortcutFixture.h"

using testing::ElementsAre;
using testing::IsEmpty;
using Controller = VTShortcutKeyTableDelegate;

namespace {

class ShortcutNamingTest : public ShortcutTest {
protected:
    std::string name(const std::string& text, std::uint64_t modifiers = 0) {
        keyboard->keys[99] = {.text = text};
        return Controller::nameForKeyCode(99, modifiers);
    }
};

} // namespace

TEST_F(ShortcutNamingTest, EveryRowOfTheTable) {
    const std::vector<std::pair<std::string, std::string>> rows{
        {"\uF700", "Up Arrow"}, {"\uF701", "Down Arrow"}, {"\uF702", "Left Arrow"}, {"\uF703", "Right Arrow"},
        {"\uF729", "Home"},     {"\uF72B", "End"},        {"\uF72C", "Page Up"},    {"\uF72D", "Page Down"},
        {"\x1E", "Up Arrow"},   {"\x1F", "Down Arrow"},   {"\x1C", "Left Arrow"},   {"\x1D", "Right Arrow"},
        {"\x01", "Home"},       {"\x04", "End"},          {"\x0B", "Page Up"},      {"\x0C", "Page Down"},
        {"\x03", "Return"},     {"\x09", "Tab"},          {"\x19", "Backtab"},      {"\x0D", "Enter"},
        {"\x08", "Backspace"},  {"\x7F", "Delete"},       {"\x1B", "Escape"},       {" ", "Space"}};
    for (const auto& [text, expected] : rows) {
        EXPECT_EQ(name(text), expected);
        EXPECT_EQ(name(text + "more"), expected); // only the first unit counts
    }
    EXPECT_EQ(rows.size(), 24U);
}

TEST_F(ShortcutNamingTest, OtherControlCharactersAreNotInTheTable) {
    for (const char* text : {"\x02", "\x05", "\x0A", "\uF704", "\uF728", "a", "\u00A0", "\U0001F700"}) {
        EXPECT_EQ(keyNameForText(text), nullptr);
    }
    EXPECT_EQ(keyNameForText(""), nullptr);
}

TEST_F(ShortcutNamingTest, ModifiersStandInTheirOrder) {
    EXPECT_EQ(name("q", 0x1B00), "Ctrl+Shift+Alt+Cmd+Q");
    EXPECT_EQ(name("q", 0x0300), "Shift+Cmd+Q");
    EXPECT_EQ(name("q", 0x1900), "Ctrl+Alt+Cmd+Q");
    EXPECT_EQ(name("q", 0xE4FF), "Q"); // bits that mean nothing
}

TEST_F(ShortcutNamingTest, OfBothNumbersSixteenBitsCount) {
    EXPECT_EQ(Controller::nameForKeyCode(0x10000 + 24, 0x10100), "Cmd+Q");
    EXPECT_EQ(Controller::nameForKeyCode(static_cast<std::uint64_t>(-1) - 0xFFFF + 24, 0), "Q");
}

TEST_F(ShortcutNamingTest, TheKeyIsNamedAsIfPressedAlone) {
    EXPECT_EQ(name("2", 0x0200), "Shift+2");
    EXPECT_THAT(keyboard->asked, ElementsAre(std::pair<std::uint16_t, std::uint32_t>(99, 0)));
}

TEST_F(ShortcutNamingTest, OneUnitIsUpperCasedInFull) {
    EXPECT_EQ(name("k"), "K");
    EXPECT_EQ(name("é"), "É");
    EXPECT_EQ(name("ß"), "SS");
    EXPECT_EQ(name("ж"), "Ж");
}

TEST_F(ShortcutNamingTest, MoreThanOneUnitStaysAsItCame) {
    EXPECT_EQ(name("´e"), "´e");
    EXPECT_EQ(name("f1"), "f1");
    EXPECT_EQ(name("\U00010428"), "\U00010428"); // a small letter of two units
}

TEST_F(ShortcutNamingTest, NamesAreLocalised) {
    language->strings = {{"Space", "Leertaste"}, {"Tab", "t"}, {"k", "never asked for"}};
    EXPECT_EQ(name(" ", 0x0100), "Cmd+Leertaste");
    EXPECT_EQ(name("\t"), "T"); // upper-cased like any other single unit
    EXPECT_EQ(name("k"), "K");
    EXPECT_EQ(name("\r"), "Enter");
}

TEST_F(ShortcutNamingTest, WithoutALayout) {
    keyboard->hasLayout = false;
    EXPECT_EQ(Controller::nameForKeyCode(45, 0x0100), "Cmd+(null)");
    EXPECT_EQ(Controller::stringForKeyCode(45, 0), std::nullopt);
    const auto* line = "Couldn't find a suitable keyboard layout from which to translate";
    EXPECT_THAT(sandbox::console().lines(), ElementsAre(line, line));
}

TEST_F(ShortcutNamingTest, AFailureStandsWhereItSaysKeyCode) {
    keyboard->keys[99] = {.status = 22, .statusName = "EINVAL", .statusComment = "Invalid argument"};
    EXPECT_EQ(Controller::nameForKeyCode(99, 0), "(null)");
    EXPECT_THAT(sandbox::console().lines(),
                ElementsAre("There was an EINVAL error translating from the '22' key code to a human "
                            "readable string: Invalid argument"));
}

TEST_F(ShortcutNamingTest, AnEmptyTranslation) {
    EXPECT_EQ(Controller::nameForKeyCode(50, 0x0300), "Shift+Cmd+(null)");
    EXPECT_THAT(sandbox::console().lines(), ElementsAre("Couldn't find a translation for the '50' key code"));
}

TEST_F(ShortcutNamingTest, ModifierFlagsArePassedOnUnchanged) {
    keyboard->keys[45] = {.text = "K"};
    EXPECT_EQ(Controller::stringForKeyCode(45, 0x02), "K");
    EXPECT_THAT(keyboard->asked, ElementsAre(std::pair<std::uint16_t, std::uint32_t>(45, 0x02)));
}
