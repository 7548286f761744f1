#include "IconFile.h"

#include "Glyph.h"

#include <gtest/gtest.h>

#include <QBuffer>
#include <QImageReader>
#include <QSet>

namespace {

Artwork purgel() {
    return Artwork::tool(U'P', QColor(0xd86868), QColor(0x942b2b));
}

QImage read(QByteArray bytes, const char* format) {
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::ReadOnly);
    return QImageReader(&buffer, format).read();
}

TEST(IconFileTest, PngHasTheSizeAskedForAndTransparentCorners) {
    for (int size : {16, 48, 512}) {
        auto image = read(iconFile(purgel(), "png", size), "png");
        EXPECT_EQ(image.size(), QSize(size, size));
        EXPECT_EQ(qAlpha(image.pixel(0, 0)), 0);
        EXPECT_EQ(qAlpha(image.pixel(size / 4, size / 4)), 255);
    }
}

TEST(IconFileTest, IcnsHoldsFourSizesThatTheImagePluginReads) {
    auto bytes = iconFile(purgel(), "icns", 0);
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::ReadOnly);
    QImageReader reader(&buffer, "icns");
    ASSERT_TRUE(reader.canRead()) << "the icns image plugin is missing or does not know the file";
    QSet<int> sizes;
    do {
        auto image = reader.read();
        ASSERT_FALSE(image.isNull());
        EXPECT_EQ(image.width(), image.height());
        EXPECT_EQ(image.convertToFormat(QImage::Format_ARGB32),
                  purgel().image(image.width()).convertToFormat(QImage::Format_ARGB32));
        sizes.insert(image.width());
    } while (reader.jumpToNextImage());
    EXPECT_EQ(sizes, QSet<int>({32, 64, 128, 256}));
}

TEST(IconFileTest, IcnsHeaderCountsEveryByte) {
    auto bytes = iconFile(purgel(), "icns", 0);
    EXPECT_EQ(bytes.left(4), "icns");
    EXPECT_EQ(bytes.mid(4, 4).toHex().toLongLong(nullptr, 16), bytes.size());
}

TEST(IconFileTest, SvgIsTheSameDrawing) {
    auto image = read(iconFile(Artwork::launcher(), "svg", 0), "svg");
    ASSERT_EQ(image.size(), QSize(48, 48));
    auto drawn = Artwork::launcher().image(48);
    for (auto point : {QPoint(24, 4), QPoint(16, 30), QPoint(34, 14), QPoint(24, 42)}) {
        QColor fromSvg = image.pixelColor(point);
        QColor expected = drawn.pixelColor(point);
        EXPECT_NEAR(fromSvg.red(), expected.red(), 4);
        EXPECT_NEAR(fromSvg.green(), expected.green(), 4);
        EXPECT_NEAR(fromSvg.blue(), expected.blue(), 4);
    }
}

TEST(IconFileTest, AnotherSuffixGivesNothing) {
    EXPECT_TRUE(iconFile(purgel(), "jpg", 48).isEmpty());
}

TEST(IconFileTest, TheSameDrawingEveryTime) {
    EXPECT_EQ(iconFile(purgel(), "icns", 0), iconFile(purgel(), "icns", 0));
}

TEST(GlyphTest, LettersAreAsHighAsTheirCapitals) {
    for (char32_t letter : U"BCFGHLPQSTUVWΦЖ") {
        if (letter != 0) {
            auto bounds = glyph(letter).boundingRect();
            EXPECT_NEAR(bounds.height(), 100, 2) << static_cast<unsigned>(letter);
            EXPECT_EQ(bounds.topLeft(), QPointF(0, 0)) << static_cast<unsigned>(letter);
        }
    }
}

TEST(GlyphTest, LettersDiffer) {
    EXPECT_NE(glyph(U'C'), glyph(U'G'));
    EXPECT_FALSE(glyph(U'テ').isEmpty());
    EXPECT_FALSE(glyph(U'ن').isEmpty());
}

TEST(GlyphTest, AnUnknownLetterLeavesThePlateBare) {
    EXPECT_TRUE(glyph(U'@').isEmpty());
    QColor colour(0x808080);
    auto bare = Artwork::tool(U'@', colour, colour).image(48);
    auto lettered = Artwork::tool(U'P', colour, colour).image(48);
    EXPECT_EQ(bare.pixelColor(24, 23), colour);
    EXPECT_NE(bare, lettered);
}

} // namespace
