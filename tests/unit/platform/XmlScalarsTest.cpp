#include "linux/XmlScalars.h"

#include "Exception.h"

#include <cmath>
#include <gtest/gtest.h>
#include <limits>

using namespace platform;

namespace {

double seconds(std::string_view text) {
    auto date = dateFromXml(text);
    return date ? date->secondsSinceReferenceDate : std::nan("");
}

std::optional<std::string> bytes(std::string_view text) {
    auto data = dataFromXml(text);
    return data ? std::optional(data->bytes) : std::nullopt;
}

std::string base64(std::string_view text) {
    std::string result;
    appendBase64(result, text);
    return result;
}

} // namespace

TEST(XmlScalars, Integers) {
    EXPECT_EQ(integerFromXml("0"), PropertyList(0));
    EXPECT_EQ(integerFromXml("42"), PropertyList(42));
    EXPECT_EQ(integerFromXml("+42"), PropertyList(42));
    EXPECT_EQ(integerFromXml("-42"), PropertyList(-42));
    EXPECT_EQ(integerFromXml("-0"), PropertyList(0));
    EXPECT_EQ(integerFromXml(" \t\r\n7\n"), PropertyList(7));
    EXPECT_EQ(integerFromXml("010"), PropertyList(10)); // decimal, not octal
    EXPECT_EQ(integerFromXml("0x1F"), PropertyList(31));
    EXPECT_EQ(integerFromXml("0Xff"), PropertyList(255));
    EXPECT_EQ(integerFromXml("-0x10"), PropertyList(-16));
    EXPECT_EQ(integerFromXml("9223372036854775807"), PropertyList(std::numeric_limits<std::int64_t>::max()));
    EXPECT_EQ(integerFromXml("-9223372036854775808"), PropertyList(std::numeric_limits<std::int64_t>::min()));
    EXPECT_EQ(integerFromXml("9223372036854775808"), PropertyList(std::uint64_t{1} << 63));
    EXPECT_EQ(integerFromXml("18446744073709551615"),
              PropertyList(std::numeric_limits<std::uint64_t>::max()));
    EXPECT_EQ(integerFromXml("0xFFFFFFFFFFFFFFFF"), PropertyList(std::numeric_limits<std::uint64_t>::max()));
}

TEST(XmlScalars, WhatIsNoIntegerIsAbsent) {
    for (const char* text :
         {"", " ", "abc", "1a", "1.5", "1e3", "0x", "0xG", "--1", "+-1", "-", "+", "1 2", "1_0", "NaN",
          "18446744073709551616", "-9223372036854775809", "0x10000000000000000"}) {
        EXPECT_EQ(integerFromXml(text), std::nullopt) << text;
    }
}

TEST(XmlScalars, Reals) {
    EXPECT_EQ(realFromXml("1.5"), 1.5);
    EXPECT_EQ(realFromXml(" -1.5 "), -1.5);
    EXPECT_EQ(realFromXml("+1.5"), 1.5);
    EXPECT_EQ(realFromXml("3"), 3.0);
    EXPECT_EQ(realFromXml(".5"), 0.5);
    EXPECT_EQ(realFromXml("1e3"), 1000.0);
    EXPECT_EQ(realFromXml("1E-3"), 0.001);
    EXPECT_EQ(realFromXml("+infinity"), std::numeric_limits<double>::infinity());
    EXPECT_EQ(realFromXml("-Inf"), -std::numeric_limits<double>::infinity());
    EXPECT_TRUE(std::isnan(realFromXml("NaN").value()));
    for (const char* text : {"", "abc", "1,5", "1.5x", "1 2", "--1", "+-1", "-+1", "e5", ".", "0x1p3",
                             "nan(1)", "infinit", "1e999"}) {
        EXPECT_EQ(realFromXml(text), std::nullopt) << text;
    }
}

TEST(XmlScalars, RealsKeepEveryBit) {
    for (double value :
         {0.1, 1.0 / 3.0, 1e22, 1e-22, 123456789.123456789, 5e-324, 2.2250738585072014e-308,
          std::numeric_limits<double>::max(), std::numeric_limits<double>::infinity(), 1.0, -2.5e-7}) {
        EXPECT_EQ(realFromXml(xmlFromReal(value)), value);
        EXPECT_EQ(realFromXml(xmlFromReal(-value)), -value);
    }
    EXPECT_TRUE(std::signbit(realFromXml(xmlFromReal(-0.0)).value()));
    EXPECT_TRUE(std::isnan(realFromXml(xmlFromReal(std::nan(""))).value()));
    EXPECT_EQ(xmlFromReal(0.1), "0.1");
}

