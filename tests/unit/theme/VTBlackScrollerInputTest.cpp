// The scroller as a control: mouse, keyboard, wheel, menu, assistive technology, and inside a table.

#include "OffscreenApplication.h"
#include "VTBlackScroller.h"

#include <QAccessible>
#include <QApplication>
#include <QHeaderView>
#include <QMenu>
#include <QScreen>
#include <QScrollArea>
#include <QSignalSpy>
#include <QStandardItemModel>
#include <QTableView>
#include <QTest>
#include <QTimer>
#include <QWheelEvent>
#include <QWindow>
#include <gtest/gtest.h>

namespace {

using Part = VTBlackScroller::Part;

QImage pictureOf(QWidget& widget) {
    return offscreen::picture(widget, QColor(0x22, 0x23, 0x25));
}

} // namespace

class VTBlackScrollerInputTest : public testing::Test {
public:
    VTBlackScrollerInputTest() {
        for (VTBlackScroller* scroller : {&vertical, &horizontal}) {
            scroller->setRange(0, 1000);
            scroller->setPageStep(500);
            scroller->setSingleStep(10);
        }
        vertical.setGeometry(0, 0, 15, 250);
        horizontal.setGeometry(30, 0, 250, 15);
        window.resize(300, 250);
        window.show();
    }

    static QPoint middle(const VTBlackScroller& scroller, Part part) {
        return scroller.rectForPart(part).center();
    }
    static void click(VTBlackScroller& scroller, const QPoint& place,
                      Qt::KeyboardModifiers modifiers = Qt::NoModifier,
                      Qt::MouseButton button = Qt::LeftButton) {
        QTest::mouseClick(&scroller, button, modifiers, place);
    }

    QWidget window;
    VTBlackScroller vertical{Qt::Vertical, &window};
    VTBlackScroller horizontal{Qt::Horizontal, &window};
};

TEST_F(VTBlackScrollerInputTest, AnArrowMovesByAStep) {
    for (VTBlackScroller* scroller : {&vertical, &horizontal}) {
        click(*scroller, middle(*scroller, Part::IncrementLine));
        EXPECT_EQ(scroller->value(), 10);
        click(*scroller, middle(*scroller, Part::IncrementLine));
        EXPECT_EQ(scroller->value(), 20);
        click(*scroller, middle(*scroller, Part::DecrementLine));
        EXPECT_EQ(scroller->value(), 10);
    }
}

TEST_F(VTBlackScrollerInputTest, AnArrowThatIsHeldRepeats) {
    QTest::mousePress(&vertical, Qt::LeftButton, Qt::NoModifier, middle(vertical, Part::IncrementLine));
    while (vertical.value() < 40) // the tests' time limit ends one that does not repeat
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    QTest::mouseRelease(&vertical, Qt::LeftButton, Qt::NoModifier, middle(vertical, Part::IncrementLine));
    EXPECT_EQ(vertical.value() % 10, 0);
}

TEST_F(VTBlackScrollerInputTest, AnArrowIsLitWhileItIsPressedAndTheMouseIsOnIt) {
    for (const Part arrow : {Part::IncrementLine, Part::DecrementLine}) {
        vertical.setValue(500);
        const QPoint place = middle(vertical, arrow);
        const QRect area = vertical.rectForPart(arrow);
        const Part otherArrow = arrow == Part::IncrementLine ? Part::DecrementLine : Part::IncrementLine;
        const QRect otherArea = vertical.rectForPart(otherArrow);
        const QImage before = pictureOf(vertical);
        QTest::mousePress(&vertical, Qt::LeftButton, Qt::NoModifier, place);
        const QImage pressed = pictureOf(vertical);
        EXPECT_GT(qGray(pressed.pixel(area.left() + 3, place.y())),
                  qGray(before.pixel(area.left() + 3, place.y())) + 15);
        EXPECT_EQ(pressed.copy(otherArea), before.copy(otherArea));
        const QPoint outside(place.x() + 100, place.y());
        QMouseEvent away(QEvent::MouseMove, outside, vertical.mapToGlobal(outside), Qt::NoButton,
                         Qt::LeftButton, Qt::NoModifier);
        QCoreApplication::sendEvent(&vertical, &away);
        EXPECT_EQ(pictureOf(vertical).copy(area), before.copy(area));
        QTest::mouseRelease(&vertical, Qt::LeftButton, Qt::NoModifier, place);
        EXPECT_EQ(pictureOf(vertical).copy(area), before.copy(area));
    }
}

