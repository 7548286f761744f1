#include "VTAlternateBlackTableView.h"

#include "DarkPalette.h"
#include "ExpansionFrame.h"
#include "OffscreenApplication.h"

#include <QApplication>
#include <QHeaderView>
#include <QKeyEvent>
#include <QScrollBar>
#include <QStandardItemModel>
#include <gtest/gtest.h>

namespace {

const QColor kBackground(0, 0, 100);

class TableTest : public testing::Test {
public:
    TableTest() : model(20, 2) {
        table.resize(300, 400);
        table.setModel(&model);
        QObject::connect(&table, &VTAlternateBlackTableView::enterPressed, [this] { ++enters; });
        window.resize(300, 400);
        window.show();
        window.activateWindow();
        offscreen::settle();
        table.clearFocus(); // its line would be part of every picture
    }

    void select(int row, int column = 0) { table.setCurrentIndex(model.index(row, column)); }

    QImage picture() { return offscreen::picture(*table.viewport(), kBackground); }

    // The colours of one column of pixels in a row: at its top, its middle and its bottom.
    std::array<QColor, 3> coloursOfRow(const QImage& image, int row, int x = 250) {
        const QRect place = table.rectOfRow(row);
        return {image.pixelColor(x, place.top()), image.pixelColor(x, place.center().y()),
                image.pixelColor(x, place.bottom())};
    }

    bool press(int key, const QString& text, Qt::KeyboardModifiers modifiers = Qt::NoModifier) {
        QKeyEvent event(QEvent::KeyPress, key, modifiers, text);
        QCoreApplication::sendEvent(&table, &event);
        return event.isAccepted();
    }

    QStandardItemModel model;
    QWidget window;
    VTAlternateBlackTableView table{&window};
    int enters = 0;
};

// Grey of this brightness at 30 % over the background.
QColor banded(double brightness) {
    auto over = [&](int component) { return qRound(0.3 * brightness * 255 + 0.7 * component); };
    return {over(kBackground.red()), over(kBackground.green()), over(kBackground.blue())};
}

bool isNear(const QColor& colour, const QColor& expected, int tolerance = 2) {
    return std::abs(colour.red() - expected.red()) <= tolerance &&
           std::abs(colour.green() - expected.green()) <= tolerance &&
           std::abs(colour.blue() - expected.blue()) <= tolerance;
}

} // namespace

TEST_F(TableTest, EvenRowsHaveABandAndOddRowsShowWhatLiesBehind) {
    const QImage image = picture();
    for (int row : {0, 2, 4}) {
        const auto colours = coloursOfRow(image, row);
        EXPECT_TRUE(isNear(colours[0], banded(0.3))) << row;
        EXPECT_TRUE(isNear(colours[1], banded(0.35))) << row;
        EXPECT_TRUE(isNear(colours[2], banded(0.4))) << row;
        EXPECT_LT(colours[0].red(), colours[2].red());
    }
    for (int row : {1, 3})
        for (const QColor& colour : coloursOfRow(image, row))
            EXPECT_EQ(colour, kBackground) << row;
}

TEST_F(TableTest, TheBandSpansTheWholeRowAlsoBesideAndBetweenTheColumns) {
    table.setColumnWidth(0, 50);
    table.setColumnWidth(1, 50);
    table.setIntercellSpacing({10, 5});
    EXPECT_EQ(table.rectOfRow(2), QRect(0, 136, 300 - table.verticalScrollBar()->width(), 68));
    const QImage image = picture();
    const QRect row = table.rectOfRow(0);
    for (int x : {0, 45, 50, 99, 100, row.right()})
        for (const auto& [y, brightness] : {std::pair(0, 0.3), std::pair(67, 0.4)})
            EXPECT_TRUE(isNear(image.pixelColor(x, y), banded(brightness))) << x << "," << y;
    table.setColumnWidth(1, 900);
    EXPECT_EQ(table.rectOfRow(0).width(), 950);
}

TEST_F(TableTest, InARightToLeftTableARowSpansItsCellsToo) {
    table.setLayoutDirection(Qt::RightToLeft);
    for (int columnWidth : {60, 400}) {
        table.setColumnWidth(0, columnWidth);
        table.setColumnWidth(1, columnWidth);
        offscreen::settle();
        table.horizontalScrollBar()->setValue(table.horizontalScrollBar()->maximum() / 2);
        const QRect cells = table.visualRect(model.index(1, 0)) | table.visualRect(model.index(1, 1));
        const QRect row = table.rectOfRow(1);
        EXPECT_EQ(row.right(), cells.right()) << columnWidth;
        EXPECT_EQ(row.left(), std::min(0, cells.left())) << columnWidth;
    }
}

