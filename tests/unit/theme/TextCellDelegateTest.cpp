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
    TextCellDelegateTest() : model_(20, 2) {
        model_.setItem(0, 0, new QStandardItem(kLongTitle));
        model_.setItem(1, 0, new QStandardItem("Short"));
        table_.setModel(&model_);
        table_.setIntercellSpacing({10, 5});
        table_.setItemDelegateForColumn(
            0, new TextCellDelegate(&table_, [this](VTCenteredTextCell& cell, const QModelIndex& index) {
                asked_.push_back(index.row());
                cell.setHasShadow(true);
            }));
        table_.resize(500, 300);
        table_.setColumnWidth(0, 120);
        table_.show();
        offscreen::settle();
    }

    // The mouse has rested on the middle of this row's first cell.
    void hover(int row) {
        const QPoint place = table_.visualRect(model_.index(row, 0)).center();
        QHelpEvent event(QEvent::ToolTip, place, table_.viewport()->mapToGlobal(place));
        QCoreApplication::sendEvent(table_.viewport(), &event);
    }

    void moveMouse(const QPoint& place) {
        QMouseEvent event(QEvent::MouseMove, place, table_.viewport()->mapToGlobal(place), Qt::NoButton,
                          Qt::NoButton, Qt::NoModifier);
        QCoreApplication::sendEvent(table_.viewport(), &event);
    }

    QStandardItemModel model_;
    VTAlternateBlackTableView table_;
    std::vector<int> asked_;
};

} // namespace

TEST_F(TextCellDelegateTest, DrawsTheCellInsideTheSpacing) {
    model_.setItem(0, 0, new QStandardItem("Tool"));
    table_.clearFocus();
    table_.setSelectionHighlightStyle(VTAlternateBlackTableView::SelectionHighlightStyle::None);
    // The same cell drawn by hand over the same row.
    const QRect row(0, 68, 120, 68);
    model_.setItem(1, 0, new QStandardItem("Tool"));
    const QImage actual = offscreen::picture(*table_.viewport(), Qt::darkGray).copy(row);
    VTCenteredTextCell cell;
    cell.setStringValue("Tool");
    cell.setHasShadow(true);
    cell.setTextColor(table_.palette().color(QPalette::Text));
    const QImage expected = offscreen::picture(table_.viewport()->size(), 1, [&](QPainter& painter) {
                                painter.fillRect(table_.viewport()->rect(), Qt::darkGray);
                                cell.drawInteriorWithFrame(QRectF(5, 70.5, 110, 63), painter);
                            }).copy(row);
    EXPECT_EQ(actual, expected);
}

TEST_F(TextCellDelegateTest, AsksHowEachVisibleCellIsDisplayed) {
    asked_.clear();
    offscreen::picture(*table_.viewport(), Qt::black);
    EXPECT_EQ(asked_, (std::vector{0, 1, 2, 3, 4}));
}

TEST_F(TextCellDelegateTest, ACutTextIsShownWholeWhileTheMouseRestsOnIt) {
    hover(0);
    ExpansionFrame& frame = table_.expansionFrame();
    ASSERT_TRUE(frame.isVisible());
    EXPECT_EQ(frame.accessibleName(), kLongTitle);
    EXPECT_GT(frame.width(), 400);
    EXPECT_EQ(frame.x(), 0) << "over the text that it completes";
    EXPECT_EQ(table_.childAt(frame.geometry().center()), table_.viewport()) << "the mouse works through it";
    EXPECT_FALSE(frame.hasFocus());
}

TEST_F(TextCellDelegateTest, ATextThatFitsShowsNothing) {
    hover(1);
    EXPECT_FALSE(table_.expansionFrame().isVisible());
    hover(0);
    ASSERT_TRUE(table_.expansionFrame().isVisible());
    hover(1);
    EXPECT_FALSE(table_.expansionFrame().isVisible());
}

TEST_F(TextCellDelegateTest, TheFrameGoesWhenTheMouseLeavesTheCell) {
    hover(0);
    moveMouse(table_.visualRect(model_.index(0, 0)).center() + QPoint(10, 0));
    EXPECT_TRUE(table_.expansionFrame().isVisible());
    moveMouse(table_.visualRect(model_.index(1, 0)).center());
    EXPECT_FALSE(table_.expansionFrame().isVisible());
    hover(0);
    QEvent leave(QEvent::Leave);
    QCoreApplication::sendEvent(table_.viewport(), &leave);
    EXPECT_FALSE(table_.expansionFrame().isVisible());
}

TEST_F(TextCellDelegateTest, TheFrameGoesAtAKey) {
    hover(0);
    QKeyEvent key(QEvent::KeyPress, Qt::Key_Shift, Qt::NoModifier);
    QCoreApplication::sendEvent(&table_, &key);
    EXPECT_FALSE(table_.expansionFrame().isVisible());
}

TEST_F(TextCellDelegateTest, TheFrameGoesAtAClickAndAWheel) {
    hover(0);
    const QPointF place(20, 20);
    QMouseEvent click(QEvent::MouseButtonPress, place, place, Qt::LeftButton, Qt::LeftButton, Qt::NoModifier);
    QCoreApplication::sendEvent(table_.viewport(), &click);
    EXPECT_FALSE(table_.expansionFrame().isVisible());
    hover(0);
    QWheelEvent wheel(place, place, {}, {0, 120}, Qt::NoButton, Qt::NoModifier, Qt::NoScrollPhase, false);
    QCoreApplication::sendEvent(table_.viewport(), &wheel);
    EXPECT_FALSE(table_.expansionFrame().isVisible());
}

TEST_F(TextCellDelegateTest, TheFrameGoesWhenTheTableScrollsOrGetsOtherRows) {
    hover(0);
    table_.verticalScrollBar()->setValue(10);
    EXPECT_FALSE(table_.expansionFrame().isVisible());
    hover(0);
    ASSERT_TRUE(table_.expansionFrame().isVisible());
    model_.clear();
    EXPECT_FALSE(table_.expansionFrame().isVisible());
}

TEST_F(TextCellDelegateTest, TheFrameGoesWithTheTable) {
    hover(0);
    table_.hide();
    EXPECT_FALSE(table_.expansionFrame().isVisible());
}
