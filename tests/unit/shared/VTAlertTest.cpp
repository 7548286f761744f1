#include "VTAlert.h"

#include "FakeMainThread.h"
#include "TestSandbox.h"

#include <atomic>
#include <chrono>
#include <gmock/gmock.h>
#include <limits>
#include <map>
#include <thread>
#include <vector>

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;
using testing::SizeIs;

namespace {

using Sheet = FakeAlertSheets::Sheet;
using Text = VTAlert::Text;
constexpr auto kAbsent = std::nullopt;

// Has one operation, and remembers the answers that it was called with.
class Receiver : public VTAlertDelegate {
public:
    Operation operationNamed(const std::string& selector) override {
        if (selector != "sheetDidEnd:returnCode:contextInfo:") {
            return nullptr;
        }
        return [this](platform::AlertSheet& sheet, std::int64_t answer) {
            EXPECT_TRUE(FakeMainThread::isHere());
            sheets.push_back(&sheet);
            answers.push_back(answer);
        };
    }
    static Text selector() { return "sheetDidEnd:returnCode:contextInfo:"; }

    std::vector<const platform::AlertSheet*> sheets;
    std::vector<std::int64_t> answers;
};

class VTAlertTest : public testing::Test {
protected:
    static FakeAlertSheets& sheets() { return sandbox::alertSheets(); }

    std::int64_t ask() {
        return VTAlert::alertSheetWithMessageText("Warning", "Continue", "Cancel", "Help", "Really?", &window,
                                                  true);
    }
    // What a call on a worker returns when that is the answer.
    static std::int64_t onWorker(const std::function<std::int64_t()>& call, std::int64_t answer) {
        std::int64_t result = 99;
        const auto number = sheets().shown().size();
        std::jthread worker([&] { result = call(); });
        sheets().waitForSheet(number)->answer(answer);
        worker.join();
        return result;
    }
    std::int64_t withEverything(const std::shared_ptr<VTAlertDelegate>& delegate, const Text& selector,
                                bool block, const std::shared_ptr<VTAlert>& object = nullptr,
                                const Text& binding = kAbsent) {
        return VTAlert::alertSheetWithMessageText("Warning", "Continue", "Cancel", "Help", "Really?", &window,
                                                  delegate, selector, block, object, binding);
    }
    static std::vector<Text> buttons(const Sheet& sheet) {
        return {sheet.contents.defaultButtonTitle, sheet.contents.alternateButtonTitle,
                sheet.contents.otherButtonTitle};
    }

    platform::Window window;
    std::shared_ptr<Receiver> receiver = std::make_shared<Receiver>();
};

} // namespace

// --- The forms

TEST_F(VTAlertTest, TheShortFormHasOneButtonAndBlocks) {
    sheets().answers = {1};
    EXPECT_EQ(VTAlert::alertSheetWithMessageText("Message", "Text", &window), 1);
    ASSERT_THAT(sheets().texts(), ElementsAre(Pair("Message", "Text")));
    const auto& sheet = *sheets().shown()[0];
    EXPECT_THAT(buttons(sheet), ElementsAre(kAbsent, kAbsent, kAbsent));
    EXPECT_FALSE(sheet.contents.suppression);
    EXPECT_EQ(sheet.window, &window);
    EXPECT_FALSE(sheet.isUp());
}

TEST_F(VTAlertTest, TheFormWithButtonsBlocksWhateverItIsTold) {
    for (const bool block : {true, false}) {
        for (const std::int64_t answer : {1, 0, -1}) {
            sheets().answers = {answer};
            EXPECT_EQ(VTAlert::alertSheetWithMessageText("Warning", "Continue", "Cancel", "Help", "Really?",
                                                         &window, block),
                      answer);
        }
    }
    for (const auto& sheet : sheets().shown()) {
        EXPECT_THAT(buttons(*sheet), ElementsAre("Continue", "Cancel", "Help"));
        EXPECT_EQ(sheet->contents.messageText, "Warning");
        EXPECT_EQ(sheet->contents.informativeText, "Really?");
    }
}

