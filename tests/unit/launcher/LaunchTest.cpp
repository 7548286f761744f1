#include "ControllerFixture.h"
#include "Threads.h"
#include "ToolTree.h"

#include <filesystem>
#include <gmock/gmock.h>
#include <latch>
#include <mutex>
#include <set>
#include <thread>

using namespace tooltree;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::Pair;

namespace {

using platform::PropertyList;

class Launch : public ControllerTest {
protected:
    // A tool that is really there.
    static std::unique_ptr<VTLaunchApp> tool(const std::string& title = "Purgel",
                                             std::optional<std::string> identifier = "com.vantorel.Purgel") {
        auto app = std::make_unique<VTLaunchApp>();
        app->setTitle(title);
        app->setBundleID(std::move(identifier));
        app->setAppPath(path(title));
        sandbox::makeFolder(path(title));
        return app;
    }
    static std::string path(const std::string& title) { return applications() + "/" + title + ".app"; }

    // A launch on this thread; what it did is forgotten.
    void launch(const VTLaunchApp& app) {
        controller->launchAppOnThread(app);
        events();
    }

    static void postEnd(std::optional<std::string> identifier) {
        PropertyList::Dictionary userInfo;
        if (identifier) {
            userInfo.emplace(platform::kApplicationBundleIdentifier, *std::move(identifier));
        }
        platform::current().notificationCenter->post(
            {.name = "NSWorkspaceDidTerminateApplicationNotification", .userInfo = std::move(userInfo)});
    }

    // What the end of an application brings about.
    std::vector<std::string> eventsAtEndOf(std::optional<std::string> identifier) {
        postEnd(std::move(identifier));
        return events();
    }

    static void setDefault(const char* key, const PropertyList& value) {
        sandbox::defaults().setObject(value, key);
    }

    const std::vector<std::string> comesBack{"unhide", "activate Launcher", "window key"};
};

std::vector<std::string> launchOf(const std::string& path, const std::string& name, const std::string& last) {
    return {"window back", "hold " + path, "open " + path, "activate " + name, last, "release " + path};
}

} // namespace

// --- Launching

TEST_F(Launch, GoesThroughItsStepsInOrder) {
    awake();
    events();
    controller->launchAppOnThread(*tool());
    EXPECT_EQ(events(), launchOf(path("Purgel"), "Purgel", "hide"));
    EXPECT_TRUE(sandbox::application().isHidden());
    EXPECT_THAT(sandbox::alertPanels().shown(), IsEmpty());
}

TEST_F(Launch, ActivatesByTheNameOfTheBundleAndNotByTheTitle) {
    awake();
    for (const auto& [folder, name] : std::vector<std::pair<std::string, std::string>>{
             {"Purgel.app", "Purgel"},
             {"Nib.Sorter.2.APP", "Nib.Sorter.2"},
             {"A \"quoted\" & <odd> name.app", "A \"quoted\" & <odd> name"},
             {"\xFF\xFE.app", "\xFF\xFE"},
             {"Φακός.app", "Φακός"}}) {
        auto app = tool("Another title");
        app->setAppPath(applications() + "/" + folder);
        sandbox::makeFolder(*app->appPath());
        events();
        controller->launchAppOnThread(*app);
        EXPECT_EQ(events(), launchOf(*app->appPath(), name, "hide"));
    }
}

TEST_F(Launch, QuitsInsteadOfHidingOnlyWhenThePreferenceIsOne) {
    awake();
    auto app = tool();
    const std::vector<std::pair<PropertyList, std::string>> expected{
        {0, "hide"},     {1, "terminate"},   {2, "hide"},    {-1, "hide"}, {true, "terminate"},
        {false, "hide"}, {"1", "terminate"}, {"on", "hide"}, {"", "hide"}, {1.0, "terminate"}};
    for (const auto& [value, last] : expected) {
        setDefault("quitAfterLaunching", value);
        events();
        controller->launchAppOnThread(*app);
        EXPECT_EQ(events(), launchOf(path("Purgel"), "Purgel", last));
    }
}

