#include "PercentEncoding.h"

#include <cstdio>
#include <gtest/gtest.h>
#include <string>

using platform::percentEncoded;

TEST(PercentEncoding, LeavesTheUnreservedCharactersAlone) {
    const std::string unreserved = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-._~";
    EXPECT_EQ(percentEncoded(unreserved), unreserved);
    EXPECT_EQ(percentEncoded(""), "");
}

TEST(PercentEncoding, EncodesEveryOtherByte) {
    const std::string unreserved = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-._~";
    for (int byte = 0; byte < 256; ++byte) {
        const std::string text(1, static_cast<char>(byte));
        if (unreserved.find(text) == std::string::npos) {
            char expected[4];
            std::snprintf(expected, sizeof expected, "%%%02X", static_cast<unsigned>(byte));
            EXPECT_EQ(percentEncoded(text), expected);
        }
    }
}

TEST(PercentEncoding, GoesByBytesAndNotByCharacters) {
    EXPECT_EQ(percentEncoded("é説"), "%C3%A9%E8%AA%AC");
    EXPECT_EQ(percentEncoded("\xC3"), "%C3");
}

TEST(PercentEncoding, EncodesAPercentSignAgain) {
    EXPECT_EQ(percentEncoded("%20"), "%2520");
}

TEST(PercentEncoding, LeavesWhatTheCallerCallsPlain) {
    EXPECT_EQ(percentEncoded("/a folder/ü&.pdf", "/"), "/a%20folder/%C3%BC%26.pdf");
    EXPECT_EQ(percentEncoded("/:?", "/:"), "/:%3F");
}