TEST_F(VTAlertTest, TheFormWithADelegateBlocksAndNeverCallsIt) {
    for (const bool block : {true, false}) {
        sheets().answers = {0};
        EXPECT_EQ(VTAlert::alertSheetWithMessageText("Warning", "Continue", "Cancel", kAbsent, "Really?",
                                                     &window, receiver, Receiver::selector(), block),
                  0);
        // Nor does a selector that nobody has matter.
        sheets().answers = {-1};
        EXPECT_EQ(VTAlert::alertSheetWithMessageText("Warning", "Continue", "Cancel", kAbsent, "Really?",
                                                     &window, receiver, "nonsense:", block),
                  -1);
    }
    EXPECT_THAT(receiver->answers, IsEmpty());
    EXPECT_THAT(sandbox::console().lines(), IsEmpty());
    EXPECT_THAT(sheets().shown(), SizeIs(4));
}

TEST_F(VTAlertTest, TheFormWithAnAlertObjectHandsEverythingOn) {
    const auto object = std::make_shared<VTAlert>();
    EXPECT_EQ(VTAlert::alertSheetWithMessageText("Warning", "Continue", "Cancel", "Help", "Really?", &window,
                                                 receiver, Receiver::selector(), false, object),
              -1);
    EXPECT_FALSE(object->alertEnded());
    EXPECT_EQ(object->parentWindow(), &window);
    EXPECT_EQ(object->delegate(), receiver);
    EXPECT_EQ(object->alert(), sheets().shown()[0]);
    EXPECT_FALSE(sheets().shown()[0]->contents.suppression);
    EXPECT_THAT(buttons(*sheets().shown()[0]), ElementsAre("Continue", "Cancel", "Help"));
    sheets().shown()[0]->answer(0);
    EXPECT_THAT(receiver->answers, ElementsAre(0));
    EXPECT_THAT(receiver->sheets, ElementsAre(sheets().shown()[0].get()));
}

// --- Answers

TEST_F(VTAlertTest, AWorkerGetsTheAnswer) {
    for (const std::int64_t answer : {1, 0, -1}) {
        EXPECT_EQ(onWorker([this] { return ask(); }, answer), answer);
        EXPECT_FALSE(sheets().hasAttachedSheet(window));
    }
}

TEST_F(VTAlertTest, TheMainThreadKeepsTheInterfaceAliveUntilTheAnswer) {
    int turns = 0;
    sheets().whileWaiting = [&turns](Sheet& sheet) {
        if (++turns == 3) {
            sheet.answer(1);
        }
    };
    EXPECT_EQ(ask(), 1);
    EXPECT_EQ(turns, 3);
}

TEST_F(VTAlertTest, AnAlertObjectShowsHowFarItIs) {
    const auto object = std::make_shared<VTAlert>();
    EXPECT_EQ(object->parentWindow(), nullptr);
    EXPECT_EQ(object->delegate(), nullptr);
    EXPECT_FALSE(object->alertEnded());
    EXPECT_EQ(object->returnCode(), 0);
    EXPECT_EQ(object->alert(), nullptr);
    sheets().whileWaiting = [&](Sheet& sheet) {
        EXPECT_EQ(object->parentWindow(), &window);
        EXPECT_EQ(object->delegate(), object);
        EXPECT_FALSE(object->alertEnded());
        EXPECT_EQ(object->alert().get(), &sheet);
        sheet.answer(-1);
        EXPECT_TRUE(object->alertEnded());
    };
    EXPECT_EQ(withEverything(nullptr, kAbsent, true, object), -1);
    EXPECT_TRUE(object->alertEnded());
    EXPECT_EQ(object->returnCode(), -1);
    EXPECT_EQ(object->alert(), nullptr);
    // And it can be used again.
    sheets().answers = {1};
    EXPECT_EQ(withEverything(nullptr, kAbsent, true, object), 1);
    EXPECT_EQ(object->returnCode(), 1);
}

