#include "Format.h"

#include <cmath>
#include <cstdint>
#include <gtest/gtest.h>
#include <limits>

TEST(Format, ShowsTextOfEveryKind) {
    const std::string owned = "owned";
    const std::optional<std::string> optional = "optional";
    EXPECT_EQ(format("%@ %@ %@ %@", "literal", owned, std::string_view("view"), optional),
              "literal owned view optional");
    EXPECT_EQ(format("%s|%s", "bytes", owned), "bytes|owned");
    EXPECT_EQ(format("%@", std::string("a\0b", 3)), std::string("a\0b", 3));
}

TEST(Format, ShowsAbsentTextAsNull) {
    const char* none = nullptr;
    EXPECT_EQ(format("%@ %@ %s", std::nullopt, std::optional<std::string>(), none), "(null) (null) (null)");
    EXPECT_EQ(format("%d", std::nullopt), "(null)");
}

TEST(Format, ShowsWholeNumbersAtFullWidth) {
    EXPECT_EQ(format("%d %i %u", -3, 4, 5U), "-3 4 5");
    EXPECT_EQ(format("%li %ld %lu", -3L, 4L, 5UL), "-3 4 5");
    EXPECT_EQ(format("%lld %llu", std::numeric_limits<std::int64_t>::min(),
                     std::numeric_limits<std::uint64_t>::max()),
              "-9223372036854775808 18446744073709551615");
    EXPECT_EQ(format("%d", std::int64_t{1} << 40), "1099511627776") << "the argument knows its own size";
    EXPECT_EQ(format("%hd %zu %jd", short{7}, std::size_t{8}, std::intmax_t{9}), "7 8 9");
    EXPECT_EQ(format("%d %@", true, false), "1 0");
}

TEST(Format, ShowsHexadecimalNumbers) {
    EXPECT_EQ(format("%x %x %lx", 255, 0U, 0xDEADBEEFUL), "ff 0 deadbeef");
}

TEST(Format, ShowsCharacters) {
    EXPECT_EQ(format("%c%c%c%c", 'A', 0xE9, 0x20AC, 0x1F600), "A\u00E9\u20AC\U0001F600");
    EXPECT_EQ(format("%c", 0xD800), "55296") << "half a surrogate pair is no character";
    EXPECT_EQ(format("%c", 0x110000), "1114112");
    EXPECT_EQ(format("%c", -1), "-1");
}

TEST(Format, ShowsFractions) {
    EXPECT_EQ(format("%f", 1.5), "1.500000");
    EXPECT_EQ(format("%0.2f %.0f %.3f", 15.6249, 2.6, -0.0005), "15.62 3 -0.001");
    EXPECT_EQ(format("%8.2f|%-8.2f|%08.2f|%+.1f", 3.14159, 3.14159, -3.14159, 2.0),
              "    3.14|3.14    |-0003.14|+2.0");
    EXPECT_EQ(format("%f %05f", std::numeric_limits<double>::infinity(), std::nan("")), "inf   nan");
    EXPECT_EQ(format("%.1f", 1e308).size(), 311U);
}

TEST(Format, PadsToTheWidth) {
    EXPECT_EQ(format("%5d|%-5d|%05d|%+d|% d|%.3d", 42, 42, -42, 42, 42, 7), "   42|42   |-0042|+42| 42|007");
    EXPECT_EQ(format("%+ d|% +d", 1, 1), "+1|+1");
    EXPECT_EQ(format("%4@|%-4s|%2@", "ab", "ab", "abc"), "  ab|ab  |abc");
    EXPECT_EQ(format("%-05d|", 42), "42   |");
    EXPECT_EQ(format("%3c|", 'x'), "  x|");
}

TEST(Format, CutsTextAtThePrecisionWithoutTearingACharacter) {
    EXPECT_EQ(format("%.2s|%.9@|%.@", "abc", "abc", "abc"), "ab|abc|");
    EXPECT_EQ(format("%.2@", "a\u00E9"), "a");
    EXPECT_EQ(format("%.3@", "a\u00E9"), "a\u00E9");
}

TEST(Format, WritesDoubledPercentSignsOnce) {
    EXPECT_EQ(format("100%%"), "100%");
    EXPECT_EQ(format("%%@ %%%@", "x"), "%@ %x");
}

TEST(Format, KeepsAConversionWithoutAnArgument) {
    EXPECT_EQ(format("%@"), "%@");
    EXPECT_EQ(format("%d and %-5.2f|", 1), "1 and %-5.2f|");
    EXPECT_EQ(format("%s %s %n %p"), "%s %s %n %p");
}

TEST(Format, KeepsAnUnfinishedConversion) {
    EXPECT_EQ(format("50%", 1), "50%");
    EXPECT_EQ(format("50% ", 1), "50% ");
    EXPECT_EQ(format("%-08.3ll", 1), "%-08.3ll");
    EXPECT_EQ(format("% %@", "x"), "% x") << "the next conversion is one of its own";
}

TEST(Format, KeepsAnUnknownConversion) {
    EXPECT_EQ(format("%y %n %1$@ %*d %p", 1), "%y %n %1$@ %*d %p");
    EXPECT_EQ(format("%5y %d", 1), "%5y 1") << "and spends no argument on it";
    EXPECT_EQ(format("%\u00E9", 1), "%\u00E9");
    EXPECT_EQ(format("%1000d %.1000f %999999999999999999999d", 1), "%1000d %.1000f %999999999999999999999d");
}

TEST(Format, IgnoresSurplusArguments) {
    EXPECT_EQ(format("plain", 1, "two"), "plain");
    EXPECT_EQ(format("%@", 1, "two"), "1");
    EXPECT_EQ(format("", 1), "");
}

TEST(Format, ShowsAnArgumentOfTheWrongKindInItsNaturalForm) {
    EXPECT_EQ(format("%d %f %x %c", "a", "b", "c", "d"), "a b c d");
    EXPECT_EQ(format("%@ %s %f", 1, -2, 3), "1 -2 3");
    EXPECT_EQ(format("%@ %d %s", 0.1, 2.5, 1e300), "0.1 2.5 1e+300");
    EXPECT_EQ(format("%u %x", -1, -255), "-1 -255");
    EXPECT_EQ(format("%.1d", "text"), "text");
}

TEST(Format, TakesNoFormatAsText) {
    EXPECT_FALSE(FormatText(nullptr).text());
    EXPECT_FALSE(FormatText(std::nullopt).text());
    EXPECT_FALSE(FormatText(std::optional<std::string>()).text());
    EXPECT_EQ(FormatText("").text(), "");
    EXPECT_EQ(FormatText(std::string("x")).text(), "x");
}
