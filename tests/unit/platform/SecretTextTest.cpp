#include "SecretText.h"

#include <cstdint>
#include <cstdio>
#include <fstream>
#include <gtest/gtest.h>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

using platform::SecretText;

namespace {

// What the system says of the memory that the text is on, as two letters each.
std::string flagsOf(const SecretText& text) {
    const auto address = reinterpret_cast<std::uintptr_t>(text.view().data());
    std::ifstream maps("/proc/self/smaps");
    bool isThere = false;
    for (std::string line; std::getline(maps, line);) {
        std::uintptr_t begin = 0;
        std::uintptr_t end = 0;
        if (std::sscanf(line.c_str(), "%lx-%lx ", &begin, &end) == 2) {
            isThere = begin <= address && address < end;
        } else if (isThere && line.starts_with("VmFlags:")) {
            return line;
        }
    }
    return "";
}

} // namespace

TEST(SecretText, TakesTheTextOver) {
    for (std::size_t length : {0U, 1U, 15U, 4096U, 10000U}) {
        const std::string original(length, 'x');
        std::string source = original;
        const SecretText text(source);
        EXPECT_EQ(text.view(), original);
        EXPECT_EQ(text.view().data()[length], 0);
        EXPECT_EQ(source, "");
        EXPECT_EQ(source.data()[0], 0);
    }
}

TEST(SecretText, LeavesNothingInItsSource) {
    std::string source(100, 'x');
    source.resize(50); // the rest is still there
    const char* kept = source.data();
    const SecretText text(source);
    EXPECT_EQ(std::string_view(kept, 100), std::string(100, '\0'));
}

TEST(SecretText, IsWiped) {
    std::string source = "secret";
    SecretText text(source);
    text.wipe();
    EXPECT_EQ(text.view(), std::string(6, '\0'));
}

TEST(SecretText, MovesWithoutACopy) {
    std::string source = "secret";
    SecretText text(source);
    const auto* place = text.view().data();
    std::optional<SecretText> other(std::move(text));
    EXPECT_EQ(other->view().data(), place);
    EXPECT_EQ(text.view(), ""); // NOLINT: as it is left
}

TEST(SecretText, IsNeitherSwappedNorDumped) {
    std::string source = "secret";
    const SecretText text(source);
    const auto flags = flagsOf(text);
    EXPECT_NE(flags.find(" lo"), flags.npos) << flags;
    EXPECT_NE(flags.find(" dd"), flags.npos) << flags;
}