TEST_F(VTAlertTest, FieldsAreWhatTheyWereSetTo) {
    const auto alert = std::make_shared<VTAlert>();
    alert->setParentWindow(&window);
    alert->setDelegate(receiver);
    alert->setReturnCode(std::numeric_limits<std::int64_t>::min());
    alert->setAlertEnded(true);
    EXPECT_EQ(alert->parentWindow(), &window);
    EXPECT_EQ(alert->delegate(), receiver);
    EXPECT_EQ(alert->returnCode(), std::numeric_limits<std::int64_t>::min());
    EXPECT_TRUE(alert->alertEnded());
    receiver.reset(); // it is not owned
    EXPECT_EQ(alert->delegate(), nullptr);
}

TEST_F(VTAlertTest, SettingTheEndEndsTheWait) {
    for (const bool onMainThread : {true, false}) {
        const auto object = std::make_shared<VTAlert>();
        auto end = [&object] {
            object->setReturnCode(7);
            object->setAlertEnded(true);
        };
        std::int64_t result = 99;
        const auto number = sheets().shown().size();
        if (onMainThread) {
            sheets().whileWaiting = [&end](Sheet&) { end(); };
            result = withEverything(nullptr, kAbsent, true, object);
        } else {
            std::jthread worker([&] { result = withEverything(nullptr, kAbsent, true, object); });
            sheets().waitForSheet(number);
            end();
            worker.join();
        }
        EXPECT_EQ(result, 7);
        EXPECT_FALSE(sheets().shown()[number]->isUp());
    }
}

TEST_F(VTAlertTest, TheEndSelectorEndsTheWaitWhoeverCallsIt) {
    const auto object = std::make_shared<VTAlert>();
    sheets().whileWaiting = [&object](Sheet& sheet) { object->alertDidEnd(sheet, 0); };
    EXPECT_EQ(withEverything(nullptr, kAbsent, true, object), 0);
    EXPECT_FALSE(sheets().shown()[0]->isUp());
}

// --- Delegates

TEST_F(VTAlertTest, WithoutBlockingTheDelegateIsToldLater) {
    EXPECT_EQ(withEverything(receiver, Receiver::selector(), false), -1);
    const auto sheet = sheets().shown()[0];
    EXPECT_TRUE(sheet->isUp());
    EXPECT_THAT(receiver->answers, IsEmpty());
    sheet->answer(1);
    EXPECT_THAT(receiver->answers, ElementsAre(1));
    EXPECT_FALSE(sheets().hasAttachedSheet(window));
}

TEST_F(VTAlertTest, WithoutBlockingTheAlertLivesUntilItIsAnswered) {
    std::weak_ptr<VTAlert> alert;
    {
        const auto object = std::make_shared<VTAlert>();
        alert = object;
        EXPECT_EQ(withEverything(nullptr, kAbsent, false, object), -1);
    }
    ASSERT_FALSE(alert.expired());
    sheets().shown()[0]->answer(0);
    EXPECT_TRUE(alert.expired());
}

TEST_F(VTAlertTest, ADelegateThatIsGoneIsNotCalled) {
    EXPECT_EQ(withEverything(receiver, Receiver::selector(), false), -1);
    receiver.reset();
    sheets().shown()[0]->answer(1);
    EXPECT_FALSE(sheets().shown()[0]->isUp());
}

TEST_F(VTAlertTest, BlockingWithADelegateToldFirstReturnsTheAnswer) {
    sheets().answers = {0};
    EXPECT_EQ(withEverything(receiver, Receiver::selector(), true), 0);
    EXPECT_THAT(receiver->answers, ElementsAre(0));
    EXPECT_EQ(onWorker([&] { return withEverything(receiver, Receiver::selector(), true); }, 1), 1);
    EXPECT_THAT(receiver->answers, ElementsAre(0, 1));
}

TEST_F(VTAlertTest, ADelegateWithoutTheOperationIsToldToTheConsole) {
    EXPECT_EQ(withEverything(receiver, "%@ and %d", true), -1);
    // The alert itself has but one.
    EXPECT_EQ(withEverything(nullptr, Receiver::selector(), true), -1);
    // And others need not have it.
    EXPECT_EQ(withEverything(receiver, kAbsent, true), -1);
    EXPECT_THAT(sheets().shown(), IsEmpty());
    EXPECT_THAT(
        sandbox::console().lines(),
        ElementsAre(
            "Alert error: delegate does not respond to selector %@ and %d",
            "Alert error: delegate does not respond to selector sheetDidEnd:returnCode:contextInfo:",
            "Alert error: delegate does not respond to selector alertDidEnd:returnCode:contextInfo:"));
}

