#include "PanelSheets.h"

#include "PanelWindow.h"
#include "QtMainThread.h"
#include "TestSandbox.h"
#include "VTAlert.h"
#include "Waiting.h"

#include <QApplication>
#include <QCheckBox>
#include <QPushButton>
#include <QTest>
#include <QTimer>
#include <atomic>
#include <gmock/gmock.h>
#include <memory>
#include <optional>
#include <thread>
#include <vector>

using testing::ElementsAre;

namespace {

QPushButton* button(const DarkAlert& alert, const QString& title) {
    for (auto* button : alert.findChildren<QPushButton*>()) {
        if (button->text() == title) {
            return button;
        }
    }
    return nullptr;
}

// The alerts of the support library on windows of the toolkit.
class PanelSheetsTest : public testing::Test {
protected:
    PanelSheetsTest() {
        auto services = platform::current();
        services.mainThread = mainThread;
        services.alertSheets = sheets;
        platform::install(services);
        widget.resize(600, 400);
        widget.show();
    }
    ~PanelSheetsTest() override {
        sheets->close();
        mainThread->close();
    }

    std::int64_t ask(platform::Window* parent) {
        return VTAlert::alertSheetWithMessageText("Warning", "Continue", "Cancel", "Help", "100%% sure?",
                                                  parent, true);
    }
    // Calls on a worker and answers on this thread once the alert is up.
    std::int64_t onWorker(const std::function<std::int64_t()>& call, const std::function<void()>& answer) {
        std::atomic<bool> returned = false;
        std::int64_t result = 99;
        std::jthread worker([&] {
            result = call();
            returned = true;
        });
        EXPECT_TRUE(QTest::qWaitFor([] { return !shownAlerts().empty(); }, kLimit));
        answer();
        EXPECT_TRUE(QTest::qWaitFor([&] { return returned.load(); }, kLimit));
        return result;
    }
    // From within a loop that waits.
    void whenShown(std::size_t number, const std::function<void()>& answer) {
        timer.callOnTimeout([this, number, answer] {
            if (shownAlerts().size() == number) {
                timer.disconnect();
                timer.stop();
                answer();
            }
        });
        timer.start(1);
    }
    static platform::AlertSheets::DidEnd notedIn(std::vector<std::int64_t>& answers) {
        return [&answers](platform::AlertSheet&, std::int64_t answer) { answers.push_back(answer); };
    }

    std::shared_ptr<platform::QtMainThread> mainThread = std::make_shared<platform::QtMainThread>();
    std::shared_ptr<PanelSheets> sheets = std::make_shared<PanelSheets>();
    QWidget widget;
    PanelWindow window{widget, false};
    QTimer timer;
};

} // namespace

TEST_F(PanelSheetsTest, AWorkerGetsTheAnswer) {
    const std::vector<std::pair<QString, std::int64_t>> all{{"Continue", 1}, {"Cancel", 0}, {"Help", -1}};
    for (const auto& [title, answer] : all) {
        const auto press = [&, text = title] {
            auto* alert = shownAlerts().at(0);
            EXPECT_EQ(alert->parentWidget(), &widget);
            EXPECT_EQ(alert->windowTitle(), "Warning");
            EXPECT_EQ(alert->accessibleDescription(), "100% sure?");
            EXPECT_TRUE(sheets->hasAttachedSheet(window));
            button(*alert, text)->click();
        };
        EXPECT_EQ(onWorker([&] { return ask(&window); }, press), answer);
        EXPECT_TRUE(shownAlerts().empty());
        EXPECT_FALSE(sheets->hasAttachedSheet(window));
    }
}

TEST_F(PanelSheetsTest, AWaitOnTheMainThreadKeepsTheInterfaceAlive) {
    int turns = 0;
    QTimer alive;
    alive.callOnTimeout([&turns] {
        if (++turns == 20) {
            button(*shownAlerts().at(0), "Cancel")->click();
        }
    });
    alive.start(1);
    EXPECT_EQ(ask(&window), 0);
    EXPECT_GE(turns, 20);
}

TEST_F(PanelSheetsTest, ATimedAlertReturnsByItself) {
    const auto call = [this] {
        return VTAlert::timedAlertSheetWithMessageText("Message", "Go", "Stop", std::nullopt, "Text", &window,
                                                       1);
    };
    EXPECT_EQ(call(), 1);
    EXPECT_TRUE(shownAlerts().empty());
    EXPECT_EQ(onWorker(call, [] {}), 1);
    EXPECT_TRUE(shownAlerts().empty());
}

TEST_F(PanelSheetsTest, AWindowThatHasASheetGetsNoOther) {
    const auto press = [this] {
        auto* first = shownAlerts().at(0);
        QTimer::singleShot(0, &widget, [first] {
            for (auto* alert : shownAlerts()) {
                if (alert != first) {
                    EXPECT_EQ(alert->parentWidget(), nullptr);
                    EXPECT_EQ(alert->windowModality(), Qt::NonModal);
                    button(*alert, "Help")->click();
                }
            }
        });
        EXPECT_EQ(ask(&window), -1);
        EXPECT_TRUE(first->isVisible());
        button(*first, "Continue")->click();
    };
    EXPECT_EQ(onWorker([&] { return ask(&window); }, press), 1);
}

TEST_F(PanelSheetsTest, WithoutAWindowItIsOneOfItsOwn) {
    const auto press = [] {
        EXPECT_EQ(shownAlerts().at(0)->parentWidget(), nullptr);
        button(*shownAlerts().at(0), "Continue")->click();
    };
    EXPECT_EQ(onWorker([&] { return ask(nullptr); }, press), 1);
}

