#include "MainLoop.h"
#include "Platform.h"
#include "ShortcutFixture.h"

#include <chrono>

using testing::Contains;

// A manager that never ends is ended after its ten seconds: on the main thread, whose loop goes on while a
// worker waits for the manager.
TEST_F(ShortcutTest, AManagerThatHangsIsEndedAfterTenSeconds) {
    auto services = platform::current();
    const auto loop = std::make_shared<MainLoop>();
    services.mainThread = loop;
    const platform::ScopedPlatform scope(services);
    makeCurrentFile();
    installManager("#!/bin/sh\necho $$ > '" + notes() + "'\nexec sleep 600\n");
    auto& controller = load();
    controller.setOutlets({.shortcutKeyTableView = table, .waitWithoutInput = [&](auto work, double) {
                               std::thread worker(work);
                               loop->runOne(); // the time-out
                               worker.join();
                           }});
    const auto start = std::chrono::steady_clock::now();
    controller.setKeyboardShortcutWithID("show", std::nullopt, 45, true, true, false, false);

    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::seconds(10));
    EXPECT_THAT(sandbox::console().lines(), Contains("Task timed out. Terminating..."));
    VTLog::finishWriting();
    EXPECT_THAT(entries(1), Contains("Task " + managerPath() + " timed out. Terminating..."));
    const auto process = std::stoi(sandbox::readFile(notes()));
    EXPECT_EQ(::kill(process, 0), -1);
    EXPECT_EQ(watchlist().size(), 1U);
}

TEST_F(ShortcutTest, TheManagerRunsOnTheWorkerThatTheInterfaceWaitsFor) {
    int waits = 0;
    auto& controller = load();
    controller.setOutlets({.shortcutKeyTableView = table, .waitWithoutInput = [&](auto work, double seconds) {
                               ++waits;
                               EXPECT_GT(seconds, 10); // a manager may need a moment to heed its signal
                               EXPECT_EQ(setups(), waits - 1);
                               std::thread(work).join();
                               EXPECT_EQ(setups(), waits);
                           }});
    controller.setKeyboardShortcutWithID("show", std::nullopt, 45, true, true, false, false);
    controller.clearShortcutKey();
    EXPECT_EQ(waits, 2);
}

// The interface keeps keys and clicks away, but not what a screen reader does.
TEST_F(ShortcutTest, WhatIsAskedForWhileTheManagerRunsIsIgnored) {
    int waits = 0;
    auto& controller = load();
    controller.setOutlets({.shortcutKeyTableView = table, .waitWithoutInput = [&](auto work, double) {
                               if (++waits == 1) {
                                   controller.clearShortcutKey();
                                   clear();
                                   press(24, false, false, false, true);
                               }
                               std::thread(work).join();
                           }});
    table->row = 0;
    const int reloads = table->reloads;
    press(45, true, false, false, true);
    EXPECT_EQ(waits, 1);
    EXPECT_EQ(setups(), 1);
    EXPECT_EQ(reloadEvents(), 1);
    EXPECT_EQ(watchlist(), Array{entry(kOwn, 45, 0x0300, "show")});
    EXPECT_EQ(controller.objectValueForTableColumn("shortcutkey", 0), "Shift+Cmd+K");
    EXPECT_EQ(table->reloads, reloads);
    EXPECT_EQ(table->endedEdits.size(), 1U);
    controller.clearShortcutKey(); // as ever
    EXPECT_EQ(waits, 2);
    EXPECT_THAT(watchlist(), testing::IsEmpty());
}