TEST_F(VTBlackScrollerInputTest, HoveringChangesNothing) {
    const QImage before = pictureOf(vertical);
    QHoverEvent hover(QEvent::HoverMove, middle(vertical, Part::IncrementLine), QPointF(), QPointF());
    QCoreApplication::sendEvent(&vertical, &hover);
    EXPECT_EQ(pictureOf(vertical), before);
}

TEST_F(VTBlackScrollerInputTest, TheSlotPagesTowardsTheClick) {
    for (VTBlackScroller* scroller : {&vertical, &horizontal}) {
        click(*scroller, middle(*scroller, Part::IncrementPage));
        EXPECT_EQ(scroller->value(), 500);
        click(*scroller, middle(*scroller, Part::IncrementPage));
        EXPECT_EQ(scroller->value(), 1000);
        click(*scroller, middle(*scroller, Part::DecrementPage));
        EXPECT_EQ(scroller->value(), 500);
    }
}

TEST_F(VTBlackScrollerInputTest, TheKnobStaysUnderTheMouse) {
    for (VTBlackScroller* scroller : {&vertical, &horizontal}) {
        const bool lies = scroller->orientation() == Qt::Horizontal;
        const QRect start = scroller->rectForPart(Part::Knob);
        QTest::mousePress(scroller, Qt::LeftButton, Qt::NoModifier, start.center());
        EXPECT_TRUE(scroller->isSliderDown());
        for (const int distance : {1, 2, 7, 30, 55, 31, 0}) {
            const QPoint offset = lies ? QPoint(distance, 0) : QPoint(0, distance);
            QTest::mouseMove(scroller, start.center() + offset);
            EXPECT_EQ(scroller->rectForPart(Part::Knob), start.translated(offset));
        }
        const QPoint farAway = lies ? QPoint(900, 0) : QPoint(0, 900);
        QTest::mouseMove(scroller, start.center() + farAway);
        EXPECT_EQ(scroller->value(), 1000);
        QTest::mouseRelease(scroller, Qt::LeftButton, Qt::NoModifier, start.center() + farAway);
        EXPECT_FALSE(scroller->isSliderDown());
        EXPECT_EQ(scroller->value(), 1000);
    }
}

TEST_F(VTBlackScrollerInputTest, TheMiddleButtonAndShiftJumpToTheClick) {
    for (const Qt::MouseButton button : {Qt::MiddleButton, Qt::LeftButton}) {
        vertical.setValue(0);
        const QPoint place(7, 130);
        click(vertical, place, button == Qt::LeftButton ? Qt::ShiftModifier : Qt::NoModifier, button);
        EXPECT_NEAR(vertical.rectForPart(Part::Knob).center().y(), 130, 1);
        EXPECT_NE(vertical.value() % 500, 0);
    }
}

TEST_F(VTBlackScrollerInputTest, TheWheelScrolls) {
    QWheelEvent wheel(QPointF(7, 100), vertical.mapToGlobal(QPointF(7, 100)), {}, {0, -120}, Qt::NoButton,
                      Qt::NoModifier, Qt::NoScrollPhase, false);
    QCoreApplication::sendEvent(&vertical, &wheel);
    EXPECT_EQ(vertical.value(), QApplication::wheelScrollLines() * 10);
}

TEST_F(VTBlackScrollerInputTest, TheKeyboardScrolls) {
    const std::pair<Qt::Key, int> keys[] = {
        {Qt::Key_Down, 10},  {Qt::Key_PageDown, 510}, {Qt::Key_Up, 500},
        {Qt::Key_PageUp, 0}, {Qt::Key_End, 1000},     {Qt::Key_Home, 0},
    };
    for (const auto& [key, value] : keys) {
        QTest::keyClick(&vertical, key);
        EXPECT_EQ(vertical.value(), value) << key;
    }
}

