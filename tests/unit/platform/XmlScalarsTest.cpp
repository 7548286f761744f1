#include "linux/XmlScalars.h"

#include <gtest/gtest.h>

using namespace platform;

TEST(XmlScalars, Integers) {
    for (const char* text : {"0", "42", "+42", "-42", "-0", " \t\r\n7\n", " -7 ", "0x1F", "0Xff", "-0x10",
                             "0x00", "9223372036854775807", "-9223372036854775808", "9223372036854775808",
                             "18446744073709551615", "0xFFFFFFFFFFFFFFFF"}) {
        EXPECT_TRUE(isXmlInteger(text)) << text;
    }
    for (const char* text : {"",
                             " ",
                             "abc",
                             "1a",
                             "1.5",
                             "1e3",
                             "0x",
                             "0xG",
                             "--1",
                             "+-1",
                             "-",
                             "+",
                             "- 1",
                             "1 2",
                             "1_0",
                             "NaN",
                             "010",
                             "-08",
                             "00",
                             "18446744073709551616",
                             "-9223372036854775809",
                             "0x10000000000000000"}) {
        EXPECT_FALSE(isXmlInteger(text)) << text;
    }
}

TEST(XmlScalars, Reals) {
    for (const char* text : {"1.5", " -1.5 ", "+1.5", "3", ".5", "1e3", "1E-3", "-0.0", "5e-324", "007.5",
                             "+infinity", "-Inf", "NaN"}) {
        EXPECT_TRUE(isXmlReal(text)) << text;
    }
    for (const char* text : {"", "abc", "1,5", "1.5x", "1 2", "--1", "+-1", "-+1", "- 1", "e5", ".", "0x1p3",
                             "nan(1)", "infinit", "1e999"}) {
        EXPECT_FALSE(isXmlReal(text)) << text;
    }
}

TEST(XmlScalars, Dates) {
    for (const char* text :
         {"2001-01-01T00:00:00Z", " 2001-01-01T00:00:01Z\n", "2024-02-29T12:30:45Z", "2106-02-07T06:28:16Z",
          "0001-01-01T00:00:00Z", "1-01-01T00:00:00Z", "0-12-30T00:00:00Z", "9999-12-31T23:59:59Z",
          "2001-01-01T00:00:00Z           "}) {
        EXPECT_TRUE(isXmlDate(text)) << text;
    }
    for (const char* text : {"",
                             "yesterday",
                             "2001-01-01",
                             "2001-01-01T00:00:00",
                             "2001-01-01 00:00:00Z",
                             "2001-13-01T00:00:00Z",
                             "2001-00-01T00:00:00Z",
                             "2023-02-29T00:00:00Z",
                             "2001-04-31T00:00:00Z",
                             "2001-01-01T24:00:00Z",
                             "2001-01-01T00:60:00Z",
                             "2001-01-01T00:00:60Z",
                             "2001-01-01T00:00:00+01",
                             "2001-01-01T00:00:00.5Z",
                             "20010-1-01T00:00:00Z",
                             "2001-1-01T00:00:00Z",
                             "2001-01-01T0x:00:00Z",
                             "-001-01-01T00:00:00Z",
                             "-01-01T00:00:00Z",
                             "2001-01-01T-1:00:00Z",
                             "2001-01-01T00:00:00ZZ",
                             "2001-01-01T00:00:00Z            "}) {
        EXPECT_FALSE(isXmlDate(text)) << text;
    }
}

TEST(XmlScalars, Data) {
    for (const char* text : {"", " \n\t", "QQ==", "QUI=", "QUJD", "\n\tQU\n\tJDRA=\r\n=", "AAH/+w=="}) {
        EXPECT_TRUE(isXmlData(text)) << text;
    }
    for (const char* text : {"Q", "QQ", "QQ=", "QQ===", "=QQ=", "Q===", "====", "QQ==QQ==", "QQ=Q", "QU!D",
                             "QUJD-", "Q\xC3\xA4=="}) {
        EXPECT_FALSE(isXmlData(text)) << text;
    }
}
