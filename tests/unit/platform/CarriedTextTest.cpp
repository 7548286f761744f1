#include "linux/CarriedText.h"

#include "PrivateBus.h"

#include <gtest/gtest.h>

using platform::carriedText;
using namespace std::string_view_literals;

TEST(CarriedText, LeavesWhatTheBusCarriesAsItIs) {
    for (const auto text : {""sv, "plain"sv, "\x01\x7F"sv, "é\u0080\u07FF"sv,
                            "\u0800テロップ\uD7FF\uE000\uFFFD"sv, "\U00010000😀\U0010FFFD"sv}) {
        EXPECT_EQ(carriedText(text), text);
    }
}

TEST(CarriedText, StandsForEveryByteThatIsNot) {
    EXPECT_EQ(carriedText("/a/\xFF/b"), "/a/\uFFFD/b");
    EXPECT_EQ(carriedText("zero\0in it\0"sv), "zero\uFFFDin it\uFFFD");
    for (const auto text : {"\x80"sv, "\xBF"sv, "\xC3"sv, "\xE3"sv, "\xF0"sv, "\xFF"sv}) {
        EXPECT_EQ(carriedText(text), "\uFFFD");
    }
    for (const auto text : {"\xC0\x80"sv, "\xC1\xBF"sv, "\xE3\x83"sv}) {
        EXPECT_EQ(carriedText(text), "\uFFFD\uFFFD");
    }
    EXPECT_EQ(carriedText("\xE3(é"), "\uFFFD(é");
    for (const auto text : {"\xE0\x9F\xBF"sv, "\xED\xA0\x80"sv, "\xED\xBF\xBF"sv, "\xEF\xB7\x90"sv,
                            "\xEF\xB7\xAF"sv, "\xEF\xBF\xBE"sv, "\xEF\xBF\xBF"sv}) {
        EXPECT_EQ(carriedText(text), "\uFFFD\uFFFD\uFFFD");
    }
    for (const auto text :
         {"\xF0\x8F\xBF\xBF"sv, "\xF4\x90\x80\x80"sv, "\xF0\x9F\xBF\xBE"sv, "\xF8\x90\x80\x80"sv}) {
        EXPECT_EQ(carriedText(text), "\uFFFD\uFFFD\uFFFD\uFFFD");
    }
}

// The library that writes messages is the judge.
TEST(CarriedText, IsCarried) {
    const PrivateBus bus;
    const auto connection = bus.connect();
    const auto isCarried = [&](const std::string& text) {
        sd_bus_message* message = nullptr;
        succeed(sd_bus_message_new_signal(connection.get(), &message, "/a", "a.b", "C"), "a message");
        const bool result = sd_bus_message_append_basic(message, 's', text.c_str()) >= 0;
        sd_bus_message_unref(message);
        return result;
    };
    for (unsigned first = 1; first < 0x100; ++first) {
        for (unsigned second = 1; second < 0x100; ++second) {
            for (const char* rest : {"", "\xBE", "\xBF\xBE", "\x80\x80"}) {
                const auto text = std::string{static_cast<char>(first), static_cast<char>(second)} + rest;
                ASSERT_EQ(carriedText(text) == text, isCarried(text)) << testing::PrintToString(text);
                ASSERT_TRUE(isCarried(carriedText(text))) << testing::PrintToString(text);
            }
        }
    }
}
