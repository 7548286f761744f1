#include "TextBlock.h"

#include "InterfaceFont.h"
#include "OffscreenApplication.h"

#include <QFontMetricsF>
#include <gtest/gtest.h>

namespace {

constexpr char kSentence[] =
    "Keeps dated backups of preferences and restores any of them, one by one, whenever "
    "they are asked for by whoever has lost them.";

double lineHeight() {
    return QFontMetricsF(InterfaceFont::regular()).lineSpacing();
}

// The columns that hold anything, as first and last.
std::pair<int, int> inkColumns(const QImage& image) {
    int first = image.width();
    int last = -1;
    for (int y = 0; y < image.height(); ++y)
        for (int x = 0; x < image.width(); ++x)
            if (qAlpha(image.pixel(x, y)) > 0) {
                first = std::min(first, x);
                last = std::max(last, x);
            }
    return {first, last};
}

QImage drawn(const TextBlock& block, const QSize& size) {
    return offscreen::picture(size, 1, [&](QPainter& painter) {
        painter.setPen(Qt::black);
        block.draw(painter, {0, 0});
    });
}

TextBlock block(const QString& text, const TextBlock::Room& room, Qt::Alignment alignment = Qt::AlignLeft) {
    return {text, InterfaceFont::regular(), room, alignment};
}

} // namespace

TEST(TextBlockTest, BreaksAtTheWidth) {
    const TextBlock whole = block(kSentence, {});
    EXPECT_EQ(whole.lines(), 1);
    EXPECT_NEAR(whole.height(), lineHeight(), 1);
    const TextBlock broken = block(kSentence, {.width = whole.bounds().width() / 2.5});
    EXPECT_EQ(broken.lines(), 3);
    EXPECT_EQ(broken.height(), 3 * whole.height());
    EXPECT_LE(broken.bounds().width(), whole.bounds().width() / 2.5);
    EXPECT_FALSE(broken.isTruncated());
}

TEST(TextBlockTest, ATextThatFitsItsLinesExactlyIsNotCut) {
    const double width = block(kSentence, {}).bounds().width() / 2.5;
    EXPECT_FALSE(block(kSentence, {.width = width, .lines = 3}).isTruncated());
    const TextBlock cut = block(kSentence, {.width = width, .lines = 2});
    EXPECT_TRUE(cut.isTruncated());
    EXPECT_EQ(cut.lines(), 2);
    EXPECT_LE(cut.bounds().width(), width);
}

TEST(TextBlockTest, ACutLineEndsInAnEllipsis) {
    // Cut to one line, the text looks the same as its beginning with an ellipsis.
    const TextBlock ellipsis = block("Keeps dated backups of\u2026", {});
    const double room = ellipsis.bounds().width() + 1;
    const TextBlock cut = block(kSentence, {.width = room, .lines = 1});
    ASSERT_TRUE(cut.isTruncated());
    EXPECT_EQ(drawn(cut, {400, 30}), drawn(ellipsis, {400, 30}));
}

TEST(TextBlockTest, AWordWiderThanTheRoomIsBroken) {
    const TextBlock longWord = block(QString(200, u'x'), {.width = 100});
    EXPECT_GT(longWord.lines(), 5);
    EXPECT_LE(longWord.bounds().width(), 100);
}

TEST(TextBlockTest, LineFeeds) {
    EXPECT_EQ(block("one\ntwo\r\nthree", {}).lines(), 3);
    const TextBlock line = block("one\ntwo", {.lines = 1});
    EXPECT_FALSE(line.isTruncated());
    EXPECT_EQ(drawn(line, {100, 30}), drawn(block("one two", {}), {100, 30}));
    // A line that is short but followed by more still says so.
    const TextBlock cut = block("one\ntwo\nthree", {.lines = 2});
    EXPECT_TRUE(cut.isTruncated());
    EXPECT_EQ(drawn(cut, {100, 60}), drawn(block("one\ntwo\u2026", {}), {100, 60}));
}

TEST(TextBlockTest, MarkupIsText) {
    EXPECT_GT(block("<b>bold</b>", {}).bounds().width(), block("bold", {}).bounds().width() * 2);
    EXPECT_GT(block("a&amp;b", {}).bounds().width(), block("a&b", {}).bounds().width());
}

TEST(TextBlockTest, AlignsAtTheRight) {
    const auto [left, right] = inkColumns(drawn(block("abc", {.width = 200}, Qt::AlignRight), {200, 30}));
    EXPECT_GT(left, 150);
    EXPECT_GE(right, 196);
    EXPECT_LE(inkColumns(drawn(block("abc", {.width = 200}), {200, 30})).second, 50);
}

TEST(TextBlockTest, RightToLeftTextKeepsTheSideAndItsOrder) {
    const QString hebrew = QString::fromUtf8("שלום abc");
    const QImage atLeft = drawn(block(hebrew, {.width = 200}), {200, 30});
    const QImage atRight = drawn(block(hebrew, {.width = 200}, Qt::AlignRight), {200, 30});
    EXPECT_LE(inkColumns(atLeft).second, 100);
    EXPECT_GE(inkColumns(atRight).first, 100);
    // Its first word is the rightmost: the Latin word at the left begins where it stands alone.
    const QImage latin = drawn(block("abc", {.width = 200}), {200, 30});
    const int width = inkColumns(latin).second + 1;
    EXPECT_EQ(atLeft.copy(0, 0, width, 30), latin.copy(0, 0, width, 30));
}

TEST(TextBlockTest, LinesMoveCloserToFitTheHeight) {
    const double width = block(kSentence, {}).bounds().width() / 2.5;
    const TextBlock free = block(kSentence, {.width = width});
    const TextBlock squeezed = block(kSentence, {.width = width, .height = free.height() - 6});
    EXPECT_EQ(squeezed.lines(), 3);
    EXPECT_EQ(squeezed.height(), free.height() - 6);
    EXPECT_EQ(squeezed.bounds().bottom(), free.height() - 6);
    const int height = static_cast<int>(free.height());
    const QImage freely = drawn(free, {300, height});
    const QImage closely = drawn(squeezed, {300, height});
    EXPECT_EQ(closely.copy(0, height - 6 - 12, 300, 12), freely.copy(0, height - 12, 300, 12))
        << "the last line is 6 higher";
    EXPECT_EQ(closely.copy(0, 0, 300, 12), freely.copy(0, 0, 300, 12)) << "the first stays";
}

TEST(TextBlockTest, AnEmptyTextIsAnEmptyLine) {
    const TextBlock empty = block("", {.width = 100, .lines = 4});
    EXPECT_NEAR(empty.height(), lineHeight(), 1);
    EXPECT_FALSE(empty.isTruncated());
    EXPECT_EQ(inkColumns(drawn(empty, {100, 30})).second, -1);
}