TEST_F(Launch, ThePanelGoesBackWithoutBeingWaitedFor) {
    // A main thread that is busy.
    struct BusyMainThread : FakeMainThread {
        void perform(std::function<void()> work, platform::Wait wait) override {
            if (wait == platform::Wait::UntilDone || !busy) {
                FakeMainThread::perform(std::move(work), wait);
            } else {
                later.push_back(std::move(work));
            }
        }
        bool busy = false;
        std::vector<std::function<void()>> later;
    };
    auto mainThread = std::make_shared<BusyMainThread>();
    auto services = platform::current();
    services.mainThread = mainThread;
    platform::ScopedPlatform scope(services);

    awake();
    finish();
    events();
    mainThread->busy = true;
    controller->launchAppOnThread(*tool());
    EXPECT_THAT(events(), ElementsAre("hold " + path("Purgel"), "open " + path("Purgel"), "activate Purgel",
                                      "hide", "release " + path("Purgel")));
    ASSERT_EQ(mainThread->later.size(), 1U);
    mainThread->later.front()();
    EXPECT_THAT(events(), ElementsAre("window back"));
}

TEST_F(Launch, RemembersTheToolAfterThePanelHasGoneBackAndBeforeOpeningIt) {
    awake();
    launch(*tool("Old", "com.vantorel.Old"));
    std::vector<std::string> known; // what the end of which brings the panel back, step by step
    bool asking = false;
    sandbox::workspace().onEvent = [&](const std::string& event) {
        if (asking || (event != "window back" && !event.starts_with("open"))) {
            return;
        }
        asking = true;
        for (const char* identifier : {"com.vantorel.Old", "com.vantorel.New"}) {
            sandbox::application().hide();
            postEnd(identifier);
            if (!sandbox::application().isHidden()) {
                known.push_back(event + ": " + identifier);
            }
        }
        asking = false;
    };
    controller->launchAppOnThread(*tool("New", "com.vantorel.New"));
    EXPECT_THAT(known,
                ElementsAre("window back: com.vantorel.Old", "open " + path("New") + ": com.vantorel.New"));
}

TEST_F(Launch, TheHoldEndsAlsoWhenTheLaunchFails) {
    awake();
    throwOn("open " + path("Purgel"));
    printedBy([&] { controller->launchAppOnThread(*tool()); });
    EXPECT_THAT(events(), Contains("release " + path("Purgel")));
}

// --- What cannot be launched

TEST_F(Launch, AMissingBundleIsAnAlertAndNothingElse) {
    awake();
    auto app = tool();
    std::filesystem::remove_all(path("Purgel"));
    events();
    controller->launchAppOnThread(*app);
    EXPECT_THAT(sandbox::alertPanels().shown(),
                ElementsAre(Pair("Purgel cannot be launched.", "The application could not be found.")));
    EXPECT_THAT(events(), IsEmpty());
    EXPECT_FALSE(sandbox::application().isHidden());
}

TEST_F(Launch, TheAlertTakesTheTitleAsItIs) {
    for (const char* title : {"<b>Bold</b> & 100%", "%@ %s %d", "Φακός", "two\nlines", ""}) {
        VTLaunchApp app;
        app.setTitle(title);
        app.setAppPath("/nonexistent/Tool.app");
        controller->launchAppOnThread(app);
        EXPECT_EQ(sandbox::alertPanels().shown().back().first, std::string(title) + " cannot be launched.");
    }
}

TEST_F(Launch, ATextThatIsAbsentDoesNoHarm) {
    VTLaunchApp nothing;
    controller->launchAppOnThread(nothing);
    EXPECT_THAT(sandbox::alertPanels().shown(),
                ElementsAre(Pair("(null) cannot be launched.", "The application could not be found.")));
    EXPECT_THAT(events(), IsEmpty());
}

TEST_F(Launch, ALinkThatLeadsNowhereIsMissing) {
    std::filesystem::create_symlink("/nonexistent", path("Linked"));
    VTLaunchApp app;
    app.setTitle("Linked");
    app.setAppPath(path("Linked"));
    controller->launchAppOnThread(app);
    EXPECT_THAT(sandbox::alertPanels().shown(), ElementsAre(Pair("Linked cannot be launched.", testing::_)));
}

TEST_F(Launch, AMissingBundleLeavesTheToolLaunchedBeforeRemembered) {
    awake();
    launch(*tool("Old", "com.vantorel.Old"));
    VTLaunchApp missing;
    missing.setTitle("New");
    missing.setBundleID("com.vantorel.New");
    missing.setAppPath("/nonexistent/New.app");
    controller->launchAppOnThread(missing);
    EXPECT_THAT(eventsAtEndOf("com.vantorel.New"), IsEmpty());
    EXPECT_EQ(eventsAtEndOf("com.vantorel.Old"), comesBack);
}