TEST_F(VTAlertTest, TheAlertsOwnOperationCanBeNamed) {
    sheets().answers = {-1};
    EXPECT_EQ(withEverything(nullptr, "alertDidEnd:returnCode:contextInfo:", true), -1);
    EXPECT_THAT(sheets().shown(), SizeIs(1));
}

// --- Windows

TEST_F(VTAlertTest, AWindowThatHasASheetIsLeftAlone) {
    const auto first = std::make_shared<VTAlert>();
    const auto second = std::make_shared<VTAlert>();
    withEverything(receiver, Receiver::selector(), false, first);
    withEverything(receiver, Receiver::selector(), false, second);
    EXPECT_EQ(first->parentWindow(), &window);
    EXPECT_EQ(second->parentWindow(), nullptr);
    EXPECT_EQ(sheets().shown()[0]->window, &window);
    EXPECT_EQ(sheets().shown()[1]->window, nullptr);
    sheets().shown()[1]->answer(1);
    EXPECT_TRUE(sheets().hasAttachedSheet(window));
    sheets().shown()[0]->answer(1);
    EXPECT_FALSE(sheets().hasAttachedSheet(window));
}

TEST_F(VTAlertTest, AWindowThatGetsASheetMeanwhileIsLeftAloneToo) {
    const auto alert = std::make_shared<VTAlert>();
    alert->setParentWindow(&window);
    sheets().attachOther(window);
    alert->alertSheetWithDictionary({{"didEndSelector", "alertDidEnd:returnCode:contextInfo:"}});
    EXPECT_EQ(sheets().shown()[0]->window, nullptr);
    EXPECT_EQ(alert->parentWindow(), nullptr);
    sheets().shown()[0]->answer(1);
}

TEST_F(VTAlertTest, WithoutAWindowItStandsOnItsOwn) {
    sheets().answers = {1};
    EXPECT_EQ(VTAlert::alertSheetWithMessageText("Message", "Text", nullptr), 1);
    EXPECT_EQ(sheets().shown()[0]->window, nullptr);
}

TEST_F(VTAlertTest, NothingIsShownAnyMoreAtTheEndOfTheProgram) {
    sheets().isClosed = true;
    EXPECT_EQ(ask(), -1);
    std::int64_t result = 99;
    std::jthread([&] { result = ask(); }).join();
    EXPECT_EQ(result, -1);
    EXPECT_THAT(sheets().shown(), IsEmpty());
}

TEST_F(VTAlertTest, AMainLoopThatHasEndedShowsNothing) {
    struct EndedMainThread : FakeMainThread {
        void perform(std::function<void()>, platform::Wait) override {}
    };
    auto services = platform::current();
    services.mainThread = std::make_shared<EndedMainThread>();
    const platform::ScopedPlatform scope(services);
    EXPECT_EQ(ask(), -1);
    EXPECT_THAT(sheets().shown(), IsEmpty());
}

// --- Texts

TEST_F(VTAlertTest, AbsentTextsAreEmpty) {
    sheets().answers = {1};
    EXPECT_EQ(VTAlert::alertSheetWithMessageText(kAbsent, kAbsent, &window), 1);
    EXPECT_THAT(sheets().texts(), ElementsAre(Pair("", "")));
}

TEST_F(VTAlertTest, TheInformativeTextIsReadAsAFormat) {
    const std::vector<std::pair<std::string, std::string>> expected{{"100%% sure", "100% sure"},
                                                                    {"%%%%", "%%"},
                                                                    {"a %@ and a %d", "a %@ and a %d"},
                                                                    {"50 %", "50 %"},
                                                                    {"%%@", "%@"},
                                                                    {"", ""},
                                                                    {"<b>\n%%</b>", "<b>\n%</b>"}};
    for (const auto& [text, shown] : expected) {
        sheets().answers = {1};
        VTAlert::alertSheetWithMessageText("100%% " + text, text, &window);
        EXPECT_EQ(sheets().shown().back()->contents.informativeText, shown);
        EXPECT_EQ(sheets().shown().back()->contents.messageText, "100%% " + text); // which is no format
    }
}