TEST_F(VTBlackScrollerInputTest, TheContextMenuIsKept) {
    QStringList entries;
    QTimer::singleShot(0, &window, [&] {
        auto* menu = qobject_cast<QMenu*>(QApplication::activePopupWidget());
        ASSERT_NE(menu, nullptr);
        for (const QAction* action : menu->actions())
            entries << action->text();
        menu->close();
    });
    QContextMenuEvent event(QContextMenuEvent::Mouse, {7, 100}, vertical.mapToGlobal(QPoint(7, 100)));
    QCoreApplication::sendEvent(&vertical, &event);
    EXPECT_TRUE(entries.contains("Scroll here"));
    EXPECT_TRUE(entries.contains("Page down"));
}

TEST_F(VTBlackScrollerInputTest, RightToLeftAndInvertedBarsDoWhatTheyShow) {
    horizontal.setLayoutDirection(Qt::RightToLeft);
    vertical.setInvertedAppearance(true);
    for (VTBlackScroller* scroller : {&vertical, &horizontal}) {
        const bool lies = scroller->orientation() == Qt::Horizontal;
        auto along = [&](const QPoint& point) { return lies ? point.x() : point.y(); };
        EXPECT_LT(along(middle(*scroller, Part::IncrementLine)), 15);
        EXPECT_GT(along(middle(*scroller, Part::Knob)), 125);
        click(*scroller, {7, 7});
        EXPECT_EQ(scroller->value(), 10);
        click(*scroller, middle(*scroller, Part::DecrementLine));
        EXPECT_EQ(scroller->value(), 0);
        const int before = along(middle(*scroller, Part::Knob));
        click(*scroller, lies ? QPoint(45, 7) : QPoint(7, 45));
        EXPECT_EQ(scroller->value(), 500);
        EXPECT_LT(along(middle(*scroller, Part::Knob)), before) << "towards the click";

        const QRect start = scroller->rectForPart(Part::Knob);
        const QPoint offset = lies ? QPoint(20, 0) : QPoint(0, 20);
        QTest::mousePress(scroller, Qt::LeftButton, Qt::NoModifier, start.center());
        QTest::mouseMove(scroller, start.center() + offset);
        EXPECT_EQ(scroller->rectForPart(Part::Knob), start.translated(offset));
        EXPECT_LT(scroller->value(), 500);
        QTest::mouseRelease(scroller, Qt::LeftButton, Qt::NoModifier, start.center() + offset);
    }
}

TEST_F(VTBlackScrollerInputTest, PartsThatAreNotShownCannotBeClicked) {
    vertical.resize(15, 60);
    click(vertical, middle(vertical, Part::IncrementLine));
    EXPECT_EQ(vertical.value(), 10);
    click(vertical, {7, 10});
    EXPECT_EQ(vertical.value(), 10);
    vertical.resize(15, 30);
    for (int y = 0; y < 30; ++y)
        click(vertical, {7, y});
    EXPECT_EQ(vertical.value(), 10);
}

TEST_F(VTBlackScrollerInputTest, AssistiveTechnologySeesAScrollBar) {
    QAccessibleInterface* accessible = QAccessible::queryAccessibleInterface(&vertical);
    ASSERT_NE(accessible, nullptr);
    EXPECT_EQ(accessible->role(), QAccessible::ScrollBar);
    ASSERT_NE(accessible->valueInterface(), nullptr);
    EXPECT_EQ(accessible->valueInterface()->maximumValue(), 1000);
    accessible->valueInterface()->setCurrentValue(250);
    EXPECT_EQ(vertical.value(), 250);
}

TEST_F(VTBlackScrollerInputTest, IsAsThickAsTheFontAsksAndLongEnoughForAllParts) {
    EXPECT_EQ(vertical.sizeHint().width(), 15);
    EXPECT_EQ(horizontal.sizeHint().height(), 15);
    vertical.resize(vertical.sizeHint());
    pictureOf(vertical);
    EXPECT_EQ(vertical.usableParts(), VTBlackScroller::UsableParts::All);
    vertical.resize(15, vertical.height() - 1);
    vertical.setPageStep(1);
    pictureOf(vertical);
    EXPECT_EQ(vertical.usableParts(), VTBlackScroller::UsableParts::OnlyArrows);
}

