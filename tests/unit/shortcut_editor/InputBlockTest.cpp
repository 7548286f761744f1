#include "InputBlock.h"

#include "OffscreenApplication.h"
#include "Platform.h"
#include "QtMainThread.h"

#include <QApplication>
#include <QKeyEvent>
#include <QTest>
#include <QWidget>
#include <future>
#include <gtest/gtest.h>
#include <thread>
#include <utility>

namespace {

constexpr double kLong = 600; // seconds

class BlockedWidget : public QWidget {
public:
    int inputs = 0;
    int paints = 0;

protected:
    void keyPressEvent(QKeyEvent*) override { ++inputs; }
    void mousePressEvent(QMouseEvent*) override { ++inputs; }
    void paintEvent(QPaintEvent*) override { ++paints; }
};

// Tells when the worker has nothing left to do.
class ToldMainThread : public platform::QtMainThread {
public:
    void perform(std::function<void()> work, platform::Wait wait) override {
        QtMainThread::perform(std::move(work), wait);
        performed.set_value();
    }

    std::promise<void> performed;
};

class InputBlockTest : public testing::Test {
protected:
    platform::Platform services() {
        auto all = platform::current();
        all.mainThread = mainThread;
        return all;
    }

    ~InputBlockTest() override { done.wait(); } // the worker may be on its way out still

    std::shared_ptr<ToldMainThread> mainThread = std::make_shared<ToldMainThread>();
    std::future<void> done = mainThread->performed.get_future();
    platform::ScopedPlatform scope{services()};
    BlockedWidget widget;
};

} // namespace

TEST_F(InputBlockTest, WaitingTakesNoInputAndKeepsNoneForLater) {
    std::thread::id worker;
    bool loopRan = false;
    waitWithoutInput(
        [&] {
            worker = std::this_thread::get_id();
            QMetaObject::invokeMethod(
                qApp,
                [&] {
                    loopRan = true;
                    const auto* cursor = QGuiApplication::overrideCursor();
                    EXPECT_TRUE(cursor && cursor->shape() == Qt::BusyCursor);
                    QTest::keyClick(&widget, Qt::Key_K);
                    QTest::mouseClick(&widget, Qt::LeftButton);
                },
                Qt::BlockingQueuedConnection);
        },
        kLong);
    EXPECT_TRUE(loopRan);
    EXPECT_NE(worker, std::this_thread::get_id());
    EXPECT_EQ(widget.inputs, 0);
    EXPECT_FALSE(QGuiApplication::overrideCursor());
    QTest::keyClick(&widget, Qt::Key_K);
    EXPECT_EQ(widget.inputs, 1);
}

TEST_F(InputBlockTest, WindowsRepaintMeanwhile) {
    widget.show();
    offscreen::settle();
    const int before = widget.paints;
    waitWithoutInput(
        [&] {
            QMetaObject::invokeMethod(
                qApp,
                [&] {
                    widget.update();
                    offscreen::settle();
                },
                Qt::BlockingQueuedConnection);
        },
        kLong);
    EXPECT_EQ(widget.paints, before + 1);
}

TEST_F(InputBlockTest, WorkThatTakesTooLongGoesOnByItself) {
    std::promise<void> mayEnd;
    bool isOver = false;
    waitWithoutInput(
        [&] {
            mayEnd.get_future().wait();
            isOver = true;
        },
        0.01);
    EXPECT_FALSE(isOver);
    EXPECT_FALSE(QGuiApplication::overrideCursor());
    QTest::keyClick(&widget, Qt::Key_K);
    EXPECT_EQ(widget.inputs, 1);
    mayEnd.set_value();
    done.wait();
    EXPECT_TRUE(isOver);
}
