#include "VTCenteredTextCell.h"

#include "InterfaceFont.h"
#include "OffscreenApplication.h"

#include <QFontMetricsF>
#include <cmath>
#include <gtest/gtest.h>
#include <set>

namespace {

constexpr QRectF kFrame(10, 20, 210, 63);

VTCenteredTextCell titleCell(const QString& text = "Tallowby") {
    VTCenteredTextCell cell;
    cell.setHasShadow(true);
    cell.setStringValue(text);
    return cell;
}

VTCenteredTextCell descriptionCell(const QString& text) {
    VTCenteredTextCell cell;
    cell.setStringValue(text);
    return cell;
}

QImage drawn(VTCenteredTextCell cell, const QRectF& frame = kFrame, double scale = 1) {
    return offscreen::picture({300, 120}, scale,
                              [&](QPainter& painter) { cell.drawInteriorWithFrame(frame, painter); });
}

// The rows or columns that hold white text (a shadow is black).
struct Extent {
    int first = -1;
    int last = -1;
};
bool isText(QRgb pixel) {
    return qRed(pixel) > 40;
}
Extent textRows(const QImage& image) {
    Extent extent;
    for (int y = 0; y < image.height(); ++y)
        for (int x = 0; x < image.width(); ++x)
            if (isText(image.pixel(x, y))) {
                extent.first = extent.first < 0 ? y : extent.first;
                extent.last = y;
            }
    return extent;
}
Extent textColumns(const QImage& image) {
    Extent extent;
    for (int x = 0; x < image.width(); ++x)
        for (int y = 0; y < image.height(); ++y)
            if (isText(image.pixel(x, y))) {
                extent.first = extent.first < 0 ? x : extent.first;
                extent.last = x;
            }
    return extent;
}

// Lines are laid out at whole pixels.
double lineHeight() {
    return std::ceil(QFontMetricsF(InterfaceFont::regular()).lineSpacing());
}

// A text of so many lines in a cell of kFrame's width.
QString lines(int count) {
    QStringList words;
    for (int i = 0; i < count; ++i)
        words << "line";
    return words.join('\n');
}

} // namespace

TEST(VTCenteredTextCellTest, StartsWithNothingSet) {
    const VTCenteredTextCell cell;
    EXPECT_EQ(cell.lineCount(), std::nullopt);
    EXPECT_FALSE(cell.hasShadow());
    EXPECT_EQ(cell.subtitle(), std::nullopt);
    EXPECT_EQ(cell.stringValue(), QString());
}

TEST(VTCenteredTextCellTest, TheFirstTitleRectangleSetsTheLineCount) {
    VTCenteredTextCell cell = titleCell();
    cell.titleRectForBounds(kFrame);
    EXPECT_EQ(cell.lineCount(), 1);
    cell.setLineCount(4);
    cell.titleRectForBounds(kFrame);
    EXPECT_EQ(cell.lineCount(), 4);
}

TEST(VTCenteredTextCellTest, TheLineCountDoesNotChangeTheLayout) {
    VTCenteredTextCell cell = descriptionCell(lines(3));
    const QRectF before = cell.titleRectForBounds(kFrame);
    cell.setLineCount(1);
    EXPECT_EQ(cell.titleRectForBounds(kFrame), before);
}

TEST(VTCenteredTextCellTest, ATitleIsCentredByOneLineOfTheInterfaceFont) {
    // 16 points bold are higher than this line.
    const double line = lineHeight();
    EXPECT_GT(QFontMetricsF(InterfaceFont::bold(InterfaceFont::kTitleSize)).height(), line);
    EXPECT_EQ(titleCell().titleRectForBounds(kFrame), QRectF(10, 20 + (63 - line) * 0.5, 205, 63));
    EXPECT_EQ(titleCell("").titleRectForBounds(kFrame), QRectF(10, 20 + (63 - line) * 0.5, 205, 63));
}

TEST(VTCenteredTextCellTest, ATextWithoutShadowIsCentredByItsLines) {
    const double line = lineHeight();
    EXPECT_EQ(descriptionCell("one line").titleRectForBounds(kFrame),
              QRectF(10, 20 + (63 - line) * 0.5, 205, 63));
    EXPECT_EQ(descriptionCell(lines(3)).titleRectForBounds(kFrame),
              QRectF(10, 20 + (63 - 3 * line) * 0.5, 205, 63));
    EXPECT_EQ(descriptionCell("Thirty-eight letters wide and so wrapped once here")
                  .titleRectForBounds(QRectF(0, 0, 205, 60)),
              QRectF(0, (60 - 2 * line) * 0.5, 200, 60));
}

TEST(VTCenteredTextCellTest, TheMeasureIsTheInterfaceFontWhateverTheTextIsDrawnWith) {
    VTCenteredTextCell cell = descriptionCell("one line");
    const QRectF before = cell.titleRectForBounds(kFrame);
    cell.setFont(InterfaceFont::bold(30));
    EXPECT_EQ(cell.titleRectForBounds(kFrame), before);
}

