#include "WebAddress.h"

#include <gtest/gtest.h>

TEST(WebAddress, WithoutParametersIsThePage) {
    EXPECT_EQ(webAddress("https://vantorel.example/page", {}), "https://vantorel.example/page");
}

TEST(WebAddress, KeepsTheParametersInOrder) {
    EXPECT_EQ(
        webAddress("https://vantorel.example/page", {{"app", "launcher"}, {"version", "3.2"}, {"a", ""}}),
        "https://vantorel.example/page?app=launcher&version=3.2&a=");
}

TEST(WebAddress, EscapesNamesAndValues) {
    EXPECT_EQ(webAddress("p", {{"a b&", "1+1=2 & more; #\"'<>%/?@:"}, {"ä", "\xFF\n"}}),
              "p?a%20b%26=1%2B1%3D2%20%26%20more%3B%20%23%22%27%3C%3E%25%2F%3F%40%3A&%C3%A4=%FF%0A");
    EXPECT_EQ(webAddress("p", {{"v", "Az09-._~"}}), "p?v=Az09-._~");
    using namespace std::string_view_literals;
    EXPECT_EQ(webAddress("p", {{"v", "a\0b"sv}}), "p?v=a%00b");
}
