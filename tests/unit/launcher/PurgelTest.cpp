#include "ControllerFixture.h"
#include "FakeAuthorization.h"
#include "FakeMainThread.h"
#include "ToolTree.h"
#include "VTLog.h"
#include "linux/LinuxFileManager.h"

#include <atomic>
#include <fstream>
#include <gmock/gmock.h>
#include <latch>
#include <mutex>
#include <thread>

using namespace tooltree;
using namespace std::chrono_literals;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Pair;
using testing::SizeIs;

namespace {

using Command = std::pair<std::string, std::vector<std::string>>;
using Texts = std::pair<std::string, std::string>;
using Sheet = FakeAlertSheets::Sheet;

constexpr const char* kComplete = "VTKVDPurgelComplete";

const Texts kCompleteTexts{"Purgel complete", "You can now relaunch your editing applications."};
const Texts kConfirmation{
    "Warning",
    "This function will trash preferences, clear caches and repair Compressor, Avid Media Composer and Adobe "
    "Creative Suite. This may cause some user settings to be reset to their defaults.\n\nA backup is "
    "automatically created before this occurs, so if you need to restore your preferences afterwards, launch "
    "Tallowby and restore the newest auto backup."};

// A run is made on the test's own thread, which stands for the controller's; everybody answers at once.
class Purgel : public ControllerTest {
protected:
    Purgel() {
        auto services = platform::current();
        services.mainThread = mainThread;
        services.authorization = authorization;
        services.fileManager = files;
        platform::install(services);
        authorization->onExecute = [this](const FakeAuthorization::Run& run) {
            {
                std::lock_guard lock(mutex_);
                commands_.emplace_back(run.tool, run.arguments);
            }
            return onExec ? onExec() : 0;
        };
        VTLog::finishWriting();
        linesBefore_ = logLines().size();
    }
    ~Purgel() override {
        finish();
        VTLog::finishWriting();
    }

    // With Purgel in the group that it belongs to.
    void awakeWithPurgel() {
        addTool("Kelvandor/Purgel.app", "Purgel", "Kelvandor");
        awake();
    }
    // The button, and what the user answers.
    void run(std::deque<std::int64_t> answers = {1}) {
        sheets().answers = std::move(answers);
        controller->runPurgelOnThread();
    }
    // What the user has been shown since the last call.
    std::vector<Texts> shown() {
        auto all = sheets().texts();
        std::vector<Texts> fresh(all.begin() + seen_, all.end());
        seen_ = static_cast<std::ptrdiff_t>(all.size());
        return fresh;
    }
    // What has been logged since the test began.
    std::vector<std::string> logged() {
        VTLog::finishWriting();
        auto lines = logLines();
        lines.erase(lines.begin(), lines.begin() + static_cast<std::ptrdiff_t>(linesBefore_));
        for (auto& line : lines) {
            line.erase(0, line.find(" - ") + 3);
        }
        return lines;
    }
    std::vector<Command> commands() const {
        std::lock_guard lock(mutex_);
        return commands_;
    }
    bool isRunning() const { return progressPanel.window == &window && progressBar.isAnimating; }

    static void addRunning(const std::string& identifier, const std::optional<std::string>& path) {
        sandbox::workspace().running.push_back({path.value_or("/somewhere"), identifier});
        if (path) {
            sandbox::workspace().paths[identifier] = *path;
        }
    }
    static FakeAlertSheets& sheets() { return sandbox::alertSheets(); }
    static FakeDistributedNotifications& suite() { return sandbox::distributedNotifications(); }
    static std::string executable(const std::string& bundle) {
        return applications() + "/" + bundle + "/Contents/MacOS/Purgel";
    }

    // Every Purgel has an executable, and the system has a killall unless the test says otherwise.
    struct Files : platform::LinuxFileManager {
        bool fileExists(const std::string& path) override {
            return path == "/usr/bin/killall"
                       ? hasKillAll.load()
                       : path.ends_with("/Contents/MacOS/Purgel") || LinuxFileManager::fileExists(path);
        }
        std::atomic<bool> hasKillAll = true;
    };

