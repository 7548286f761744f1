#include "PanelAlerts.h"

#include "QtMainThread.h"
#include "TestSandbox.h"
#include "Waiting.h"
#include "WorkerThreads.h"

#include <QApplication>
#include <QDialog>
#include <QTest>
#include <QTimer>
#include <QWindow>
#include <atomic>
#include <functional>
#include <gmock/gmock.h>

namespace {

class PanelAlertsTest : public testing::Test {
protected:
    PanelAlertsTest() {
        auto services = platform::current();
        services.mainThread = mainThread;
        platform::install(services);
    }
    ~PanelAlertsTest() override { EXPECT_TRUE(threads.finish(std::chrono::minutes(1))); }

    void runOnAThread(const std::string& title, const std::string& message) {
        ++running;
        threads.detachNewThread([this, title, message](const std::stop_token&) {
            alerts.runAlertPanel(title, message);
            --running;
        });
    }
    // An alert has a loop of its own, so that the answer has to come from within.
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
    void waitForReturns() {
        EXPECT_TRUE(QTest::qWaitFor([this] { return running == 0; }, kLimit));
    }

    std::shared_ptr<platform::QtMainThread> mainThread = std::make_shared<platform::QtMainThread>();
    PanelAlerts alerts;
    QTimer timer;
    std::atomic<int> running = 0;
    WorkerThreads threads;
};

} // namespace

TEST_F(PanelAlertsTest, ReturnsOnceTheUserHasAnswered) {
    runOnAThread("A cannot be launched.", "The application could not be found.");
    // From within, for the alert runs a loop of its own.
    whenShown(1, [this] {
        auto* alert = shownAlerts().front();
        EXPECT_EQ(alert->windowTitle(), "A cannot be launched.");
        EXPECT_EQ(alert->windowModality(), Qt::ApplicationModal);
        EXPECT_EQ(running, 1);
        alert->accept();
    });
    waitForReturns();
    EXPECT_TRUE(shownAlerts().empty());
}

TEST_F(PanelAlertsTest, RunsOnTheMainThreadAsWell) {
    whenShown(1, [] { shownAlerts().front()->reject(); });
    alerts.runAlertPanel("Title", "Message");
    EXPECT_TRUE(shownAlerts().empty());
}

TEST_F(PanelAlertsTest, BelongsToThePanelWhileThatIsVisible) {
    QWidget panel;
    alerts.setPanel(&panel);
    auto parentOfAlert = [this] {
        QWidget* parent = nullptr;
        whenShown(1, [&parent] {
            parent = shownAlerts().front()->parentWidget();
            shownAlerts().front()->accept();
        });
        alerts.runAlertPanel("Title", "Message");
        return parent;
    };
    EXPECT_EQ(parentOfAlert(), nullptr);
    panel.show();
    EXPECT_EQ(parentOfAlert(), &panel);
}

TEST_F(PanelAlertsTest, ShowsTwoAtATime) {
    runOnAThread("One", "");
    runOnAThread("Two", "");
    whenShown(2, [] {
        for (auto* alert : shownAlerts()) {
            alert->accept();
        }
    });
    waitForReturns();
    EXPECT_TRUE(shownAlerts().empty());
}

TEST_F(PanelAlertsTest, StaysWhenItIsHiddenForAWhile) {
    runOnAThread("Title", "Message");
    whenShown(1, [this] {
        auto* alert = shownAlerts().front();
        alert->windowHandle()->setVisible(false);
        EXPECT_TRUE(shownAlerts().empty());
        QCoreApplication::processEvents();
        alert->windowHandle()->setVisible(true);
        EXPECT_EQ(shownAlerts().size(), 1U);
        EXPECT_EQ(running, 1);
        alert->accept();
    });
    waitForReturns();
}

TEST_F(PanelAlertsTest, EndsWithTheMainLoop) {
    runOnAThread("Title", "Message");
    whenShown(1, [] { QCoreApplication::exit(3); });
    EXPECT_EQ(QApplication::exec(), 3);
    EXPECT_TRUE(shownAlerts().empty());
    waitForReturns();
}

TEST_F(PanelAlertsTest, IsNotShownOnceTheMainLoopHasEnded) {
    mainThread->close();
    runOnAThread("Title", "Message");
    waitForReturns();
    EXPECT_TRUE(shownAlerts().empty());
}