TEST_F(PanelSheetsTest, AWindowThatClosesCancels) {
    EXPECT_EQ(onWorker([&] { return ask(&window); }, [this] { widget.close(); }), 0);
    widget.show();
    whenShown(1, [this] { widget.close(); });
    EXPECT_EQ(ask(&window), 0);
}

TEST_F(PanelSheetsTest, AWindowThatIsDestroyedCancels) {
    auto other = std::make_unique<QWidget>();
    auto otherWindow = std::make_unique<PanelWindow>(*other, false);
    other->show();
    EXPECT_EQ(onWorker([&] { return ask(otherWindow.get()); },
                       [&] {
                           otherWindow.reset();
                           other.reset();
                       }),
              0);
}

TEST_F(PanelSheetsTest, TheWindowComesToTheFront) {
    sandbox::application().hide();
    widget.hide();
    whenShown(1, [this] {
        EXPECT_TRUE(widget.isVisible());
        EXPECT_FALSE(sandbox::application().isHidden());
        shownAlerts().at(0)->reject();
    });
    EXPECT_EQ(ask(&window), 0);
}

TEST_F(PanelSheetsTest, TheCheckBoxChangesThePreference) {
    const auto call = [this] {
        return VTAlert::alertSheetWithMessageText("Message", "Go", "Stop", std::nullopt, "Text", &window,
                                                  nullptr, std::nullopt, true, nullptr, "quiet");
    };
    for (const bool before : {false, true}) {
        whenShown(1, [before] {
            auto* box = shownAlerts().at(0)->findChild<QCheckBox*>();
            EXPECT_EQ(box->isChecked(), before);
            box->click();
            EXPECT_EQ(sandbox::defaults().integerForKey("quiet"), before ? 0 : 1);
            shownAlerts().at(0)->reject();
        });
        EXPECT_EQ(call(), 0);
    }
}

TEST_F(PanelSheetsTest, TheEndOfTheMainLoopEndsAWaitOnTheMainThread) {
    std::int64_t result = 99;
    QTimer::singleShot(0, &widget, [&] { result = ask(&window); });
    whenShown(1, [] { QCoreApplication::exit(3); });
    EXPECT_EQ(QApplication::exec(), 3);
    EXPECT_EQ(result, 0);
    EXPECT_TRUE(shownAlerts().empty());
}

TEST_F(PanelSheetsTest, ClosingAnswersEverybodyAndShowsNothingMore) {
    std::vector<std::int64_t> answers;
    QWidget other;
    PanelWindow otherWindow(other, false);
    const auto first =
        sheets->beginSheet({.messageText = "One", .informativeText = ""}, &window, notedIn(answers));
    const auto second =
        sheets->beginSheet({.messageText = "Two", .informativeText = ""}, &otherWindow, notedIn(answers));
    const auto third =
        sheets->beginSheet({.messageText = "Three", .informativeText = "", .alternateButtonTitle = "No"},
                           nullptr, notedIn(answers));
    sheets->close();
    EXPECT_THAT(answers, ElementsAre(1, 1, 0));
    EXPECT_TRUE(shownAlerts().empty());
    EXPECT_EQ(sheets->beginSheet({.messageText = "Four", .informativeText = ""}, &window, notedIn(answers)),
              nullptr);
    EXPECT_EQ(ask(&window), -1);
    first->waitUntilEnded(); // which it has
}

TEST_F(PanelSheetsTest, AWorkerIsLetGoAtTheEnd) {
    EXPECT_EQ(onWorker([&] { return ask(&window); },
                       [this] {
                           mainThread->close();
                           sheets->close();
                       }),
              0);
}

TEST_F(PanelSheetsTest, WhatIsOrderedOutIsNotAnswered) {
    std::vector<std::int64_t> answers;
    const auto sheet =
        sheets->beginSheet({.messageText = "One", .informativeText = ""}, &window, notedIn(answers));
    sheet->orderOut();
    sheet->orderOut();
    EXPECT_TRUE(shownAlerts().empty());
    EXPECT_FALSE(sheets->hasAttachedSheet(window));
    EXPECT_THAT(answers, ElementsAre());
}

TEST_F(PanelSheetsTest, NobodyNeedsToHoldASheet) {
    std::vector<std::int64_t> answers;
    sheets->beginSheet({.messageText = "One", .informativeText = ""}, &window, notedIn(answers));
    button(*shownAlerts().at(0), "OK")->click();
    EXPECT_THAT(answers, ElementsAre(1));
}

TEST_F(PanelSheetsTest, EightThreadsAtOnce) {
    constexpr int kThreads = 8;
    constexpr int kRounds = 4;
    std::atomic<int> right = 0;
    std::atomic<int> ended = 0;
    std::vector<std::jthread> threads;
    for (int thread = 0; thread < kThreads; ++thread) {
        threads.emplace_back([&] {
            for (int round = 0; round < kRounds; ++round) {
                right += ask(&window) == -1 ? 1 : 0;
            }
            ++ended;
        });
    }
    timer.callOnTimeout([] {
        if (const auto alerts = shownAlerts(); !alerts.empty()) {
            button(*alerts.back(), "Help")->click();
        }
    });
    timer.start(1);
    EXPECT_TRUE(QTest::qWaitFor([&] { return ended == kThreads; }, kLimit));
    EXPECT_EQ(right, kThreads * kRounds);
    EXPECT_TRUE(shownAlerts().empty());
}