TEST_F(Launch, AnExceptionIsLoggedAndEndsTheLaunch) {
    awake();
    const std::string message =
        "Exception in -[AppController launchAppOnThread:]. NSFailure - it went wrong.";
    for (const char* step : {"window back", "open", "activate Purgel", "hide"}) {
        const bool opens = std::string_view(step) == "open";
        throwOn(opens ? "open " + path("Purgel") : step);
        events();
        EXPECT_THAT(printedBy([&] { controller->launchAppOnThread(*tool()); }), HasSubstr(message)) << step;
        auto done = events();
        std::erase(done, "release " + path("Purgel"));
        ASSERT_THAT(done, Not(IsEmpty()));
        EXPECT_TRUE(done.back().starts_with(step)) << done.back();
    }
    EXPECT_THAT(sandbox::alertPanels().shown(), IsEmpty());
}

TEST_F(Launch, AToolThatWasRememberedBeforeTheExceptionStaysSo) {
    awake();
    throwOn("open " + path("Purgel"));
    printedBy([&] { controller->launchAppOnThread(*tool()); });
    sandbox::workspace().onEvent = nullptr;
    sandbox::application().hide();
    events();
    EXPECT_EQ(eventsAtEndOf("com.vantorel.Purgel"), comesBack);
}

// --- The selected tool

TEST_F(Launch, WithoutASelectionNothingIsLaunched) {
    addTool("1.app", "A");
    awake();
    finish();
    events();
    controller->launchApp();
    EXPECT_THAT(sandbox::console().lines(), IsEmpty()); // not even a thread was asked for
    EXPECT_THAT(events(), IsEmpty());
}

TEST_F(Launch, ARowBeyondTheListLaunchesNothing) {
    addTool("1.app", "A");
    awake();
    finish();
    events();
    for (std::size_t row : {std::size_t{1}, std::size_t{2}, static_cast<std::size_t>(-1)}) {
        table.selected = row;
        controller->launchApp();
    }
    EXPECT_THAT(sandbox::console().lines(), IsEmpty());
    EXPECT_THAT(events(), IsEmpty());
}

TEST_F(Launch, TakesTheToolOfTheSelectedRowAsItIsShown) {
    addTool("1.app", "Zeta");
    addTool("2.app", "Alpha");
    awake();
    events();
    table.selected = 1;
    controller->launchApp();
    finish();
    EXPECT_EQ(events(), launchOf(applications() + "/1.app", "1", "hide"));
}

TEST_F(Launch, RunsOnAThreadOfItsOwn) {
    addTool("1.app", "A");
    awake();
    std::mutex mutex;
    std::set<std::thread::id> threads;
    sandbox::workspace().onEvent = [&](const std::string& event) {
        std::lock_guard lock(mutex);
        if (!event.starts_with("window")) {
            EXPECT_FALSE(platform::isMainThread()) << event;
        }
        threads.insert(std::this_thread::get_id());
    };
    table.selected = 0;
    controller->launchApp();
    finish();
    EXPECT_EQ(threads.size(), 1U);
    EXPECT_FALSE(threads.contains(std::this_thread::get_id()));
}

TEST_F(Launch, EnterLaunches) {
    addTool("1.app", "A");
    awake();
    events();
    table.selected = 0;
    platform::current().notificationCenter->post({.name = "VTEnterPressed", .userInfo = {}});
    finish();
    EXPECT_EQ(events(), launchOf(applications() + "/1.app", "1", "hide"));
}

TEST_F(Launch, SaysSoWhenNoThreadCanBeStarted) {
    addTool("1.app", "A");
    awake();
    finish();
    events();
    table.selected = 0;
    controller->launchApp();
    EXPECT_THAT(sandbox::console().lines(),
                ElementsAre("Unable to launch a tool: no thread could be started."));
    EXPECT_THAT(events(), IsEmpty());
}

TEST_F(Launch, ALaunchThatHangsHoldsUpNoOther) {
    addTool("1.app", "A");
    addTool("2.app", "B");
    awake();
    std::latch release(1);
    sandbox::workspace().onEvent = [&](const std::string& event) {
        if (event == "open " + applications() + "/1.app") {
            release.wait();
        }
    };
    table.selected = 0;
    controller->launchApp();
    sandbox::workspace().waitFor("open " + applications() + "/1.app");
    table.selected = 1;
    controller->launchApp();
    sandbox::workspace().waitFor("release " + applications() + "/2.app");
    EXPECT_THAT(events(), Not(Contains("activate 1")));
    release.count_down();
    sandbox::workspace().waitFor("release " + applications() + "/1.app");
    EXPECT_THAT(events(), Contains("activate 1"));
}