TEST(XmlScalars, Dates) {
    EXPECT_EQ(seconds("2001-01-01T00:00:00Z"), 0);
    EXPECT_EQ(seconds(" 2001-01-01T00:00:01Z\n"), 1);
    EXPECT_EQ(seconds("2000-12-31T23:59:59Z"), -1);
    EXPECT_EQ(seconds("1970-01-01T00:00:00Z"), -978307200);
    EXPECT_EQ(seconds("2024-02-29T12:30:45Z"), 730902645);
    EXPECT_EQ(seconds("2106-02-07T06:28:16Z"), 3316660096); // 2^32 since 1970
    EXPECT_EQ(seconds("0001-01-01T00:00:00Z"), -63113904000);
    EXPECT_EQ(seconds("0000-12-30T00:00:00Z"), -63114076800); // the first platform's distant past
}

TEST(XmlScalars, WhatIsNoDateIsAbsent) {
    for (const char* text :
         {"", "yesterday", "2001-01-01", "2001-01-01T00:00:00", "2001-01-01 00:00:00Z",
          "2001-13-01T00:00:00Z", "2001-00-01T00:00:00Z", "2023-02-29T00:00:00Z", "2001-04-31T00:00:00Z",
          "2001-01-01T24:00:00Z", "2001-01-01T00:60:00Z", "2001-01-01T00:00:60Z", "2001-01-01T00:00:00+01",
          "2001-01-01T00:00:00.5Z", "20010-1-01T00:00:00Z", "2001-01-01T0x:00:00Z", "-001-01-01T00:00:00Z",
          "2001-01-01T-1:00:00Z"}) {
        EXPECT_EQ(dateFromXml(text), std::nullopt) << text;
    }
}

TEST(XmlScalars, ADateIsWrittenAsTheSecondItLiesIn) {
    EXPECT_EQ(xmlFromDate({0}), "2001-01-01T00:00:00Z");
    EXPECT_EQ(xmlFromDate({0.999}), "2001-01-01T00:00:00Z");
    EXPECT_EQ(xmlFromDate({-0.001}), "2000-12-31T23:59:59Z");
    EXPECT_EQ(xmlFromDate({730902645}), "2024-02-29T12:30:45Z");
    EXPECT_EQ(xmlFromDate({-63113904000}), "0001-01-01T00:00:00Z");
    EXPECT_EQ(xmlFromDate({-63145526400}), "0000-01-01T00:00:00Z");
    EXPECT_EQ(xmlFromDate({252423993599.5}), "9999-12-31T23:59:59Z");
}

TEST(XmlScalars, ADateThatFourDigitsOfYearCannotTellIsRefused) {
    for (double value : {252423993600.0, -63145526400.5, 1e300, -1e300,
                         std::numeric_limits<double>::infinity(), std::numeric_limits<double>::quiet_NaN()}) {
        try {
            xmlFromDate({value});
            FAIL() << value;
        } catch (const Exception& exception) {
            EXPECT_EQ(exception.name(), "NSInvalidArgumentException");
        }
    }
}

TEST(XmlScalars, Data) {
    EXPECT_EQ(bytes(""), "");
    EXPECT_EQ(bytes(" \n\t"), "");
    EXPECT_EQ(bytes("QQ=="), "A");
    EXPECT_EQ(bytes("QUI="), "AB");
    EXPECT_EQ(bytes("QUJD"), "ABC");
    EXPECT_EQ(bytes("\n\tQU\n\tJDRA=\r\n="), "ABCD");
    EXPECT_EQ(bytes("AAH/+w=="), std::string("\x00\x01\xFF\xFB", 4));
    for (const char* text : {"Q", "QQ", "QQ=", "QQ===", "=QQ=", "Q===", "====", "QQ==QQ==", "QQ=Q", "QU!D",
                             "QUJD-", "Q\xC3\xA4=="}) {
        EXPECT_EQ(bytes(text), std::nullopt) << text;
    }
}

TEST(XmlScalars, DataKeepEveryByte) {
    std::string all;
    for (int i = 0; i < 256; ++i) {
        all += static_cast<char>(i);
    }
    for (std::size_t length : {0U, 1U, 2U, 3U, 4U, 254U, 255U, 256U}) {
        EXPECT_EQ(bytes(base64(all.substr(0, length))), all.substr(0, length));
    }
    EXPECT_EQ(base64("ABCD"), "QUJDRA==");
}
