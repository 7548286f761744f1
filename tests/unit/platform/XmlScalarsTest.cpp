#include "linux/XmlScalars.h"

#include <gtest/gtest.h>

using namespace platform;

TEST(XmlScalars, Integers) {
    EXPECT_EQ(plainInteger("0"), "0");
    EXPECT_EQ(plainInteger("42"), "42");
    EXPECT_EQ(plainInteger("+42"), "42");
    EXPECT_EQ(plainInteger("-42"), "-42");
    EXPECT_EQ(plainInteger("-0"), "-0");
    EXPECT_EQ(plainInteger(" \t\r\n7\n"), "7");
    EXPECT_EQ(plainInteger("010"), "10"); // decimal, not octal
    EXPECT_EQ(plainInteger("0x1F"), "31");
    EXPECT_EQ(plainInteger("0Xff"), "255");
    EXPECT_EQ(plainInteger("-0x10"), "-16");
    EXPECT_EQ(plainInteger("9223372036854775807"), "9223372036854775807");
    EXPECT_EQ(plainInteger("-9223372036854775808"), "-9223372036854775808");
    EXPECT_EQ(plainInteger("18446744073709551615"), "18446744073709551615");
    EXPECT_EQ(plainInteger("0xFFFFFFFFFFFFFFFF"), "18446744073709551615");
}

TEST(XmlScalars, WhatIsNoIntegerIsAbsent) {
    for (const char* text :
         {"", " ", "abc", "1a", "1.5", "1e3", "0x", "0xG", "--1", "+-1", "-", "+", "1 2", "1_0", "NaN",
          "18446744073709551616", "-9223372036854775809", "0x10000000000000000"}) {
        EXPECT_EQ(plainInteger(text), std::nullopt) << text;
    }
}

TEST(XmlScalars, Reals) {
    EXPECT_EQ(plainReal(" -1.5\n"), "-1.5");
    for (const char* text :
         {"1.5", "+1.5", "3", ".5", "1e3", "1E-3", "-0.0", "5e-324", "007.5", "+infinity", "-Inf", "NaN"}) {
        EXPECT_EQ(plainReal(text), text);
    }
    for (const char* text : {"", "abc", "1,5", "1.5x", "1 2", "--1", "+-1", "-+1", "- 1", "e5", ".", "0x1p3",
                             "nan(1)", "infinit", "1e999"}) {
        EXPECT_EQ(plainReal(text), std::nullopt) << text;
    }
}

TEST(XmlScalars, Dates) {
    EXPECT_EQ(plainDate(" 2001-01-01T00:00:01Z\n"), "2001-01-01T00:00:01Z");
    for (const char* text : {"2024-02-29T12:30:45Z", "2106-02-07T06:28:16Z", "0001-01-01T00:00:00Z",
                             "0000-12-30T00:00:00Z", "9999-12-31T23:59:59Z"}) {
        EXPECT_EQ(plainDate(text), text);
    }
}

TEST(XmlScalars, WhatIsNoDateIsAbsent) {
    for (const char* text :
         {"", "yesterday", "2001-01-01", "2001-01-01T00:00:00", "2001-01-01 00:00:00Z",
          "2001-13-01T00:00:00Z", "2001-00-01T00:00:00Z", "2023-02-29T00:00:00Z", "2001-04-31T00:00:00Z",
          "2001-01-01T24:00:00Z", "2001-01-01T00:60:00Z", "2001-01-01T00:00:60Z", "2001-01-01T00:00:00+01",
          "2001-01-01T00:00:00.5Z", "20010-1-01T00:00:00Z", "2001-01-01T0x:00:00Z", "-001-01-01T00:00:00Z",
          "2001-01-01T-1:00:00Z"}) {
        EXPECT_EQ(plainDate(text), std::nullopt) << text;
    }
}

TEST(XmlScalars, Data) {
    EXPECT_EQ(plainData(""), "");
    EXPECT_EQ(plainData(" \n\t"), "");
    EXPECT_EQ(plainData("\n\tQU\n\tJDRA=\r\n="), "QUJDRA==");
    for (const char* text : {"QQ==", "QUI=", "QUJD", "AAH/+w=="}) {
        EXPECT_EQ(plainData(text), text);
    }
    for (const char* text : {"Q", "QQ", "QQ=", "QQ===", "=QQ=", "Q===", "====", "QQ==QQ==", "QQ=Q", "QU!D",
                             "QUJD-", "Q\xC3\xA4=="}) {
        EXPECT_EQ(plainData(text), std::nullopt) << text;
    }
}