TEST_F(Launch, AnAlertThatStandsHoldsUpNoOtherLaunch) {
    struct PatientAlertPanels : FakeAlertPanels {
        void runAlertPanel(const std::string& title, const std::string& message) override {
            EXPECT_FALSE(platform::isMainThread());
            FakeAlertPanels::runAlertPanel(title, message);
            standing.count_down();
            dismissed.wait();
        }
        std::latch standing{1};
        std::latch dismissed{1};
    };
    auto alertPanels = std::make_shared<PatientAlertPanels>();
    auto services = platform::current();
    services.alertPanels = alertPanels;
    platform::ScopedPlatform scope(services);
    addTool("1.app", "A");
    addTool("2.app", "B");
    awake();
    std::filesystem::remove_all(applications() + "/1.app");
    table.selected = 0;
    controller->launchApp();
    alertPanels->standing.wait();
    table.selected = 1;
    controller->launchApp();
    sandbox::workspace().waitFor("release " + applications() + "/2.app");
    alertPanels->dismissed.count_down();
    finish();
    EXPECT_THAT(alertPanels->shown(), ElementsAre(Pair("A cannot be launched.", testing::_)));
}

TEST_F(Launch, OfSeveralLaunchesTheLastCounts) {
    awake();
    launch(*tool("First", "com.vantorel.First"));
    launch(*tool("Second", "com.vantorel.Second"));
    EXPECT_THAT(eventsAtEndOf("com.vantorel.First"), IsEmpty());
    EXPECT_EQ(eventsAtEndOf("com.vantorel.Second"), comesBack);
}

// --- The end of an application

TEST_F(Launch, TheEndOfTheToolBringsTheLauncherBack) {
    awake();
    launch(*tool());
    EXPECT_EQ(eventsAtEndOf("com.vantorel.Purgel"), comesBack);
    EXPECT_FALSE(sandbox::application().isHidden());
}

TEST_F(Launch, BeforeAnyLaunchNoEndMatters) {
    awake();
    sandbox::application().hide();
    events();
    EXPECT_THAT(eventsAtEndOf("com.vantorel.Purgel"), IsEmpty());
    EXPECT_THAT(eventsAtEndOf(std::nullopt), IsEmpty());
}

TEST_F(Launch, AnotherApplicationsEndDoesNotMatter) {
    awake();
    launch(*tool());
    for (const char* other : {"com.vantorel.Purge", "com.vantorel.Purgel2", "com.vantorel", "", "Purgel",
                              "com.vantorel.Purgel ", "com.vantorel.P\xC3\xBCrgel"}) {
        EXPECT_THAT(eventsAtEndOf(other), IsEmpty()) << other;
    }
    EXPECT_TRUE(sandbox::application().isHidden());
}

TEST_F(Launch, IdentifiersMatchWhateverTheirCase) {
    awake();
    const std::vector<std::pair<std::string, std::string>> pairs{
        {"com.vantorel.Purgel", "COM.VANTOREL.PURGEL"}, {"com.vantorel.PURGEL", "com.vantorel.purgel"},
        {"com.vantorel.ΦΑΚΌΣ", "com.vantorel.φακός"},   {"com.vantorel.журнал", "com.vantorel.ЖУРНАЛ"},
        {"com.vantorel.ÄÖ", "com.vantorel.äö"},         {"com.vantorel.\xFF", "COM.vantorel.\xFF"}};
    for (const auto& [launched, ended] : pairs) {
        launch(*tool("Tool", launched));
        EXPECT_EQ(eventsAtEndOf(ended), comesBack) << launched;
    }
}

TEST_F(Launch, AfterTheUserBroughtTheLauncherBackNothingHappens) {
    awake();
    launch(*tool());
    sandbox::application().unhide();
    events();
    EXPECT_THAT(eventsAtEndOf("com.vantorel.Purgel"), IsEmpty());
}

TEST_F(Launch, TheToolIsNeverForgotten) {
    awake();
    launch(*tool());
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(eventsAtEndOf("com.vantorel.Purgel"), comesBack);
        sandbox::application().hide(); // whatever hid it
        events();
    }
}

TEST_F(Launch, ComesBackOnlyWhenThePreferenceIsOne) {
    awake();
    launch(*tool());
    for (const auto& value : {PropertyList(0), PropertyList(2), PropertyList(-1), PropertyList(false),
                              PropertyList("no"), PropertyList(PropertyList::Array{1})}) {
        setDefault("unhideOnLaunchedAppExit", value);
        EXPECT_THAT(eventsAtEndOf("com.vantorel.Purgel"), IsEmpty());
        EXPECT_TRUE(sandbox::application().isHidden());
    }
    for (const auto& value : {PropertyList(1), PropertyList(true), PropertyList("1")}) {
        setDefault("unhideOnLaunchedAppExit", value);
        EXPECT_EQ(eventsAtEndOf("com.vantorel.Purgel"), comesBack);
        sandbox::application().hide();
        events();
    }
}

