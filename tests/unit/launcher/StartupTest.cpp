#include "ControllerFixture.h"
#include "Threads.h"
#include "ToolTree.h"
#include "VTLog.h"

#include <filesystem>
#include <gmock/gmock.h>
#include <latch>
#include <thread>

using namespace tooltree;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::SizeIs;

namespace {

using Startup = ControllerTest;

void post(const char* name) {
    platform::current().notificationCenter->post({.name = name, .userInfo = {}});
}

} // namespace

// --- init

TEST_F(Startup, BeginsWithNothingShown) {
    EXPECT_EQ(controller->numberOfRows(), 0U);
    EXPECT_THAT(*controller->dataArray(), IsEmpty());
}

TEST_F(Startup, OpensAFreshLog) {
    VTLog::finishWriting();
    ASSERT_THAT(VTLog::availableLogs(), SizeIs(1));
    controller = AppController::init();
    VTLog::finishWriting();
    EXPECT_THAT(VTLog::availableLogs(), SizeIs(2)); // what was written before has moved on
}

TEST_F(Startup, LooksForACrashOfTheLastRun) {
    VTLog::finishWriting();
    sandbox::defaults().setObject(platform::PropertyList::Date{1000}, "launch");
    const auto crashLog =
        sandbox::home() + "/Library/Logs/DiagnosticReports/(null)_1.crash"; // no bundle here
    sandbox::writeFile(crashLog, "");
    controller = AppController::init();
    VTLog::finishWriting();
    EXPECT_THAT(sandbox::workspace().events(),
                ElementsAre("open " + crashLog + " with bundle com.vantorel.BugReporter"));
    const auto logs = VTLog::availableLogs();
    ASSERT_THAT(logs, SizeIs(2));
    // The entry waits to be written while the fresh log is opened, so it may be in either.
    EXPECT_THAT(sandbox::readFile(logs[1]) + sandbox::readFile(logs[0]),
                HasSubstr("Application crashed on last launch"));
}

TEST_F(Startup, AnOrderlyEndIsRecorded) {
    const auto launch = sandbox::defaults().objectForKey("launch");
    ASSERT_TRUE(launch && launch->date());
    EXPECT_FALSE(sandbox::defaults().objectForKey("exit"));
    EXPECT_TRUE(controller->applicationWillTerminate());
    const auto exit = sandbox::defaults().objectForKey("exit");
    ASSERT_TRUE(exit && exit->date());
    EXPECT_GE(exit->date()->secondsSinceReferenceDate, launch->date()->secondsSinceReferenceDate);
}

TEST_F(Startup, RegistersTwoDefaultsAndNoMore) {
    struct WatchedDefaults : FakeUserDefaults {
        void registerDefaults(const platform::PropertyList::Dictionary& values) override {
            registered.insert(values.begin(), values.end());
            FakeUserDefaults::registerDefaults(values);
        }
        platform::PropertyList::Dictionary registered;
    };
    auto defaults = std::make_shared<WatchedDefaults>();
    auto services = platform::current();
    services.userDefaults = defaults;
    platform::ScopedPlatform scope(services);
    AppController::init();
    EXPECT_EQ(defaults->registered,
              (platform::PropertyList::Dictionary{{"unhideOnLaunchedAppExit", 1}, {"sortType", 0}}));
}

TEST_F(Startup, StoredValuesComeBeforeTheDefaults) {
    sandbox::defaults().setObject(0, "unhideOnLaunchedAppExit");
    sandbox::defaults().setObject(1, "sortType");
    controller = AppController::init();
    EXPECT_EQ(sandbox::defaults().integerForKey("unhideOnLaunchedAppExit"), 0);
    EXPECT_EQ(sandbox::defaults().integerForKey("sortType"), 1);
}

// --- awakeFromNib

TEST_F(Startup, FadesThePanelInThroughItsController) {
    windowController.awakeFromNib();
    double alphaWhenShown = -1;
    window.onEvent = [&](const std::string&) { alphaWhenShown = window.alpha; };
    awake();
    EXPECT_THAT(window.events, ElementsAre("front"));
    EXPECT_EQ(alphaWhenShown, 0.0);
    EXPECT_EQ(window.target, 1.0);
    window.finishAnimation();
    EXPECT_TRUE(window.visible);
    EXPECT_EQ(window.alpha, 1.0);
}

TEST_F(Startup, RedrawsTheTableAtOnce) {
    struct WatchedTable : FakeTable {
        void reloadData() override {
            if (platform::isMainThread()) {
                ++reloadsHere;
            }
            FakeTable::reloadData();
        }
        int reloadsHere = 0;
    } watched;
    auto connected = outlets();
    connected.tableView = &watched;
    controller->awakeFromNib(connected);
    EXPECT_EQ(watched.reloadsHere, 1);
    spinner.waitUntilStopped(1);
    EXPECT_EQ(watched.reloads, 2); // and once more with what the rebuild has found
}

TEST_F(Startup, LooksForToolsOnAThreadOfItsOwn) {
    addTool("1.app", "A");
    awake();
    EXPECT_EQ(controller->numberOfRows(), 1U);
    EXPECT_EQ(spinner.started(), 1);
}

TEST_F(Startup, LooksForManualsOnAThreadOfItsOwn) {
    const auto guide = sandbox::root() + "/Library/Documentation/Vantorel/Guide.pdf";
    sandbox::writeFile(guide, "%PDF");
    std::latch added(1);
    std::thread::id thread;
    userManualMenu.onAddItem = [&](const std::string&) {
        thread = std::this_thread::get_id();
        added.count_down();
    };
    awake();
    added.wait();
    finish();
    EXPECT_NE(thread, std::this_thread::get_id());
    EXPECT_THAT(userManualMenu.titles(), ElementsAre("Guide"));
    EXPECT_EQ(userManualMenu.items.front()->path, guide);
}