TEST_F(VTAlertTest, ARequestIsADictionary) {
    const auto alert = std::make_shared<VTAlert>();
    alert->setDelegate(receiver);
    alert->setParentWindow(&window);
    alert->alertSheetWithDictionary({{"messageText", "Message"},
                                     {"defaultButtonTitle", "One"},
                                     {"alternateButtonTitle", "Two"},
                                     {"otherButtonTitle", "Three"},
                                     {"informativeText", "Text"},
                                     {"didEndSelector", *Receiver::selector()},
                                     {"suppressionBinding", "quiet"}});
    const auto sheet = sheets().shown().at(0);
    EXPECT_THAT(sheets().texts(), ElementsAre(Pair("Message", "Text")));
    EXPECT_THAT(buttons(*sheet), ElementsAre("One", "Two", "Three"));
    EXPECT_TRUE(sheet->contents.suppression);
    EXPECT_EQ(sheet->window, &window);
    sheet->answer(-1);
    EXPECT_THAT(receiver->answers, ElementsAre(-1));
}

// --- The suppression check box

TEST_F(VTAlertTest, TheCheckBoxShowsAndChangesThePreference) {
    for (const bool before : {false, true}) {
        sandbox::defaults().setObject(before, "quiet");
        withEverything(nullptr, kAbsent, false, nullptr, "quiet");
        const auto sheet = sheets().shown().back();
        ASSERT_TRUE(sheet->contents.suppression);
        EXPECT_EQ(sheet->contents.suppression->isOn, before);
        sheet->contents.suppression->didChange(!before);
        EXPECT_EQ(sandbox::defaults().integerForKey("quiet"), before ? 0 : 1);
        sheet->answer(1);
    }
}

TEST_F(VTAlertTest, APreferenceThatNobodyHasSetIsOff) {
    withEverything(nullptr, kAbsent, false, nullptr, "quiet");
    const auto sheet = sheets().shown()[0];
    EXPECT_FALSE(sheet->contents.suppression->isOn);
    sheet->answer(1);
    EXPECT_FALSE(sandbox::defaults().objectForKey("quiet")) << "an answer alone changes nothing";
}

// --- Timed alerts

TEST_F(VTAlertTest, ATimedAlertReturnsByItself) {
    std::int64_t result = 99;
    const auto start = std::chrono::steady_clock::now();
    std::jthread([&] {
        result = VTAlert::timedAlertSheetWithMessageText("Message", "Go", "Stop", "Help", "Text", &window, 1);
    }).join();
    const auto duration = std::chrono::steady_clock::now() - start;
    EXPECT_GE(duration, 1s) << "the interval is in seconds";
    EXPECT_LT(duration, 60s);
    EXPECT_EQ(result, 1);
    EXPECT_THAT(buttons(*sheets().shown()[0]), ElementsAre("Go", "Stop", "Help"));
    EXPECT_EQ(sheets().shown()[0]->window, &window);
    EXPECT_FALSE(sheets().shown()[0]->isUp());
}

TEST_F(VTAlertTest, ATimedAlertReturnsByItselfOnTheMainThread) {
    sheets().whileWaiting = [](Sheet&) { std::this_thread::yield(); };
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(VTAlert::timedAlertSheetWithMessageText("Message", "Go", "Stop", kAbsent, "Text", &window, 1),
              1);
    EXPECT_GE(std::chrono::steady_clock::now() - start, 1s);
    EXPECT_FALSE(sheets().shown()[0]->isUp());
}

TEST_F(VTAlertTest, ATimerWithoutTimeIsNotMissed) {
    sheets().whileWaiting = [](Sheet&) { std::this_thread::yield(); };
    for (const std::int64_t interval : {std::int64_t{0}, std::int64_t{-5}}) {
        for (int i = 0; i < 50; ++i) {
            EXPECT_EQ(VTAlert::timedAlertSheetWithMessageText("Message", kAbsent, "Stop", kAbsent, "Text",
                                                              &window, interval),
                      1);
        }
    }
}