TEST_F(Launch, StaysAwayWhenItQuitsAfterLaunching) {
    awake();
    launch(*tool());
    setDefault("quitAfterLaunching", 1);
    EXPECT_THAT(eventsAtEndOf("com.vantorel.Purgel"), IsEmpty());
    setDefault("quitAfterLaunching", 2);
    EXPECT_EQ(eventsAtEndOf("com.vantorel.Purgel"), comesBack);
}

TEST_F(Launch, AnEndWithoutIdentifierDoesNotMatter) {
    awake();
    launch(*tool());
    EXPECT_THAT(eventsAtEndOf(std::nullopt), IsEmpty());
    platform::current().notificationCenter->post(
        {.name = platform::kWorkspaceDidTerminateApplicationNotification,
         .userInfo = {{platform::kApplicationBundleIdentifier, 7}}}); // no text
    EXPECT_THAT(events(), IsEmpty());
}

TEST_F(Launch, AToolWithoutIdentifierIsNotWaitedFor) {
    awake();
    launch(*tool("Old", "com.vantorel.Old"));
    launch(*tool("Nameless", std::nullopt));
    EXPECT_THAT(eventsAtEndOf(std::nullopt), IsEmpty());
    EXPECT_THAT(eventsAtEndOf(""), IsEmpty());
    EXPECT_THAT(eventsAtEndOf("com.vantorel.Old"), IsEmpty());
}

TEST_F(Launch, AnExceptionAtTheEndIsLogged) {
    awake();
    launch(*tool());
    const std::string message = "Exception in -[AppController appQuit:]. NSFailure - it went wrong.";
    for (const auto& step : comesBack) {
        sandbox::application().hide();
        events();
        throwOn(step);
        EXPECT_THAT(printedBy([] { postEnd("com.vantorel.Purgel"); }), HasSubstr(message)) << step;
        EXPECT_EQ(events().back(), step);
        sandbox::workspace().onEvent = nullptr;
    }
}

// Launches, ends and rebuilds at once; the thread sanitizer watches.
TEST_F(Launch, LaunchesEndsAndRebuildsMayRace) {
    constexpr std::size_t kTools = 8;
    for (std::size_t i = 0; i < kTools; ++i) {
        auto name = "Tool " + std::to_string(i);
        addBundle(name + ".app", name, "com.vantorel." + std::to_string(i));
        writePlist(name + ".app/Contents/VTApp.plist", {{"VTGroupName", "Group"}});
    }
    sandbox::writeFile(sandbox::root() + "/Library/Documentation/Vantorel/Guide.pdf", "");
    awake();
    constexpr int kRounds = 40;
    const auto onMainThread = [](std::function<void()> work) {
        platform::current().mainThread->perform(std::move(work), platform::Wait::UntilDone);
    };
    {
        std::jthread launching([&] {
            for (int i = 0; i < kRounds; ++i) {
                onMainThread([&] {
                    table.selected = static_cast<std::size_t>(i) % kTools;
                    controller->launchApp();
                });
            }
        });
        std::jthread ending([&] {
            for (int i = 0; i < kRounds; ++i) {
                onMainThread([&] { postEnd("com.vantorel." + std::to_string(i % 8)); });
                setDefault("quitAfterLaunching", i % 3 == 0 ? 1 : 0);
            }
        });
        std::jthread rebuilding([&] {
            for (int i = 0; i < kRounds; ++i) {
                controller->startRebuild();
            }
        });
    }
    spinner.waitUntilStopped(rebuilds + kRounds);
    finish();
    auto all = events();
    const auto count = [&](std::string_view start) {
        return std::ranges::count_if(all, [&](const auto& event) { return event.starts_with(start); });
    };
    EXPECT_EQ(count("open "), kRounds);
    EXPECT_EQ(count("window back"), kRounds);
    EXPECT_EQ(count("hide") + count("terminate"), kRounds);
    EXPECT_EQ(count("release "), kRounds);
    EXPECT_EQ(controller->numberOfRows(), kTools);
    EXPECT_THAT(sandbox::alertPanels().shown(), IsEmpty());
    EXPECT_THAT(sandbox::console().lines(), IsEmpty());
}
