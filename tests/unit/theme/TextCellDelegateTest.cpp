#include "TextCellDelegate.h"

#include "ExpansionFrame.h"
#include "InterfaceFont.h"
#include "OffscreenApplication.h"
#include "VTAlternateBlackTableView.h"

#include <QCoreApplication>
#include <QHelpEvent>
#include <QKeyEvent>
#include <QScrollBar>
#include <QStandardItemModel>
#include <QWheelEvent>
#include <gtest/gtest.h>

namespace {

constexpr char kLongTitle[] = "A title that is much too long for the narrow column it is in";

class TextCellDelegateTest : public testing::Test {
public:
    TextCellDelegateTest() : model(20, 2) {
        model.setItem(0, 0, new QStandardItem(kLongTitle));
        model.setItem(1, 0, new QStandardItem("Short"));
        table.setModel(&model);
        table.setIntercellSpacing({10, 5});
        table.setItemDelegateForColumn(
            0, new TextCellDelegate(&table, [this](VTCenteredTextCell& cell, const QModelIndex& index) {
                asked.push_back(index.row());
                cell.setHasShadow(true);
            }));
        table.resize(500, 300);
        table.setColumnWidth(0, 120);
        table.show();
        offscreen::settle();
    }

    // The mouse has rested on the middle of this row's first cell.
    void hover(int row) {
        const QPoint place = table.visualRect(model.index(row, 0)).center();
        QHelpEvent event(QEvent::ToolTip, place, table.viewport()->mapToGlobal(place));
        QCoreApplication::sendEvent(table.viewport(), &event);
    }

    void moveMouse(const QPoint& place) {
        QMouseEvent event(QEvent::MouseMove, place, table.viewport()->mapToGlobal(place), Qt::NoButton,
                          Qt::NoButton, Qt::NoModifier);
        QCoreApplication::sendEvent(table.viewport(), &event);
    }

    QStandardItemModel model;
    VTAlternateBlackTableView table;
    std::vector<int> asked;
};

} // namespace

TEST_F(TextCellDelegateTest, DrawsTheCellInsideTheSpacing) {
    model.setItem(0, 0, new QStandardItem("Tool"));
    table.clearFocus();
    table.setSelectionHighlightStyle(VTAlternateBlackTableView::SelectionHighlightStyle::None);
    // The same cell drawn by hand over the same row.
    const QRect row(0, 68, 120, 68);
    model.setItem(1, 0, new QStandardItem("Tool"));
    const QImage actual = offscreen::picture(*table.viewport(), Qt::darkGray).copy(row);
    VTCenteredTextCell cell;
    cell.setStringValue("Tool");
    cell.setHasShadow(true);
    cell.setTextColor(table.palette().color(QPalette::Text));
    const QImage expected = offscreen::picture(table.viewport()->size(), 1, [&](QPainter& painter) {
                                painter.fillRect(table.viewport()->rect(), Qt::darkGray);
                                cell.drawInteriorWithFrame(QRectF(5, 70.5, 110, 63), painter);
                            }).copy(row);
    EXPECT_EQ(actual, expected);
}

TEST_F(TextCellDelegateTest, AsksHowEachVisibleCellIsDisplayed) {
    asked.clear();
    offscreen::picture(*table.viewport(), Qt::black);
    EXPECT_EQ(asked, (std::vector{0, 1, 2, 3, 4}));
}

TEST_F(TextCellDelegateTest, ACutTextIsShownWholeWhileTheMouseRestsOnIt) {
    hover(0);
    ExpansionFrame& frame = table.expansionFrame();
    ASSERT_TRUE(frame.isVisible());
    EXPECT_EQ(frame.accessibleName(), kLongTitle);
    EXPECT_GT(frame.width(), 400);
    EXPECT_EQ(frame.x(), 0) << "over the text that it completes";
    EXPECT_EQ(table.childAt(frame.geometry().center()), table.viewport()) << "the mouse works through it";
    EXPECT_FALSE(frame.hasFocus());
}

TEST_F(TextCellDelegateTest, ATextThatFitsShowsNothing) {
    hover(1);
    EXPECT_FALSE(table.expansionFrame().isVisible());
    hover(0);
    ASSERT_TRUE(table.expansionFrame().isVisible());
    hover(1);
    EXPECT_FALSE(table.expansionFrame().isVisible());
}

TEST_F(TextCellDelegateTest, TheFrameGoesWhenTheMouseLeavesTheCell) {
    hover(0);
    moveMouse(table.visualRect(model.index(0, 0)).center() + QPoint(10, 0));
    EXPECT_TRUE(table.expansionFrame().isVisible());
    moveMouse(table.visualRect(model.index(1, 0)).center());
    EXPECT_FALSE(table.expansionFrame().isVisible());
    hover(0);
    QEvent leave(QEvent::Leave);
    QCoreApplication::sendEvent(table.viewport(), &leave);
    EXPECT_FALSE(table.expansionFrame().isVisible());
}

TEST_F(TextCellDelegateTest, TheFrameGoesAtAKey) {
    hover(0);
    QKeyEvent key(QEvent::KeyPress, Qt::Key_Shift, Qt::NoModifier);
    QCoreApplication::sendEvent(&table, &key);
    EXPECT_FALSE(table.expansionFrame().isVisible());
}

TEST_F(TextCellDelegateTest, TheFrameGoesAtAClickAndAWheel) {
    hover(0);
    const QPointF place(20, 20);
    QMouseEvent click(QEvent::MouseButtonPress, place, place, Qt::LeftButton, Qt::LeftButton, Qt::NoModifier);
    QCoreApplication::sendEvent(table.viewport(), &click);
    EXPECT_FALSE(table.expansionFrame().isVisible());
    hover(0);
    QWheelEvent wheel(place, place, {}, {0, 120}, Qt::NoButton, Qt::NoModifier, Qt::NoScrollPhase, false);
    QCoreApplication::sendEvent(table.viewport(), &wheel);
    EXPECT_FALSE(table.expansionFrame().isVisible());
}

TEST_F(TextCellDelegateTest, TheFrameGoesWhenTheTableScrollsOrGetsOtherRows) {
    hover(0);
    table.verticalScrollBar()->setValue(10);
    EXPECT_FALSE(table.expansionFrame().isVisible());
    hover(0);
    ASSERT_TRUE(table.expansionFrame().isVisible());
    model.clear();
    EXPECT_FALSE(table.expansionFrame().isVisible());
}

TEST_F(TextCellDelegateTest, TheFrameGoesWithTheTable) {
    hover(0);
    table.hide();
    EXPECT_FALSE(table.expansionFrame().isVisible());
}
