#include "ButtonCell.h"

#include "InterfaceFont.h"
#include "OffscreenApplication.h"

#include <QFontMetricsF>
#include <cmath>
#include <gtest/gtest.h>

namespace {

using ControlSize = ButtonCell::ControlSize;
using ImagePosition = ButtonCell::ImagePosition;

ButtonCell cellOf(ControlSize size, const QString& text = "Continue") {
    ButtonCell cell;
    cell.controlSize = size;
    cell.attributedTitle.text = text;
    cell.attributedTitle.font = ButtonCell::titleFont(size);
    return cell;
}

QPixmap square(int side) {
    QPixmap image(side, side);
    image.fill(Qt::red);
    return image;
}

// Where anything is drawn.
QRect coveredBy(const QImage& image) {
    QRect covered;
    for (int y = 0; y < image.height(); ++y)
        for (int x = 0; x < image.width(); ++x)
            if (qAlpha(image.pixel(x, y)) > 100)
                covered |= QRect(x, y, 1, 1);
    return covered;
}

QRect imageCovers(const ButtonCell& cell, const QRectF& frame) {
    return coveredBy(offscreen::picture(
        {200, 60}, 1, [&](QPainter& painter) { cell.drawImage(cell.image, frame, painter); }));
}

} // namespace

TEST(ButtonCellTest, HasThePlatformsNumbers) {
    EXPECT_EQ(static_cast<int>(ControlSize::Regular), 0);
    EXPECT_EQ(static_cast<int>(ControlSize::Small), 1);
    EXPECT_EQ(static_cast<int>(ControlSize::Mini), 2);
    EXPECT_EQ(static_cast<int>(ImagePosition::NoImage), 0);
    EXPECT_EQ(static_cast<int>(ImagePosition::ImageOnly), 1);
    const ButtonCell cell;
    EXPECT_EQ(cell.showsStateBy, 0U);
    EXPECT_EQ(cell.highlightsBy, 14U) << "a momentary button";
}

TEST(ButtonCellTest, TheNaturalHeightHoldsALineInEverySize) {
    EXPECT_EQ(cellOf(ControlSize::Regular).cellSize().height(), 22);
    for (const int fontSize : {9, 12, 15, 18, 24, 36}) {
        const offscreen::ScopedFontSize scope(fontSize);
        double above = 1000;
        for (const ControlSize size : {ControlSize::Regular, ControlSize::Small, ControlSize::Mini}) {
            const ButtonCell cell = cellOf(size);
            // The height of the capsule, between its lines.
            const double capsule = cell.cellSize().height() - (size == ControlSize::Mini ? 5 : 3);
            EXPECT_GE(capsule - 2, QFontMetricsF(cell.attributedTitle.font).height()) << fontSize;
            EXPECT_LT(capsule, above) << "smaller than the size before, at " << fontSize;
            EXPECT_EQ(capsule, std::floor(capsule));
            above = capsule;
        }
    }
}

TEST(ButtonCellTest, GrowsWithTheUsersFont) {
    const QSizeF usual = cellOf(ControlSize::Regular).cellSize();
    const offscreen::ScopedFontSize scope(24);
    const QSizeF larger = cellOf(ControlSize::Regular).cellSize();
    EXPECT_EQ(larger.height(), 44);
    EXPECT_NEAR(larger.width(), 2 * usual.width(), 8);
}

TEST(ButtonCellTest, AnOwnLargerFontMakesTheCellHigher) {
    ButtonCell cell = cellOf(ControlSize::Regular);
    cell.attributedTitle.font.setPixelSize(30);
    EXPECT_EQ(cell.cellSize().height(), std::ceil(QFontMetricsF(cell.attributedTitle.font).height()) + 5);
}

TEST(ButtonCellTest, TheNaturalWidthLeavesRoomAtTheEnds) {
    const ButtonCell cell = cellOf(ControlSize::Regular);
    const double text = QFontMetricsF(cell.attributedTitle.font).horizontalAdvance("Continue");
    EXPECT_NEAR(cell.cellSize().width(), text + 2 * 19 + 3, 2);
    EXPECT_LT(cellOf(ControlSize::Mini).cellSize().width(), cell.cellSize().width());
    EXPECT_EQ(cell.cellSize().width(), std::floor(cell.cellSize().width()));
}