    std::shared_ptr<FakeMainThread> mainThread = std::make_shared<FakeMainThread>();
    std::shared_ptr<FakeAuthorization> authorization = std::make_shared<FakeAuthorization>();
    std::shared_ptr<Files> files = std::make_shared<Files>();
    std::function<std::int32_t()> onExec; // what running a tool with rights comes to; 0 unless it is set

private:
    static std::vector<std::string> logLines() {
        std::vector<std::string> lines;
        std::ifstream file(VTLog::availableLogs().at(0));
        for (std::string line; std::getline(file, line);) {
            lines.push_back(line);
        }
        return lines;
    }

    mutable std::mutex mutex_;
    std::vector<Command> commands_;
    std::size_t linesBefore_ = 0;
    std::ptrdiff_t seen_ = 0;
};

std::string pleaseClose(const std::string& names) {
    return "Please close the following applications before continuing: \n\n" + names;
}

} // namespace

// --- A run

TEST_F(Purgel, GoesThroughItsStepsInOrder) {
    awakeWithPurgel();
    run();
    EXPECT_THAT(shown(), ElementsAre(kConfirmation));
    EXPECT_THAT(commands(), ElementsAre(Pair(executable("Kelvandor/Purgel.app"), ElementsAre("-fix"))));
    EXPECT_TRUE(isRunning());
    EXPECT_EQ(suite().observerCount(kComplete), 1U);
    EXPECT_THAT(logged(), ElementsAre("User started Purgel", "Asking user what to do...", "Purgel confirmed",
                                      "Launching Purgel at " + executable("Kelvandor/Purgel.app")));

    sheets().answers = {1};
    suite().deliver(kComplete);
    EXPECT_FALSE(isRunning());
    EXPECT_EQ(progressPanel.window, nullptr);
    EXPECT_FALSE(progressBar.isAnimating);
    EXPECT_EQ(suite().observerCount(kComplete), 0U);
    EXPECT_THAT(shown(), ElementsAre(kCompleteTexts));
    EXPECT_THAT(logged(), SizeIs(4));
}

TEST_F(Purgel, TheConfirmationHasTwoButtons) {
    awakeWithPurgel();
    run();
    const auto& sheet = *sheets().shown().at(0);
    EXPECT_EQ(sheet.contents.defaultButtonTitle, "Continue");
    EXPECT_EQ(sheet.contents.alternateButtonTitle, "Cancel");
    EXPECT_EQ(sheet.contents.otherButtonTitle, std::nullopt);
    EXPECT_EQ(sheet.window, &window);
}

TEST_F(Purgel, AnyOtherAnswerIsNo) {
    awakeWithPurgel();
    for (const std::int64_t answer : {0, -1}) {
        run({answer});
    }
    sheets().isClosed = true; // the program ends
    run({});
    EXPECT_THAT(commands(), IsEmpty());
    EXPECT_EQ(progressPanel.begun, 0);
    EXPECT_THAT(logged(),
                ElementsAre("User started Purgel", "Asking user what to do...", "User cancelled Purgel",
                            "User started Purgel", "Asking user what to do...", "User cancelled Purgel",
                            "User started Purgel", "Asking user what to do...", "User cancelled Purgel"));
}

TEST_F(Purgel, RefusedRightsLeaveNothingButALogLine) {
    awakeWithPurgel();
    for (const std::int32_t status : {-1, -2, 1, -60005}) {
        onExec = [status] { return status; };
        run();
        EXPECT_THAT(shown(), ElementsAre(kConfirmation));
        EXPECT_EQ(logged().back(), "Error: authorization failed or application cannot be found");
    }
    EXPECT_EQ(progressPanel.begun, 0);
    EXPECT_EQ(suite().observerCount(kComplete), 0U);
    mainThread->advance(120s);
    EXPECT_THAT(shown(), IsEmpty());
}

