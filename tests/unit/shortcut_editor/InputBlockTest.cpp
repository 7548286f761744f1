#include "InputBlock.h"

#include "OffscreenApplication.h"

#include <QApplication>
#include <QKeyEvent>
#include <QTest>
#include <QWidget>
#include <future>
#include <gtest/gtest.h>
#include <memory>
#include <thread>

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

class InputBlockTest : public testing::Test {
protected:
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
    const auto mayEnd = std::make_shared<std::promise<void>>();
    const auto hasEnded = std::make_shared<std::promise<void>>();
    waitWithoutInput(
        [mayEnd, hasEnded] {
            mayEnd->get_future().wait();
            hasEnded->set_value();
        },
        0.01);
    EXPECT_FALSE(QGuiApplication::overrideCursor());
    QTest::keyClick(&widget, Qt::Key_K);
    EXPECT_EQ(widget.inputs, 1);
    mayEnd->set_value();
    hasEnded->get_future().wait();
}