TEST_F(TableTest, ASelectedEvenRowShowsTheSelectionInsteadOfTheBand) {
    select(2);
    const QImage image = picture();
    const auto colours = coloursOfRow(image, 2);
    EXPECT_TRUE(isNear(colours[0], QColor(0x3d, 0x5a, 0x80)));
    EXPECT_TRUE(isNear(colours[2], QColor(0x2f, 0x47, 0x66)));
    EXPECT_TRUE(isNear(coloursOfRow(image, 0)[1], banded(0.35)));
    EXPECT_TRUE(isNear(coloursOfRow(image, 4)[1], banded(0.35)));
}

TEST_F(TableTest, ASelectedOddRowIsSelectedToo) {
    select(3);
    EXPECT_TRUE(isNear(coloursOfRow(picture(), 3)[1], QColor(0x36, 0x50, 0x73)));
}

TEST_F(TableTest, WithoutSelectionHighlightASelectedRowKeepsItsBand) {
    table.setSelectionHighlightStyle(VTAlternateBlackTableView::SelectionHighlightStyle::None);
    EXPECT_EQ(static_cast<int>(table.selectionHighlightStyle()), -1);
    select(2);
    EXPECT_TRUE(isNear(coloursOfRow(picture(), 2)[1], banded(0.35)));
    select(3);
    EXPECT_EQ(coloursOfRow(picture(), 3)[1], kBackground);
}

TEST_F(TableTest, InAnInactiveWindowTheSelectionIsGreyAndClearlySeen) {
    select(2);
    QWidget other;
    other.show();
    other.activateWindow();
    offscreen::settle();
    ASSERT_FALSE(window.isActiveWindow());
    const QImage image = picture();
    const QColor selected = coloursOfRow(image, 2)[1];
    EXPECT_LT(std::abs(selected.red() - selected.blue()), 12);
    EXPECT_GT(selected.lightness(), coloursOfRow(image, 0)[1].lightness() + 15);
}

TEST_F(TableTest, TheFocusIsSeenAroundTheCurrentRow) {
    table.setFocus();
    select(2);
    const QColor focus = DarkPalette::focusColor();
    const QRect row = table.rectOfRow(2);
    QImage image = picture();
    EXPECT_EQ(image.pixelColor(100, row.top()), focus);
    EXPECT_EQ(image.pixelColor(100, row.bottom()), focus);
    EXPECT_EQ(image.pixelColor(row.right(), row.center().y()), focus);
    table.clearFocus();
    image = picture();
    EXPECT_NE(image.pixelColor(100, row.top()), focus);
}

TEST_F(TableTest, TheFocusIsSeenAroundAnEmptyTable) {
    model.clear();
    table.setFocus();
    const QImage image = picture();
    EXPECT_EQ(image.pixelColor(0, 200), DarkPalette::focusColor());
    EXPECT_EQ(image.pixelColor(100, image.height() - 1), DarkPalette::focusColor());
    EXPECT_EQ(image.pixelColor(100, 200), kBackground);
}

TEST_F(TableTest, ReturnAndEnterAreReportedAndNotPassedOn) {
    int activations = 0;
    QObject::connect(&table, &QAbstractItemView::activated, [&] { ++activations; });
    select(1);
    EXPECT_TRUE(press(Qt::Key_Return, "\r"));
    EXPECT_EQ(enters, 1);
    EXPECT_TRUE(press(Qt::Key_Enter, "\r", Qt::KeypadModifier));
    EXPECT_EQ(enters, 2);
    EXPECT_TRUE(press(Qt::Key_Return, "\r", Qt::ControlModifier));
    EXPECT_TRUE(press(Qt::Key_Enter, "", Qt::AltModifier | Qt::KeypadModifier));
    EXPECT_EQ(enters, 4) << "modifiers are ignored";
    press(Qt::Key_unknown, QString(QChar(0x0003)) + "x");
    press(Qt::Key_unknown, "\rx");
    EXPECT_EQ(enters, 6) << "the first character counts";
    EXPECT_EQ(activations, 0);
}

TEST_F(TableTest, OtherKeysGoToTheTable) {
    select(1);
    press(Qt::Key_Down, "");
    EXPECT_EQ(table.selectedRow(), 2);
    press(Qt::Key_C, QString(QChar(0x0003)), Qt::ControlModifier);
    press(Qt::Key_M, "\r", Qt::ControlModifier);
    press(Qt::Key_A, "a\r");
    EXPECT_EQ(enters, 0);
    EXPECT_FALSE(press(Qt::Key_F5, "")) << "left to the window";
}

