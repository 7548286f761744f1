#include "Text.h"

#include <gtest/gtest.h>

using namespace std::string_view_literals;
using platform::caseFolded;
using platform::caseInsensitiveKey;
using platform::lengthOfFirstCharacter;
using platform::lengthOfLastCharacter;
using platform::lowercase;
using platform::trimmed;
using platform::utf16Length;

namespace {

constexpr std::string_view kReplacement = "\xEF\xBF\xBD"; // U+FFFD

// No UTF-8: an overlong slash, half a surrogate pair, beyond the last code point, bytes that start nothing.
constexpr std::string_view kBrokenTexts[] = {
    "\xC0\xAF"sv, "\xED\xA0\x80"sv, "\xF4\x90\x80\x80"sv, "\x80"sv, "\xFF"sv, "\xE2\x82"sv, "\xF0\x9F\x98"sv,
};

std::string repeated(std::string_view text, std::size_t times) {
    std::string result;
    for (std::size_t i = 0; i < times; ++i) {
        result += text;
    }
    return result;
}

} // namespace

TEST(Text, TellsUtf8FromOtherBytes) {
    for (auto text : {""sv, "plain"sv, "\0"sv, "é"sv, "€"sv, "😀"sv, "\xF4\x8F\xBF\xBF"sv}) {
        EXPECT_TRUE(platform::isValidUtf8(text)) << text;
    }
    for (auto text : kBrokenTexts) {
        EXPECT_FALSE(platform::isValidUtf8(text)) << text;
        EXPECT_FALSE(platform::isValidUtf8("é" + std::string(text) + "x")) << text;
    }
}

TEST(Text, MeasuresTheFirstAndTheLastCharacter) {
    EXPECT_EQ(lengthOfFirstCharacter(""), 0U);
    EXPECT_EQ(lengthOfLastCharacter(""), 0U);
    EXPECT_EQ(lengthOfFirstCharacter("aé"), 1U);
    EXPECT_EQ(lengthOfLastCharacter("aé"), 2U);
    EXPECT_EQ(lengthOfFirstCharacter("€😀"), 3U);
    EXPECT_EQ(lengthOfLastCharacter("€😀"), 4U);
    for (auto text : kBrokenTexts) {
        EXPECT_EQ(lengthOfFirstCharacter(text), 0U) << text;
    }
    EXPECT_EQ(lengthOfLastCharacter("a\x80\x80"), 1U);
    EXPECT_EQ(lengthOfLastCharacter("a\xE2\x82"), 2U); // broken off, one replacement character
}

TEST(Text, LowercaseIsThatOfUnicodeInNoLanguage) {
    EXPECT_EQ(lowercase("Some.APP/I"), "some.app/i");
    EXPECT_EQ(lowercase("ÄÉΩЖ"), "äéωж");
    EXPECT_EQ(lowercase("ΟΔΟΣ"), "οδος"); // the last sigma has a form of its own
    EXPECT_EQ(lowercase("\u0130"), "i\u0307");
    EXPECT_EQ(lowercase("\u1E9E"), "ß");
    EXPECT_EQ(lowercase("ß"), "ß");
    EXPECT_EQ(platform::uppercase("kéß\uFB01ж\xFF"), "KÉSSFIЖ\xFF");
}

TEST(Text, BytesThatAreNotUtf8AreKeptByMappingsAndReplacedInKeys) {
    EXPECT_EQ(lowercase("A\xFFÀ"), "a\xFFà");
    EXPECT_EQ(lowercase("\xE2\x82"
                        "À"),
              "\xE2\x82"
              "à");
    EXPECT_EQ(caseFolded("A\xFF\x80"), "a\xFF\x80");
    for (auto text : kBrokenTexts) {
        EXPECT_EQ(lowercase(text), text);
        EXPECT_EQ(caseFolded(text), text);
    }
    EXPECT_EQ(caseInsensitiveKey("A\xFF"), "a" + std::string(kReplacement));
    EXPECT_EQ(caseInsensitiveKey("\xE2\x82"
                                 "A"),
              std::string(kReplacement) + "a");
    EXPECT_EQ(utf16Length("\xFF\xFF"), 2U);
    EXPECT_EQ(utf16Length("\xE2\x82"), 1U);
}