TEST_F(Startup, ChecksTheItemOfTheStoredSortType) {
    for (int sortType : {0, 1}) {
        sandbox::defaults().setObject(sortType, "sortType");
        for (auto& item : sortMenu.items) {
            item->setState(false);
        }
        controller = AppController::init();
        rebuilds = spinner.started();
        awake();
        EXPECT_THAT(sortMenu.checked(), ElementsAre(sortType == 0 ? "by name" : "by group"));
        finish();
    }
}

TEST_F(Startup, SortsByNameWhenNothingIsStored) {
    awake();
    EXPECT_THAT(sortMenu.checked(), ElementsAre("by name"));
}

TEST_F(Startup, EveryItemOfThatTagIsChecked) {
    sortMenu.add("also by name", AppController::kSortByName);
    awake();
    EXPECT_THAT(sortMenu.checked(), ElementsAre("by name", "also by name"));
}

TEST_F(Startup, AWindowThatBecomesKeyNeedsNothing) {
    awake();
    events();
    post("VTWindowDidBecomeKey");
    EXPECT_THAT(events(), IsEmpty());
    EXPECT_EQ(table.reloads, 2);
}

// An exception stops what comes after it and nothing that came before.

TEST_F(Startup, WhenThePanelCannotBeShownNothingFollows) {
    addTool("1.app", "A");
    sandbox::writeFile(sandbox::root() + "/Library/Documentation/Vantorel/Guide.pdf", "");
    throwOn("window front");
    EXPECT_EQ(printedBy([&] { controller->awakeFromNib(outlets()); }),
              "Exception in -[AppController awakeFromNib]. NSFailure - it went wrong.\n");
    spinner.waitUntilStopped(1);
    EXPECT_EQ(controller->numberOfRows(), 1U); // the rebuild comes before
    EXPECT_EQ(table.reloads, 1);               // its own, and no other
    EXPECT_THAT(sortMenu.checked(), IsEmpty());
    table.selected = 0;
    post("VTEnterPressed");
    finish();
    EXPECT_THAT(events(), ElementsAre("window front"));
    EXPECT_THAT(userManualMenu.titles(), IsEmpty());
}

TEST_F(Startup, WhenTheTableCannotBeRedrawnNothingIsObserved) {
    struct FailingTable : FakeTable {
        void reloadData() override {
            if (platform::isMainThread()) {
                throw platform::Exception("NSTableException", "no table");
            }
            FakeTable::reloadData();
        }
    } failing;
    addTool("1.app", "A");
    auto connected = outlets();
    connected.tableView = &failing;
    EXPECT_EQ(printedBy([&] { controller->awakeFromNib(connected); }),
              "Exception in -[AppController awakeFromNib]. NSTableException - no table.\n");
    spinner.waitUntilStopped(1);
    failing.selected = 0;
    post("VTEnterPressed");
    finish();
    EXPECT_THAT(events(), ElementsAre("window front")); // the panel comes before
    EXPECT_THAT(sortMenu.checked(), IsEmpty());
}

TEST_F(Startup, WhenTheSortMenuFailsTheObserversAreThereAndTheManualsAreNot) {
    struct FailingMenu : FakeMenu {
        outlet::MenuItem& itemAtIndex(std::size_t) override {
            throw platform::Exception("NSMenuException", "no such item");
        }
    } failing;
    failing.add("by name", AppController::kSortByName);
    addTool("1.app", "A");
    sandbox::writeFile(sandbox::root() + "/Library/Documentation/Vantorel/Guide.pdf", "");
    auto connected = outlets();
    connected.sortMenu = &failing;
    EXPECT_EQ(printedBy([&] { controller->awakeFromNib(connected); }),
              "Exception in -[AppController awakeFromNib]. NSMenuException - no such item.\n");
    spinner.waitUntilStopped(1);
    events();
    table.selected = 0;
    post("VTEnterPressed");
    finish();
    EXPECT_THAT(events(), Contains("open " + applications() + "/1.app"));
    EXPECT_THAT(userManualMenu.titles(), IsEmpty());
}

// --- The end

TEST_F(Startup, TheProgramEndsWithThePanel) {
    awake();
    EXPECT_FALSE(controller->applicationShouldTerminateAfterLastWindowClosed());
    window.visible = false;
    EXPECT_TRUE(controller->applicationShouldTerminateAfterLastWindowClosed());
    window.visible = true;
    EXPECT_FALSE(controller->applicationShouldTerminateAfterLastWindowClosed());
}

TEST_F(Startup, AtTheEndEveryThreadHasFinished) {
    awake();
    EXPECT_TRUE(controller->applicationWillTerminate());
    EXPECT_FALSE(controller->threads().detachNewThread([](const std::stop_token&) {}));
}

TEST_F(Startup, ObservesNothingAfterItsEnd) {
    addTool("1.app", "A");
    awake();
    table.selected = 0;
    controller->launchAppOnThread(*controller->dataArray()->front());
    finish();
    std::weak_ptr<AppController> watched = controller;
    controller.reset();
    ASSERT_TRUE(watched.expired()); // no observation keeps it
    events();
    post("VTEnterPressed");
    post("VTWindowDidBecomeKey");
    platform::current().notificationCenter->post(
        {.name = platform::kWorkspaceDidTerminateApplicationNotification,
         .userInfo = {{platform::kApplicationBundleIdentifier, "com.vantorel.Tool"}}});
    EXPECT_THAT(events(), IsEmpty());
    EXPECT_TRUE(sandbox::application().isHidden());
}
