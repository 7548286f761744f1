#include "GradientBackground.h"

#include "DarkPalette.h"
#include "OffscreenApplication.h"

#include <gtest/gtest.h>

namespace {

QImage drawn(GradientBackground::Surface surface, Qt::Edges separators) {
    GradientBackground background(surface);
    background.resize(40, 100);
    background.setSeparators(separators);
    return offscreen::picture(background, QColor(100, 100, 100));
}

} // namespace

TEST(GradientBackgroundTest, AWindowRunsFromTopToBottom) {
    const QImage image = drawn(GradientBackground::Surface::Window, {});
    EXPECT_EQ(image.pixelColor(20, 0), QColor("#2a2b2e"));
    EXPECT_EQ(image.pixelColor(20, 99), QColor("#1a1b1d"));
    EXPECT_EQ(image.pixelColor(0, 50), image.pixelColor(39, 50));
}

TEST(GradientBackgroundTest, AWellDarkensWhatLiesBehind) {
    const QImage image = drawn(GradientBackground::Surface::Well, {});
    EXPECT_EQ(image.pixelColor(20, 50), QColor(60, 60, 60));
}

TEST(GradientBackgroundTest, ABarIsFlatAndAClearOneIsNot) {
    const QImage bar = drawn(GradientBackground::Surface::Bar, {});
    EXPECT_EQ(bar.pixelColor(20, 0), bar.pixelColor(20, 99));
    EXPECT_LT(bar.pixelColor(20, 0).lightness(), 50);
    EXPECT_EQ(drawn(GradientBackground::Surface::Clear, {}).pixelColor(20, 50), QColor(100, 100, 100));
}

TEST(GradientBackgroundTest, SeparatorsAreOnePixelAlongTheirEdges) {
    const QColor line = DarkPalette::separatorColor();
    const QColor behind(100, 100, 100);
    QImage image = drawn(GradientBackground::Surface::Clear, Qt::TopEdge | Qt::RightEdge);
    EXPECT_EQ(image.pixelColor(20, 0), line);
    EXPECT_EQ(image.pixelColor(20, 1), behind);
    EXPECT_EQ(image.pixelColor(39, 50), line);
    EXPECT_EQ(image.pixelColor(38, 50), behind);
    EXPECT_EQ(image.pixelColor(0, 50), behind);
    EXPECT_EQ(image.pixelColor(20, 99), behind);
    image = drawn(GradientBackground::Surface::Clear, Qt::BottomEdge | Qt::LeftEdge);
    EXPECT_EQ(image.pixelColor(20, 99), line);
    EXPECT_EQ(image.pixelColor(0, 50), line);
    EXPECT_EQ(image.pixelColor(20, 0), behind);
}