TEST_F(TableTest, HomeAndEndGoToTheFirstAndLastRow) {
    select(5, 1);
    press(Qt::Key_End, "");
    EXPECT_EQ(table.selectedRow(), 19);
    press(Qt::Key_Home, "");
    EXPECT_EQ(table.selectedRow(), 0);
}

TEST_F(TableTest, TheFirstArrowKeySelectsTheRowThatHasTheFocus) {
    table.setFocus(Qt::TabFocusReason);
    ASSERT_EQ(table.selectedRow(), -1);
    ASSERT_EQ(table.currentIndex().row(), 0);
    press(Qt::Key_Down, "");
    EXPECT_EQ(table.selectedRow(), 0);
    press(Qt::Key_Down, "");
    EXPECT_EQ(table.selectedRow(), 1);
}

TEST_F(TableTest, OneWholeRowIsSelected) {
    select(1);
    select(4, 1);
    EXPECT_EQ(table.selectedRow(), 4);
    EXPECT_EQ(table.selectionModel()->selectedIndexes().size(), 2);
}

TEST_F(TableTest, TypingANameLooksInTheSearchColumn) {
    model.setItem(3, 0, new QStandardItem("other"));
    model.setItem(7, 0, new QStandardItem("tool"));
    model.setItem(3, 1, new QStandardItem("tool"));
    table.setSearchColumn(0);
    select(0, 1);
    table.keyboardSearch("to");
    EXPECT_EQ(table.selectedRow(), 7);
}

TEST_F(TableTest, GridLinesAreInvisibleUntilShownInTheirColour) {
    const QColor grid(200, 30, 30);
    table.setGridColor(grid);
    EXPECT_EQ(table.gridColor(), grid);
    const QRect row = table.rectOfRow(1);
    EXPECT_EQ(picture().pixelColor(150, row.bottom()), kBackground);
    EXPECT_FALSE(table.showGrid());
    table.setGridLinesVisible(true);
    const QImage image = picture();
    EXPECT_EQ(image.pixelColor(150, row.bottom()), grid);
    EXPECT_EQ(image.pixelColor(table.columnViewportPosition(1) - 1, row.center().y()), grid);
    EXPECT_EQ(image.pixelColor(150, row.center().y()), kBackground);
}

TEST_F(TableTest, RowsAreSixtyEightPointsHighAndGrowWithTheFont) {
    EXPECT_EQ(table.rowHeight(0), 68);
    EXPECT_EQ(table.rowHeight(19), 68);
    {
        const offscreen::ScopedFontSize size(18);
        EXPECT_EQ(table.rowHeight(0), 102);
    }
    EXPECT_EQ(table.rowHeight(0), 68);
    table.setRowHeightInPoints(30);
    EXPECT_EQ(table.rowHeight(5), 30);
}

TEST_F(TableTest, CellsKeepHalfTheSpacingClear) {
    table.setIntercellSpacing({10, 5});
    EXPECT_EQ(table.cellFrame({100, 68, 210, 68}), QRectF(105, 70.5, 200, 63));
    const offscreen::ScopedFontSize size(24);
    EXPECT_EQ(table.cellFrame({100, 68, 210, 68}), QRectF(110, 73, 190, 58));
}

TEST_F(TableTest, ScrollsByPixels) {
    table.verticalScrollBar()->setValue(30);
    EXPECT_EQ(table.rectOfRow(0).top(), -30);
    EXPECT_TRUE(isNear(picture().pixelColor(150, 0), banded(0.3 + 0.1 * 30 / 68)));
}

TEST(VTAlternateBlackTableViewTest, PaintsOnlyTheRowsThatAreSeen) {
    struct CountingTable : VTAlternateBlackTableView {
        std::vector<int> painted;
        void drawRow(int row, QPainter& painter) override {
            painted.push_back(row);
            VTAlternateBlackTableView::drawRow(row, painter);
        }
    };
    QStandardItemModel model(10000, 2);
    CountingTable table;
    table.resize(300, 340);
    table.setModel(&model);
    table.horizontalHeader()->setStretchLastSection(true);
    table.show();
    offscreen::settle();
    table.verticalScrollBar()->setValue(5000 * 68);
    table.painted.clear();
    offscreen::picture(*table.viewport(), kBackground);
    EXPECT_EQ(table.painted, (std::vector{5000, 5001, 5002, 5003, 5004}));
}

TEST(VTAlternateBlackTableViewTest, WithoutAModelItIsEmpty) {
    VTAlternateBlackTableView table;
    table.resize(200, 200);
    EXPECT_EQ(table.selectedRow(), -1);
    EXPECT_EQ(offscreen::picture(*table.viewport(), kBackground).pixelColor(50, 50), kBackground);
}
