#include "StringEncoding.h"

#include <gtest/gtest.h>

using namespace std::string_literals;
using platform::decoded;
using platform::StringEncoding;

TEST(StringEncoding, NumbersAreThoseOfTheFirstPlatform) {
    EXPECT_EQ(StringEncoding(1), StringEncoding::Ascii);
    EXPECT_EQ(StringEncoding(4), StringEncoding::Utf8);
    EXPECT_EQ(StringEncoding(5), StringEncoding::IsoLatin1);
    EXPECT_EQ(StringEncoding(10), StringEncoding::Utf16);
}

TEST(StringEncoding, NoBytesAreEmptyText) {
    for (int number : {1, 4, 5, 10}) {
        EXPECT_EQ(decoded("", StringEncoding(number)), "") << number;
    }
}

TEST(StringEncoding, AsciiHasSevenBits) {
    EXPECT_EQ(decoded("text\0\x7F"s, StringEncoding::Ascii), "text\0\x7F"s);
    EXPECT_FALSE(decoded("text\x80", StringEncoding::Ascii));
    EXPECT_FALSE(decoded("\xC3\xA9", StringEncoding::Ascii));
}

TEST(StringEncoding, Utf8IsTakenAsItIs) {
    EXPECT_EQ(decoded("é€😀", StringEncoding::Utf8), "é€😀");
    EXPECT_FALSE(decoded("\xC3", StringEncoding::Utf8));
    EXPECT_FALSE(decoded("\xED\xA0\x80", StringEncoding::Utf8));
}

TEST(StringEncoding, EveryByteIsALatin1Character) {
    EXPECT_EQ(decoded("a\xE9\x80\xFF", StringEncoding::IsoLatin1), "aé\u0080ÿ");
}

TEST(StringEncoding, Utf16FollowsItsByteOrderMark) {
    EXPECT_EQ(decoded("\xFF\xFE\x61\x00\xAC\x20\x3D\xD8\x00\xDE"s, StringEncoding::Utf16), "a€😀");
    EXPECT_EQ(decoded("\xFE\xFF\x00\x61\x20\xAC\xD8\x3D\xDE\x00"s, StringEncoding::Utf16), "a€😀");
    EXPECT_EQ(decoded("\x00\x61\x00\xE9"s, StringEncoding::Utf16), "aé");
    EXPECT_EQ(decoded("\xFE\xFF"s, StringEncoding::Utf16), "");
}

TEST(StringEncoding, BrokenUtf16IsNoText) {
    EXPECT_FALSE(decoded("\x00"s, StringEncoding::Utf16));             // half a unit
    EXPECT_FALSE(decoded("\xD8\x3D"s, StringEncoding::Utf16));         // half a pair
    EXPECT_FALSE(decoded("\xD8\x3D\x00\x61"s, StringEncoding::Utf16)); // another character in its place
    EXPECT_FALSE(decoded("\xDE\x00\xD8\x3D"s, StringEncoding::Utf16)); // the wrong way round
}

TEST(StringEncoding, NothingIsTextInAnUnknownEncoding) {
    EXPECT_FALSE(decoded("a", StringEncoding(2)));
    EXPECT_FALSE(decoded("", StringEncoding(0)));
}