TEST_F(VTAlertTest, ATimerWithoutTimeEndsWhatNobodyWaitsForToo) {
    const auto object = std::make_shared<VTAlert>();
    object->defaultReturnAfterTimeInterval(0);
    withEverything(receiver, Receiver::selector(), false, object);
    EXPECT_FALSE(sheets().shown().at(0)->isUp());
    EXPECT_TRUE(object->alertEnded());
    EXPECT_EQ(object->returnCode(), 1);
}

TEST_F(VTAlertTest, AnEarlierTimerHasNoEffect) {
    sheets().whileWaiting = [](Sheet& sheet) { sheet.answer(0); };
    const auto object = std::make_shared<VTAlert>();
    object->defaultReturnAfterTimeInterval(0);
    EXPECT_EQ(withEverything(nullptr, kAbsent, true, object), 1);
    EXPECT_EQ(withEverything(nullptr, kAbsent, true, object), 0) << "it has ended one alert already";
    object->defaultReturnAfterTimeInterval(0);
    EXPECT_EQ(withEverything(nullptr, kAbsent, true, object), 0) << "it has come after the answer";
}

TEST_F(VTAlertTest, ATimedAlertCanBeAnswered) {
    constexpr std::int64_t kLong = std::numeric_limits<std::int64_t>::max();
    for (const std::int64_t answer : {1, 0, -1}) {
        sheets().answers = {answer};
        EXPECT_EQ(VTAlert::timedAlertSheetWithMessageText("Message", kAbsent, "Stop", "Help", "Text", &window,
                                                          kLong),
                  answer);
    }
}

TEST_F(VTAlertTest, TheFirstEndDecides) {
    const auto alert = std::make_shared<VTAlert>();
    sheets().whileWaiting = [&alert](Sheet& sheet) {
        sheet.answer(0);
        alert->defaultReturnAfterTimeInterval(0); // the time is up a moment later
    };
    EXPECT_EQ(withEverything(nullptr, kAbsent, true, alert), 0);

    const auto other = std::make_shared<VTAlert>();
    withEverything(receiver, Receiver::selector(), false, other);
    const auto sheet = sheets().shown().back();
    other->defaultReturnAfterTimeInterval(0);
    EXPECT_FALSE(sheet->isUp()) << "it leaves the screen";
    other->alertDidEnd(*sheet, 0);
    EXPECT_EQ(other->returnCode(), 1);
    EXPECT_THAT(receiver->answers, IsEmpty()) << "nobody has answered";
}

// --- Many at once

TEST_F(VTAlertTest, EightThreadsAtOnce) {
    constexpr int kThreads = 8;
    constexpr int kRounds = 25;
    const std::vector<std::int64_t> all{1, 0, -1};
    std::atomic<int> right = 0;
    {
        std::vector<std::jthread> threads;
        for (int thread = 0; thread < kThreads; ++thread) {
            threads.emplace_back([&, thread] {
                for (int round = 0; round < kRounds; ++round) {
                    const auto message = std::to_string(thread) + "/" + std::to_string(round);
                    const auto result =
                        round % 5 == 4 ? VTAlert::timedAlertSheetWithMessageText("timed", kAbsent, kAbsent,
                                                                                 kAbsent, message, &window, 0)
                                       : VTAlert::alertSheetWithMessageText(message, "Go", "Stop", "Help",
                                                                            "Text", &window, true);
                    right += result == (round % 5 == 4 ? 1 : all[message.size() % 3]) ? 1 : 0;
                }
            });
        }
        // One user, who answers what comes; what is timed answers itself.
        for (std::size_t number = 0; number < kThreads * kRounds; ++number) {
            const auto sheet = sheets().waitForSheet(number);
            if (const auto& message = sheet->contents.messageText; message != "timed") {
                platform::current().mainThread->perform([&] { sheet->answer(all[message.size() % 3]); },
                                                        platform::Wait::UntilDone);
            }
        }
    }
    EXPECT_EQ(right, kThreads * kRounds);
    EXPECT_FALSE(sheets().hasAttachedSheet(window));
}