TEST_F(Purgel, ToolsAreStartedWithRightsAndNotWaitedFor) {
    awakeWithPurgel();
    run();
    controller->cancelPurgel();
    finish();
    EXPECT_THAT(authorization->events,
                ElementsAre("privilegedReference", "create",
                            "askForRights for " + executable("Kelvandor/Purgel.app"),
                            "execute " + executable("Kelvandor/Purgel.app"), "execute /usr/bin/killall"));
    for (const auto& run : authorization->runs) {
        EXPECT_FALSE(run.waitsForEnd);
    }
}

TEST_F(Purgel, WithoutItsExecutableNobodyIsAskedForRights) {
    platform::install([] {
        auto services = platform::current();
        services.fileManager = std::make_shared<platform::LinuxFileManager>();
        return services;
    }());
    awakeWithPurgel();
    run();
    EXPECT_THAT(authorization->events, testing::Not(Contains(testing::HasSubstr("Rights"))));
    EXPECT_EQ(logged().back(), "Error: authorization failed or application cannot be found");
    EXPECT_EQ(progressPanel.begun, 0);
}

// --- The tool

TEST_F(Purgel, TheOneOfTheKelvandorGroupWins) {
    addTool("A/Purgel.app", "Purgel", "Ostendel");
    addTool("B/Purgel.app", "Purgel", "Kelvandor");
    addTool("C/Purgel.app", "Purgel", "Pelliden");
    addTool("D/Purgel.app", "Purgel", "Kelvandor"); // which is not looked at any more
    awake();
    run();
    EXPECT_THAT(commands(), ElementsAre(Pair(executable("B/Purgel.app"), ElementsAre("-fix"))));
}

TEST_F(Purgel, FailingThatTheLastOneOfTheNameIsTaken) {
    addTool("A/Purgel.app", "Purgel", "Ostendel");
    addTool("B/Purgel.app", "Purgel");
    addTool("C/Purgel.app", "Purgel", "kelvandor"); // the case counts
    addTool("D/Purgels.app", "Purgel Plus", "Kelvandor");
    addTool("E/Small.app", "purgel", "Kelvandor");
    awake();
    run();
    EXPECT_THAT(commands(), ElementsAre(Pair(executable("C/Purgel.app"), ElementsAre("-fix"))));
    EXPECT_THAT(sandbox::workspace().events(), testing::Not(Contains("find com.vantorel.Purgel")));
}

TEST_F(Purgel, AHiddenOneIsFoundByItsIdentifier) {
    sandbox::defaults().setObject(platform::PropertyList::Array{"Kelvandor"}, "hiddenGroups");
    sandbox::workspace().paths["com.vantorel.Purgel"] = "/elsewhere/Purgel.app";
    awakeWithPurgel();
    ASSERT_EQ(controller->numberOfRows(), 0U);
    run();
    EXPECT_THAT(commands(),
                ElementsAre(Pair("/elsewhere/Purgel.app/Contents/MacOS/Purgel", ElementsAre("-fix"))));
}

TEST_F(Purgel, AMissingOneIsAnAlert) {
    awake();
    run({});
    EXPECT_THAT(sandbox::alertPanels().shown(),
                ElementsAre(Pair("Unable to launch Purgel", "Purgel application cannot be found.")));
    EXPECT_THAT(shown(), IsEmpty());
    EXPECT_THAT(commands(), IsEmpty());
    EXPECT_THAT(logged(), ElementsAre("User started Purgel", "Purgel application not found"));
    EXPECT_THAT(sandbox::workspace().events(), Contains("find com.vantorel.Purgel"));
}

// --- Editing applications