class VTBlackScrollerInTableTest : public testing::Test {
public:
    VTBlackScrollerInTableTest() : model(100, 2), scroller(new VTBlackScroller) {
        table.setVerticalScrollBar(scroller);
        table.setModel(&model);
        table.setVerticalScrollMode(QAbstractItemView::ScrollPerPixel);
        table.setFrameShape(QFrame::NoFrame);
        table.horizontalHeader()->hide();
        table.resize(300, 200);
        table.show();
        offscreen::settle();
    }

    QStandardItemModel model;
    QTableView table;
    VTBlackScroller* scroller; // the table's
};

TEST_F(VTBlackScrollerInTableTest, TakesItsPlaceAtTheEdge) {
    EXPECT_EQ(scroller->orientation(), Qt::Vertical);
    EXPECT_TRUE(scroller->isVisible());
    EXPECT_EQ(scroller->width(), 15);
    EXPECT_EQ(QRect(scroller->mapTo(&table, QPoint()), scroller->size()), QRect(285, 0, 15, 200));
    EXPECT_EQ(table.viewport()->geometry().right(), 284);
}

TEST_F(VTBlackScrollerInTableTest, ScrollsTheTableAndFollowsIt) {
    QTest::mouseClick(scroller, Qt::LeftButton, Qt::NoModifier,
                      scroller->rectForPart(Part::IncrementPage).center());
    EXPECT_GT(table.rowAt(0), 0);
    table.scrollToBottom();
    EXPECT_EQ(scroller->value(), scroller->maximum());
    EXPECT_EQ(scroller->rectForPart(Part::Knob).bottom(), scroller->rectForPart(Part::KnobSlot).bottom());
}

TEST_F(VTBlackScrollerInTableTest, IsHiddenWhenNothingIsToScroll) {
    for (const int rows : {2, 100, 1}) {
        model.setRowCount(rows);
        offscreen::settle(); // the range
        offscreen::settle(); // the bar
        EXPECT_EQ(scroller->isVisible(), rows == 100) << rows;
    }
}

TEST_F(VTBlackScrollerInTableTest, GrowsWithTheUsersFont) {
    const offscreen::ScopedFontSize scope(24);
    offscreen::settle();
    EXPECT_EQ(scroller->width(), 30);
    EXPECT_EQ(table.viewport()->geometry().right(), 269);
}

TEST_F(VTBlackScrollerInTableTest, RedrawsWhatItShows) {
    const QImage atTop = scroller->grab().toImage();
    scroller->setValue(scroller->maximum());
    EXPECT_NE(scroller->grab().toImage(), atTop);
}

TEST_F(VTBlackScrollerInTableTest, PaintingAgainDoesNotDarkenIt) {
    // What shines through shows best on white.
    QPalette colours = table.palette();
    colours.setColor(QPalette::Window, Qt::white);
    table.setPalette(colours);
    offscreen::settle();
    const QImage fresh = table.grab().toImage();
    scroller->repaint();
    scroller->repaint();
    offscreen::settle();
    const QImage onScreen = table.screen()->grabWindow(table.winId()).toImage();
    ASSERT_EQ(onScreen.size(), table.size());
    EXPECT_EQ(offscreen::largestDifference(onScreen, fresh), 0);
}

TEST(VTBlackScrollerInScrollAreaTest, GrowsWithTheUsersFont) {
    QScrollArea area;
    QWidget content;
    content.resize(1000, 1000);
    area.setWidget(&content);
    auto* vertical = new VTBlackScroller;
    auto* horizontal = new VTBlackScroller;
    area.setVerticalScrollBar(vertical);
    area.setHorizontalScrollBar(horizontal);
    area.resize(300, 300);
    area.show();
    offscreen::settle();
    EXPECT_EQ(vertical->width(), 15);
    EXPECT_EQ(horizontal->height(), 15);
    EXPECT_GT(horizontal->width(), 250);
    const offscreen::ScopedFontSize scope(24);
    offscreen::settle();
    EXPECT_EQ(vertical->width(), 30);
    EXPECT_EQ(horizontal->height(), 30);
    area.takeWidget();
}
