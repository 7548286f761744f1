#include "KeyNameTable.h"
#include "TestSandbox.h"

#include <gtest/gtest.h>
#include <regex>
#include <set>
#include <string>

namespace {

// A UTF-16 unit that is a character by itself, in UTF-8.
std::string text(unsigned unit) {
    const auto byte = [](unsigned bits) { return static_cast<char>(bits); };
    if (unit < 0x80) {
        return {byte(unit)};
    }
    if (unit < 0x800) {
        return {byte(0xC0 | unit >> 6), byte(0x80 | (unit & 0x3F))};
    }
    return {byte(0xE0 | unit >> 12), byte(0x80 | (unit >> 6 & 0x3F)), byte(0x80 | (unit & 0x3F))};
}

std::set<std::string> allNames() {
    std::set<std::string> names;
    for (unsigned unit = 0; unit <= 0xFFFF; ++unit) {
        const bool isSurrogate = unit >= 0xD800 && unit < 0xE000;
        if (const char* name = isSurrogate ? nullptr : keyNameForText(text(unit))) {
            names.insert(name);
        }
    }
    return names;
}

} // namespace

TEST(KeyNameTable, EveryNameIsTranslatedIntoEveryLanguage) {
    ASSERT_EQ(allNames().size(), 16U);
    for (const char* language : {"de", "fr"}) {
        const auto file = sandbox::readFile(std::string(VT_TRANSLATIONS "/Launcher_") + language + ".ts");
        const std::regex message("<source>([^<]+)</source>\\s*<translation>[^<]+</translation>");
        std::set<std::string> translated;
        for (std::sregex_iterator found(file.begin(), file.end(), message), end; found != end; ++found) {
            translated.insert((*found)[1]);
        }
        EXPECT_EQ(translated, allNames()) << language;
    }
}
