#include "SecretText.h"

#include <cstdint>
#include <cstdio>
#include <fstream>
#include <gtest/gtest.h>
#include <optional>
#include <string>
#include <string_view>
#include <sys/mman.h>
#include <utility>

using platform::SecretText;

namespace {

// What the system says of the memory that the text is on, as two letters each.
std::string flagsOf(const void* place) {
    const auto address = reinterpret_cast<std::uintptr_t>(place);
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

bool isLocked(const void* place) {
    return flagsOf(place).find(" lo") != std::string::npos;
}

// The system has a limit to what is locked; under sanitizers nothing is.
bool canLock() {
    alignas(4096) static char page[4096];
    return ::mlock(page, sizeof page) == 0 && isLocked(page);
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

TEST(SecretText, IsNotDumped) {
    std::string source = "secret";
    const SecretText text(source);
    const auto flags = flagsOf(text.view().data());
    EXPECT_NE(flags.find(" dd"), flags.npos) << flags;
}

TEST(SecretText, IsNotSwapped) {
    if (!canLock()) {
        GTEST_SKIP() << "no memory can be locked here";
    }
    std::string source = "secret";
    const SecretText text(source);
    EXPECT_TRUE(isLocked(text.view().data()));
}