TEST(VTCenteredTextCellTest, AnEmptyTextStartsAtHalfTheHeight) {
    EXPECT_EQ(descriptionCell("").titleRectForBounds(kFrame), QRectF(10, 20 + 31.5, 205, 63));
}

TEST(VTCenteredTextCellTest, DistancesGrowWithTheUsersFont) {
    const offscreen::ScopedFontSize size(24);
    const QRectF title = titleCell().titleRectForBounds(QRectF(0, 0, 400, 136));
    EXPECT_EQ(title.width(), 390);
    EXPECT_EQ(title.y(), (136 - lineHeight()) * 0.5);
}

TEST(VTCenteredTextCellTest, ASubtitleMovesTheTitleUpByTen) {
    VTCenteredTextCell cell = titleCell("Tool");
    const QImage without = drawn(cell);
    cell.setSubtitle("");
    EXPECT_EQ(drawn(cell), without) << "an empty one is none";
    cell.setSubtitle("Group");
    const QImage with = drawn(cell);
    EXPECT_EQ(textRows(with).first, textRows(without).first - 10);
}

TEST(VTCenteredTextCellTest, TheSubtitleIsTwentyBelowAndTwoToTheRightOfTheTitle) {
    VTCenteredTextCell cell = titleCell(" ");
    cell.setSubtitle("Group");
    const QImage image = drawn(cell);
    // The same text drawn by itself at the place where it belongs.
    VTCenteredTextCell title = titleCell(" ");
    const QRectF at = title.titleRectForBounds(kFrame).translated(2, 20 - 10);
    const QImage expected = offscreen::picture({300, 120}, 1, [&](QPainter& painter) {
        painter.setPen(QColor::fromRgbF(1, 1, 1, 0.6F));
        TextBlock("Group", InterfaceFont::regular(InterfaceFont::kSecondarySize), {.width = 200})
            .draw(painter, at.topLeft());
    });
    EXPECT_GT(textRows(expected).first, 0);
    EXPECT_EQ(image, expected);
}

TEST(VTCenteredTextCellTest, SubtitleAttributes) {
    const auto attributes = VTCenteredTextCell::subtitleAttributes();
    EXPECT_EQ(attributes.fontSizeAttribute, 9);
    EXPECT_EQ(attributes.foregroundColor, theme::Colour::calibratedRGB(1, 1, 1, 0.6));
}

TEST(VTCenteredTextCellTest, TheTitleHasABlurredShadow) {
    EXPECT_EQ(VTCenteredTextCell::titleShadow(),
              (theme::Shadow{{theme::Colour::Kind::Named, 0, 0, 0, 1.0 / 3, "blackColor"}, 3, 2, -2}));
    for (double scale : {1.0, 2.0}) {
        const QImage image = drawn(titleCell(), kFrame, scale);
        std::set<int> alphas;
        int below = 0; // shadow lower and further to the right than any of the text
        const Extent rows = textRows(image);
        const Extent columns = textColumns(image);
        for (int y = 0; y < image.height(); ++y)
            for (int x = 0; x < image.width(); ++x) {
                const QRgb pixel = image.pixel(x, y);
                if (qAlpha(pixel) == 0 || qRed(pixel) > 0)
                    continue;
                alphas.insert(qAlpha(pixel));
                below += y > rows.last && x > columns.first ? 1 : 0;
                EXPECT_LE(qAlpha(pixel), 85) << "a third of black at most";
                EXPECT_GE(y, rows.first - 2 * scale) << "it falls downwards";
            }
        EXPECT_GE(alphas.size(), 20U) << "a soft shadow has many shades";
        EXPECT_GT(below, 50 * scale);
    }
}

TEST(VTCenteredTextCellTest, ATextWithoutShadowHasNone) {
    const QImage image = drawn(descriptionCell("Description"));
    for (int y = 0; y < image.height(); ++y)
        for (int x = 0; x < image.width(); ++x)
            ASSERT_EQ(qRed(image.pixel(x, y)), qAlpha(image.pixel(x, y))) << "white text and nothing else";
}

TEST(VTCenteredTextCellTest, ATitleIsOneLineCutAtTheRight) {
    const QImage image = drawn(titleCell("A title that is much too long for the room it has\nhere"));
    const Extent columns = textColumns(image);
    EXPECT_LE(columns.last, 10 + 205);
    EXPECT_GT(columns.last, 10 + 205 - 25);
    EXPECT_LT(textRows(image).last - textRows(image).first, 20);
}

TEST(VTCenteredTextCellTest, ADescriptionIsNeverHigherThanItsCell) {
    const QRectF frame(0, 20, 205, 63);
    for (int count : {1, 3, 4, 5, 40}) {
        const Extent rows = textRows(drawn(descriptionCell(lines(count)), frame));
        EXPECT_GE(rows.first, 20) << count;
        EXPECT_LT(rows.last, 83) << count;
    }
    EXPECT_TRUE(descriptionCell(lines(4)).expansionFrameWithFrame(frame).isEmpty()) << "four lines fit";
    EXPECT_FALSE(descriptionCell(lines(5)).expansionFrameWithFrame(frame).isEmpty());
}