TEST(Text, KeysAreTheSameForCanonicalCaselessMatches) {
    const std::pair<std::string_view, std::string_view> matches[] = {
        {"plain Text", "PLAIN tEXT"},
        {"\u00C9", "e\u0301"}, // composed and decomposed
        {"straße", "STRASSE"},
        {"\uFB01n", "FIN"},   // a ligature
        {"\u212A", "k"},      // the Kelvin sign
        {"\u03A3", "\u03C2"}, // capital and final sigma
        {"\u1F80", "\u1F00\u03B9"},
        {"a\u0323\u0307", "A\u0307\u0323"}, // marks in either order
    };
    for (const auto& [one, other] : matches) {
        EXPECT_EQ(caseInsensitiveKey(one), caseInsensitiveKey(other)) << one << " " << other;
    }
    EXPECT_NE(caseInsensitiveKey("e"), caseInsensitiveKey("é"));
    EXPECT_NE(caseInsensitiveKey("\uFF21"), caseInsensitiveKey("A")); // full width is no canonical match
    EXPECT_EQ(caseInsensitiveKey(""), "");
}

TEST(Text, KeysStandInCodePointOrder) {
    EXPECT_LT(caseInsensitiveKey("A"), caseInsensitiveKey("b"));
    EXPECT_LT(caseInsensitiveKey("a"), caseInsensitiveKey("B"));
    EXPECT_LT(caseInsensitiveKey("_"), caseInsensitiveKey("A")); // as lower case
    EXPECT_LT(caseInsensitiveKey("\uFFFD"), caseInsensitiveKey("😀"));
}

TEST(Text, FoldingLeavesCompositionAlone) {
    EXPECT_EQ(caseFolded("MiXed"), "mixed");
    EXPECT_EQ(caseFolded("Straße"), "strasse");
    EXPECT_EQ(caseFolded("\u00C9"), "\u00E9");
    EXPECT_EQ(caseFolded("E\u0301"), "e\u0301");
    EXPECT_EQ(caseFolded("\u0130"), "i\u0307");
}

TEST(Text, GrowthOfLongTextsIsProvidedFor) {
    // Folds to three characters of two bytes; decomposes to as many units as anything can.
    EXPECT_EQ(caseFolded(repeated("\u0390", 1000)), repeated("\u03B9\u0308\u0301", 1000));
    EXPECT_EQ(caseInsensitiveKey(repeated("\u1F82", 1000)).size(),
              repeated("\u03B1\u0313\u0300\u03B9", 1000).size());
    EXPECT_EQ(caseInsensitiveKey(repeated("\xFF", 1000)), repeated(kReplacement, 1000));
}

TEST(Text, LengthIsInUtf16Units) {
    EXPECT_EQ(utf16Length(""), 0U);
    EXPECT_EQ(utf16Length("abc"), 3U);
    EXPECT_EQ(utf16Length("a\0b"sv), 3U);
    EXPECT_EQ(utf16Length("é€"), 2U);
    EXPECT_EQ(utf16Length("😀"), 2U);
    EXPECT_EQ(utf16Length("e\u0301"), 2U);
}

TEST(Text, TrimsWhiteSpaceAndLineBreaksAtBothEnds) {
    for (auto space : {"\t", "\n", "\v", "\f", "\r", " ", "\u0085", "\u00A0", "\u1680", "\u2000", "\u2007",
                       "\u200A", "\u2028", "\u2029", "\u202F", "\u205F", "\u3000"}) {
        auto text = std::string(space) + "a" + space + "b" + space + space;
        EXPECT_EQ(trimmed(text), "a" + std::string(space) + "b") << text;
        EXPECT_EQ(trimmed(space), "");
    }
    for (auto kept : {"\x01", "\x08", "\x0E", "\x1C", "\x1F", "\x7F", "\u0084", "\u0086", "\u200B", "\u2060",
                      "\uFEFF", "\x85", "\xA0", "\xFF"}) {
        EXPECT_EQ(trimmed(kept), kept);
        EXPECT_EQ(trimmed(" " + std::string(kept) + " "), kept);
    }
    EXPECT_EQ(trimmed(""), "");
}

TEST(Text, TrimmedTextIsAView) {
    const std::string text = "  inner ";
    EXPECT_EQ(trimmed(text).data(), text.data() + 2);
    EXPECT_EQ(trimmed(text).size(), 5U);
}