TEST(ButtonCellTest, TheImageCountsWhereItIsShown) {
    ButtonCell cell = cellOf(ControlSize::Regular);
    const double plain = cell.cellSize().width();
    cell.image = square(10);
    EXPECT_EQ(cell.cellSize().width(), plain);
    cell.imagePosition = ImagePosition::Left;
    EXPECT_EQ(cell.cellSize().width(), plain + 2 * (10 + 4));
    cell.imagePosition = ImagePosition::Overlaps;
    EXPECT_EQ(cell.cellSize().width(), plain);
    cell.imagePosition = ImagePosition::ImageOnly;
    EXPECT_EQ(cell.cellSize().width(), 10 + 2 * 19 + 3);
}

TEST(ButtonCellTest, AMnemonicTakesNoRoom) {
    ButtonCell cell = cellOf(ControlSize::Regular, "&Continue");
    cell.attributedTitle.mnemonic = Qt::TextShowMnemonic;
    EXPECT_EQ(cell.cellSize(), cellOf(ControlSize::Regular).cellSize());
}

TEST(ButtonCellTest, ATitleThatIsTooWideEndsInAnEllipsis) {
    const ButtonCell cell = cellOf(ControlSize::Regular, "Trash and repair everything");
    const QRectF frame(10, 10, 80, 17);
    QRectF covered;
    const QImage image = offscreen::picture({200, 40}, 1, [&](QPainter& painter) {
        covered = cell.drawTitle(cell.attributedTitle, frame, painter);
    });
    const QRect ink = coveredBy(image);
    EXPECT_GE(ink.left(), 10);
    EXPECT_LE(ink.right(), 90);
    EXPECT_GE(ink.width(), 60);
    EXPECT_TRUE(frame.adjusted(-1, -1, 1, 1).contains(covered));
}

TEST(ButtonCellTest, TheTitleIsOneLineOfPlainText) {
    auto drawnTitle = [](const QString& text) {
        const ButtonCell cell = cellOf(ControlSize::Regular, text);
        return offscreen::picture({300, 40}, 1, [&](QPainter& painter) {
            cell.drawTitle(cell.attributedTitle, {0, 10, 300, 17}, painter);
        });
    };
    EXPECT_EQ(drawnTitle("Two\nlines"), drawnTitle("Two lines"));
    EXPECT_NE(drawnTitle("<b>Bold</b>"), drawnTitle("Bold"));
    EXPECT_GT(coveredBy(drawnTitle("<b>Bold</b>")).width(), coveredBy(drawnTitle("Bold")).width() * 2);
    EXPECT_NE(drawnTitle("A && B"), drawnTitle("A & B"));
}

TEST(ButtonCellTest, TheImageIsPlacedByItsPosition) {
    ButtonCell cell;
    cell.image = square(10);
    const QRectF frame(20, 10, 100, 30);
    const std::pair<ImagePosition, QPoint> places[] = {
        {ImagePosition::ImageOnly, {65, 20}}, {ImagePosition::Overlaps, {65, 20}},
        {ImagePosition::Left, {25, 20}},      {ImagePosition::Right, {105, 20}},
        {ImagePosition::Above, {65, 10}},     {ImagePosition::Below, {65, 30}},
    };
    for (const auto& [position, topLeft] : places) {
        cell.imagePosition = position;
        EXPECT_EQ(imageCovers(cell, frame), QRect(topLeft, QSize(10, 10))) << static_cast<int>(position);
    }
}

TEST(ButtonCellTest, ALargeImageIsMadeSmaller) {
    ButtonCell cell;
    cell.imagePosition = ImagePosition::ImageOnly;
    cell.image = square(64);
    EXPECT_EQ(imageCovers(cell, {20, 10, 100, 30}), QRect(55, 10, 30, 30));
    cell.image = QPixmap();
    EXPECT_TRUE(imageCovers(cell, {20, 10, 100, 30}).isNull());
}