TEST(VTCenteredTextCellTest, ALowCellShowsTheLinesItHasRoomFor) {
    const QRectF frame(0, 20, 205, 24);
    const Extent rows = textRows(drawn(descriptionCell(lines(4)), frame));
    EXPECT_GE(rows.first, 20);
    EXPECT_LT(rows.last, 44);
}

TEST(VTCenteredTextCellTest, TheTextHasTheColourAndFontOfTheCell) {
    VTCenteredTextCell cell = descriptionCell("Description");
    const Extent before = textColumns(drawn(cell));
    cell.setFont(InterfaceFont::bold(20));
    EXPECT_GT(textColumns(drawn(cell)).last, before.last + 40);
    cell.setTextColor(Qt::red);
    const QImage image = drawn(cell);
    const QRgb darkest = image.pixel(textColumns(image).first + 1, 50);
    EXPECT_EQ(qGreen(darkest), 0);
    // A title keeps its type.
    VTCenteredTextCell title = titleCell();
    const QImage bold = drawn(title);
    title.setFont(InterfaceFont::regular(8));
    EXPECT_EQ(drawn(title), bold);
}

TEST(VTCenteredTextCellTest, InARightToLeftViewTitleAndSubtitleBeginAtTheRight) {
    VTCenteredTextCell cell = titleCell("Tool");
    cell.setSubtitle("Group");
    cell.setLayoutDirection(Qt::RightToLeft);
    const QImage image = drawn(cell);
    EXPECT_GT(textColumns(image).first, 150);
    const Extent title = textColumns(image.copy(0, 0, 300, 53));
    const Extent subtitle = textColumns(image.copy(0, 58, 300, 60));
    EXPECT_NEAR(title.last - subtitle.last, 2, 1) << "indented from its own side";
}

TEST(VTCenteredTextCellTest, ADescriptionBeginsAtTheSideOfItsScript) {
    EXPECT_GT(textColumns(drawn(descriptionCell(QString::fromUtf8("שלום")))).first, 150);
    EXPECT_LT(textColumns(drawn(descriptionCell("Hello"))).last, 100);
}

TEST(VTCenteredTextCellTest, ATextThatFitsNeedsNoExpansionFrame) {
    const QRectF frame = titleCell().expansionFrameWithFrame(kFrame);
    EXPECT_EQ(frame, QRectF(0, 0, 15, 0)) << "nothing, and 15 wider";
    EXPECT_TRUE(frame.isEmpty());
    EXPECT_TRUE(descriptionCell("").expansionFrameWithFrame(kFrame).isEmpty());
}

TEST(VTCenteredTextCellTest, TheExpansionFrameOfATitleIsFifteenWiderThanItsText) {
    const QString text = "A title that is much too long for the room it has";
    VTCenteredTextCell cell = titleCell(text);
    const QRectF frame = cell.expansionFrameWithFrame(kFrame);
    const TextBlock whole(text, InterfaceFont::bold(InterfaceFont::kTitleSize), {});
    EXPECT_EQ(frame.topLeft(), cell.titleRectForBounds(kFrame).topLeft());
    EXPECT_EQ(frame.width(), std::ceil(whole.bounds().width()) + 15);
    EXPECT_EQ(frame.height(), whole.height());
    EXPECT_GT(frame.width(), 300);

    cell.setLayoutDirection(Qt::RightToLeft);
    EXPECT_EQ(cell.expansionFrameWithFrame(kFrame).right(), 10 + 205);
}

TEST(VTCenteredTextCellTest, TheExpansionFrameOfADescriptionHoldsAllItsLines) {
    VTCenteredTextCell cell = descriptionCell(lines(9));
    const QRectF frame = cell.expansionFrameWithFrame(kFrame);
    EXPECT_EQ(frame.width(), 205 + 15);
    EXPECT_EQ(frame.height(), 9 * lineHeight());
}

TEST(VTCenteredTextCellTest, ACutSubtitleIsExpandedToo) {
    VTCenteredTextCell cell = titleCell("Tool");
    cell.setSubtitle("A group with a name that no column of this width could ever show");
    const QRectF frame = cell.expansionFrameWithFrame(kFrame);
    EXPECT_GT(frame.width(), 300);
    const QImage image = offscreen::picture(
        {700, 120}, 1, [&](QPainter& painter) { cell.drawWithExpansionFrame(frame, painter); });
    EXPECT_LT(textRows(image).last, frame.bottom());
    EXPECT_NEAR(textColumns(image).last, frame.right() - 15, 3);
}

TEST(VTCenteredTextCellTest, AnEndlessTextIsLaidOutInPart) {
    VTCenteredTextCell cell = descriptionCell(QString("word ").repeated(1000000));
    const double height = cell.expandedHeight(215);
    EXPECT_GT(height, 10 * lineHeight());
    EXPECT_LT(height, 100 * lineHeight());
}

TEST(VTCenteredTextCellTest, WithoutAPictureToDrawOnNothingHappens) {
    QPainter painter;
    VTCenteredTextCell cell = titleCell();
    cell.drawInteriorWithFrame(kFrame, painter);
    EXPECT_EQ(cell.lineCount(), std::nullopt);
}