TEST_F(Purgel, EveryEditingApplicationIsInTheWayOfIt) {
    awakeWithPurgel();
    const std::vector<std::string> identifiers{"com.avid.mediacomposer",
                                               "com.avid.symphony",
                                               "com.apple.FinalCutPro",
                                               "com.apple.FinalCut",
                                               "com.apple.FinalCutTrial",
                                               "com.apple.SoundtrackPro",
                                               "com.apple.motion",
                                               "com.apple.color",
                                               "com.apple.dvdstudiopro",
                                               "com.apple.LiveType",
                                               "com.apple.compressor.Compressor",
                                               "com.apple.CinemaTools",
                                               "com.apple.quicktimeplayer",
                                               "com.apple.FinalCutExpress",
                                               "com.apple.QuickTimePlayerX",
                                               "com.adobe.AdobePremierePro",
                                               "com.apple.motionapp",
                                               "com.apple.Compressor",
                                               "com.adobe.ame.application"};
    for (const auto& identifier : identifiers) {
        sandbox::workspace().running.clear();
        addRunning(identifier, "/Applications/One of " + identifier + ".app");
        run();
        EXPECT_THAT(shown(),
                    ElementsAre(Pair("Unable to begin Purgel", pleaseClose("One of " + identifier))));
    }
    // All at once, found in another order than they are named in.
    sandbox::workspace().running.clear();
    std::string all;
    for (auto identifier = identifiers.rbegin(); identifier != identifiers.rend(); ++identifier) {
        addRunning(*identifier, "/Applications/One of " + *identifier + ".app");
        all = "One of " + *identifier + (all.empty() ? "" : "\n" + all);
    }
    run();
    EXPECT_THAT(shown(), ElementsAre(Pair("Unable to begin Purgel", pleaseClose(all))));
    EXPECT_EQ(sheets().shown().back()->window, &window);
    EXPECT_THAT(commands(), IsEmpty());
    EXPECT_THAT(logged(), IsEmpty());
}

TEST_F(Purgel, EachIsOnALineOfItsOwnInTheOrderOfTheTable) {
    awakeWithPurgel();
    addRunning("com.apple.Compressor", "/Applications/Squeezel.app");
    addRunning("com.apple.FinalCutPro", "/Applications/Edit/Splicel 7.0.app");
    run();
    EXPECT_THAT(shown(), ElementsAre(Pair("Unable to begin Purgel", pleaseClose("Splicel 7.0\nSqueezel"))));
}

TEST_F(Purgel, OthersAreNotInTheWay) {
    awakeWithPurgel();
    addRunning("com.apple.finalcutpro", "/Applications/Splicel.app"); // the case counts
    addRunning("com.apple.FinalCutPro.Helper", "/Applications/Helper.app");
    addRunning("com.vantorel.Purgel", "/Applications/Purgel.app");
    addRunning("com.apple.motion", std::nullopt); // nobody knows where it is
    sandbox::workspace().running.push_back({"/Applications/Nameless.app", std::nullopt});
    EXPECT_TRUE(controller->checkForRunningApps());
    run();
    EXPECT_THAT(shown(), ElementsAre(kConfirmation));
}

TEST_F(Purgel, ARefusalIsSeenBeforeItReturns) {
    awakeWithPurgel();
    addRunning("com.apple.color", "/Applications/Gradel.app");
    sheets().answers = {1};
    EXPECT_FALSE(controller->checkForRunningApps());
    EXPECT_FALSE(sheets().shown().back()->isUp());
    EXPECT_EQ(sheets().shown().back()->contents.defaultButtonTitle, std::nullopt);
}

// --- The end

