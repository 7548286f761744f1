#include "Platform.h"

#include "TestSandbox.h"

#include <gtest/gtest.h>

TEST(Platform, IsReplacedForAScope) {
    auto before = platform::current();
    auto console = std::make_shared<FakeConsoleLog>();
    {
        auto services = before;
        services.consoleLog = console;
        platform::ScopedPlatform scope(services);
        platform::current().consoleLog->log("inside");
        EXPECT_EQ(platform::current().fileManager, before.fileManager);
    }
    platform::current().consoleLog->log("outside");
    EXPECT_EQ(console->lines(), std::vector<std::string>{"inside"});
    EXPECT_EQ(sandbox::console().lines(), std::vector<std::string>{"outside"});
}
