#include "PatientWait.h"

#include "Threads.h"

#include <QGuiApplication>
#include <QWindow>
#include <future>
#include <gtest/gtest.h>
#include <memory>
#include <qpa/qwindowsysteminterface.h>
#include <thread>

using platform::waitPatiently;

namespace {

class PatientWaitTest : public testing::Test {
protected:
    // Once the event loop runs.
    void later(const std::function<void()>& work) {
        QMetaObject::invokeMethod(&application_, work, Qt::QueuedConnection);
    }

private:
    int argumentCount_ = 1;
    char name_[5] = "test"; // NOLINT: as main has it
    char* arguments_[2] = {name_, nullptr};
    bool isOffscreen_ = qputenv("QT_QPA_PLATFORM", "offscreen");
    QGuiApplication application_{argumentCount_, arguments_};
};

class KeyCounter : public QWindow {
public:
    int keys = 0;

protected:
    void keyPressEvent(QKeyEvent* /*event*/) override { ++keys; }
};

} // namespace

TEST_F(PatientWaitTest, KeepsTheMainThreadAlive) {
    std::promise<void> answer;
    bool wasOnMainThread = true;
    later([&] { answer.set_value(); });
    EXPECT_TRUE(waitPatiently([&] {
        wasOnMainThread = platform::isMainThread();
        answer.get_future().wait(); // which comes from the main thread
    }));
    EXPECT_FALSE(wasOnMainThread);
}

TEST_F(PatientWaitTest, LetsWhatIsTypedWait) {
    KeyCounter window;
    window.show();
    window.requestActivate();
    QCoreApplication::processEvents();
    QWindowSystemInterface::handleKeyEvent<QWindowSystemInterface::AsynchronousDelivery>(
        &window, QEvent::KeyPress, Qt::Key_A, Qt::NoModifier, "a");
    std::promise<void> answer;
    later([&] { later([&] { answer.set_value(); }); }); // the loop has gone round
    EXPECT_TRUE(waitPatiently([&] { answer.get_future().wait(); }));
    EXPECT_EQ(window.keys, 0);
    QCoreApplication::processEvents();
    EXPECT_EQ(window.keys, 1);
}

TEST_F(PatientWaitTest, WaitsForWorkThatIsDoneBeforeIt) {
    for (int round = 0; round < 100; ++round) {
        EXPECT_TRUE(waitPatiently([] {}));
    }
}

TEST_F(PatientWaitTest, GivesUpAtTheProgramsEnd) {
    auto answer = std::make_shared<std::promise<void>>();
    auto hasEnded = std::make_shared<std::promise<void>>();
    bool wasWaitedFor = true;
    later([&] {
        later([] { QCoreApplication::quit(); });
        wasWaitedFor = waitPatiently([answer, hasEnded] {
            answer->get_future().wait();
            hasEnded->set_value();
        });
    });
    QCoreApplication::exec();
    EXPECT_FALSE(wasWaitedFor);
    answer->set_value();
    hasEnded->get_future().wait(); // it has gone on alone
}

TEST_F(PatientWaitTest, WorksAtOnceOnOtherThreads) {
    std::thread([] {
        const auto here = std::this_thread::get_id();
        auto there = std::thread::id();
        EXPECT_TRUE(waitPatiently([&] { there = std::this_thread::get_id(); }));
        EXPECT_EQ(here, there);
    }).join();
}

TEST(PatientWait, WorksAtOnceWithoutAnApplication) {
    bool isDone = false;
    EXPECT_TRUE(waitPatiently([&] { isDone = platform::isMainThread(); }));
    EXPECT_TRUE(isDone);
}