TEST_F(Purgel, WithoutANotificationItIsOverAfterAMinute) {
    awakeWithPurgel();
    run();
    shown();
    mainThread->advance(59'999ms);
    EXPECT_TRUE(isRunning());
    EXPECT_THAT(shown(), IsEmpty());
    sheets().answers = {1};
    mainThread->advance(1ms);
    EXPECT_FALSE(isRunning());
    EXPECT_THAT(shown(), ElementsAre(kCompleteTexts));
    EXPECT_EQ(suite().observerCount(kComplete), 0U);
}

TEST_F(Purgel, TheEndIsToldOnce) {
    awakeWithPurgel();
    run();
    sheets().answers = {1};
    suite().deliver(kComplete);
    EXPECT_THAT(shown(), ElementsAre(kConfirmation, kCompleteTexts));
    suite().deliver(kComplete);
    mainThread->advance(120s); // the timer has not been cancelled
    controller->purgelEnded();
    EXPECT_THAT(shown(), IsEmpty());
    EXPECT_GE(progressPanel.ended, 3);
}

TEST_F(Purgel, ASecondRunIsEndedByTheTimerOfTheFirst) {
    awakeWithPurgel();
    run();
    mainThread->advance(20s);
    sheets().answers = {1};
    suite().deliver(kComplete);
    mainThread->advance(10s);
    run();
    EXPECT_TRUE(isRunning());
    shown();
    sheets().answers = {1};
    mainThread->advance(30s); // since the second one's start
    EXPECT_FALSE(isRunning());
    EXPECT_THAT(shown(), ElementsAre(kCompleteTexts));
    mainThread->advance(120s);
    EXPECT_THAT(shown(), IsEmpty());
}

TEST_F(Purgel, TheTimerOfTheFirstTellsNothingOfARunThatHasNotBegun) {
    awakeWithPurgel();
    run();
    sheets().answers = {1};
    suite().deliver(kComplete);
    mainThread->advance(30s);
    shown();
    onExec = [this] {
        mainThread->advance(40s); // the user thinks about the password
        return 0;
    };
    run();
    EXPECT_THAT(shown(), ElementsAre(kConfirmation));
    EXPECT_TRUE(isRunning());
    sheets().answers = {1};
    suite().deliver(kComplete);
    EXPECT_FALSE(isRunning());
    EXPECT_THAT(shown(), ElementsAre(kCompleteTexts)) << "its own end is told";
}

TEST_F(Purgel, TheTimerOutlivesTheController) {
    awakeWithPurgel();
    run();
    finish();
    controller.reset();
    suite().deliver(kComplete);
    mainThread->advance(120s);
    EXPECT_THAT(shown(), ElementsAre(kConfirmation));
}

// --- Cancelling

TEST_F(Purgel, CancellingStopsTheSuitesProcesses) {
    awakeWithPurgel();
    run();
    controller->cancelPurgel();
    finish();
    EXPECT_THAT(commands(), ElementsAre(Pair(executable("Kelvandor/Purgel.app"), ElementsAre("-fix")),
                                        Pair("/usr/bin/killall", ElementsAre("Purgel", "Tallowby", "Ferrulet",
                                                                             "Quoinet", "Gimbrel"))));
    EXPECT_FALSE(isRunning());
    EXPECT_EQ(suite().observerCount(kComplete), 0U);
    suite().deliver(kComplete); // late
    mainThread->advance(120s);
    EXPECT_THAT(shown(), ElementsAre(kConfirmation));
    EXPECT_THAT(logged(), SizeIs(4));
}

TEST_F(Purgel, CancellingDoesNotDependOnRights) {
    awakeWithPurgel();
    run();
    onExec = [] { return -1; };
    controller->cancelPurgel();
    finish();
    EXPECT_FALSE(isRunning());
    EXPECT_THAT(commands(), SizeIs(2));
    EXPECT_THAT(shown(), ElementsAre(kConfirmation));
}

TEST_F(Purgel, CancellingDoesNotDependOnKillAll) {
    awakeWithPurgel();
    run();
    files->hasKillAll = false;
    controller->cancelPurgel();
    finish();
    EXPECT_FALSE(isRunning());
    EXPECT_THAT(commands(), SizeIs(1));
    EXPECT_THAT(shown(), ElementsAre(kConfirmation));
}

TEST_F(Purgel, ANotificationWhileItIsBeingCancelledShowsNothing) {
    awakeWithPurgel();
    run();
    onExec = [this] { // which takes its time
        mainThread->perform([] { suite().deliver(kComplete); }, platform::Wait::UntilDone);
        return 0;
    };
    controller->cancelPurgel();
    finish();
    EXPECT_FALSE(isRunning());
    EXPECT_THAT(shown(), ElementsAre(kConfirmation));
}

TEST_F(Purgel, UntilARunHasBeenCancelledThereIsNoOther) {
    awakeWithPurgel();
    run();
    sheets().answers = {1};
    std::latch pressed(1);
    onExec = [&] {
        mainThread->advance(120s); // the password again
        EXPECT_FALSE(isRunning()); // the window is not locked, whatever cancelling waits for
        controller->runPurgel();
        pressed.count_down();
        return 0;
    };
    controller->cancelPurgel();
    pressed.wait();
    finish();
    EXPECT_FALSE(isRunning());
    EXPECT_THAT(commands(), SizeIs(2));
    EXPECT_THAT(shown(), ElementsAre(kConfirmation));
}

TEST_F(Purgel, AfterACancelledRunThereCanBeAnother) {
    awakeWithPurgel();
    run();
    controller->cancelPurgel();
    finish();
    run();
    EXPECT_TRUE(isRunning());
    sheets().answers = {1};
    suite().deliver(kComplete);
    EXPECT_THAT(shown(), ElementsAre(kConfirmation, kConfirmation, kCompleteTexts));
}

// --- The button

TEST_F(Purgel, TheButtonDoesNotHoldUpTheMainThread) {
    awakeWithPurgel();
    std::latch asked(1);
    std::latch answered(1);
    onExec = [&] {
        asked.count_down();
        answered.wait(); // the user thinks about the password
        return 0;
    };
    sheets().answers = {1};
    controller->runPurgel();
    asked.wait();
    controller->runPurgel(); // once is enough
    controller->runPurgel();
    EXPECT_FALSE(isRunning());
    answered.count_down();
    finish();
    EXPECT_TRUE(isRunning());
    EXPECT_THAT(commands(), SizeIs(1));
    EXPECT_THAT(shown(), ElementsAre(kConfirmation));
}

TEST_F(Purgel, TheButtonWorksAgainOnceARunHasBegun) {
    awakeWithPurgel();
    onExec = [] { return -1; };
    sheets().answers = std::deque<std::int64_t>(1000, 1);
    while (commands().size() < 3) { // a press while one is being started does nothing
        controller->runPurgel();
        std::this_thread::yield();
    }
    finish();
    EXPECT_EQ(progressPanel.begun, 0);
}

TEST_F(Purgel, WithoutAThreadItIsToldToTheConsole) {
    awakeWithPurgel();
    finish();
    controller->runPurgel();
    controller->cancelPurgel();
    EXPECT_THAT(sandbox::console().lines(),
                ElementsAre("Unable to run Purgel: no thread could be started.",
                            "Unable to cancel Purgel: no thread could be started."));
    EXPECT_EQ(progressPanel.ended, 1);
}

TEST_F(Purgel, AnExceptionIsLogged) {
    awakeWithPurgel();
    throwOn("find com.apple.color");
    addRunning("com.apple.color", "/Applications/Gradel.app");
    EXPECT_THAT(printedBy([this] { run(); }), HasSubstr("-[AppController runPurgel:]"));
    sandbox::workspace().onEvent = nullptr;
    onExec = []() -> std::int32_t { throw platform::Exception("NSFailure", "it went wrong"); };
    EXPECT_THAT(printedBy([this] {
                    controller->cancelPurgel();
                    finish();
                }),
                HasSubstr("-[AppController cancelPurgel:]"));
    EXPECT_EQ(progressPanel.ended, 1) << "it ends all the same";
}

// --- Notifications

TEST_F(Purgel, WithoutARunNotificationsChangeNothing) {
    awakeWithPurgel();
    EXPECT_EQ(suite().observerCount(kComplete), 0U);
    for (int i = 0; i < 10'000; ++i) {
        suite().deliver(kComplete);
    }
    run();
    for (int i = 0; i < 10'000; ++i) {
        suite().deliver("VTKVDPurgelComplet");
    }
    EXPECT_TRUE(isRunning());
    EXPECT_THAT(shown(), ElementsAre(kConfirmation));
}
