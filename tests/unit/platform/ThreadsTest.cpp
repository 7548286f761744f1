#include "Threads.h"

#include <gtest/gtest.h>
#include <thread>

TEST(Threads, OnlyTheFirstIsTheMainThread) {
    EXPECT_TRUE(platform::isMainThread());
    bool elsewhere = true;
    std::thread([&] { elsewhere = platform::isMainThread(); }).join();
    EXPECT_FALSE(elsewhere);
    EXPECT_TRUE(platform::isMainThread());
}
