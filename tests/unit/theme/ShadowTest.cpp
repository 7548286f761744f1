#include "Shadow.h"

#include "OffscreenApplication.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <set>

using theme::Colour;
using theme::Shadow;

namespace {

constexpr QRectF kSquare(20, 20, 20, 20);

QImage shadowOfSquare(const Shadow& shadow, double scale = 1) {
    return offscreen::picture({60, 60}, scale, [&](QPainter& painter) {
        shadow.draw(painter, kSquare, [](QPainter& caster) { caster.fillRect(kSquare, Qt::red); });
    });
}

int alphaAt(const QImage& image, int x, int y) {
    return qAlpha(image.pixel(x, y));
}

} // namespace

TEST(ShadowTest, TheEdgeFadesThroughIntermediateValues) {
    const QImage image = shadowOfSquare({Colour::black(), 6, 0, 0});
    EXPECT_GT(alphaAt(image, 30, 30), 250);
    std::set<int> fading;
    for (int x = 10; x < 30; ++x) {
        EXPECT_LE(alphaAt(image, x, 30), alphaAt(image, x + 1, 30)) << "falls off outwards, at " << x;
        if (alphaAt(image, x, 30) > 0 && alphaAt(image, x, 30) < 250)
            fading.insert(alphaAt(image, x, 30));
    }
    EXPECT_GE(fading.size(), 6U);
    EXPECT_NEAR(alphaAt(image, 20, 30), 140, 20) << "half of it at the edge";
    EXPECT_EQ(alphaAt(image, 8, 30), 0);
}

TEST(ShadowTest, APositiveOffsetPointsUpwards) {
    const Shadow shadow{Colour::black(), 0, 5, 3};
    const QImage image = shadowOfSquare(shadow);
    EXPECT_EQ(alphaAt(image, 25, 17), 255);
    EXPECT_EQ(alphaAt(image, 44, 36), 255);
    EXPECT_EQ(alphaAt(image, 24, 30), 0);
    EXPECT_EQ(alphaAt(image, 30, 37), 0);
}

TEST(ShadowTest, HasItsOwnColourNotTheContents) {
    Colour colour = Colour::white();
    colour.alpha = 1.0 / 3;
    const QImage image = shadowOfSquare({colour, 2, 0, 0});
    const QColor pixel = image.pixelColor(30, 30);
    EXPECT_EQ(pixel.alpha(), 85);
    EXPECT_EQ(pixel.green(), 255);
}

TEST(ShadowTest, IsAsWideInPointsOnADenseScreen) {
    const Shadow shadow{Colour::black(), 6, 4, -4};
    const QImage plain = shadowOfSquare(shadow, 1);
    const QImage dense = shadowOfSquare(shadow, 2);
    for (int x = 10; x < 50; ++x)
        EXPECT_NEAR(alphaAt(plain, x, 34), (alphaAt(dense, 2 * x, 68) + alphaAt(dense, 2 * x + 1, 68)) / 2.0,
                    14)
            << x;
}

TEST(ShadowTest, WithoutContentThereIsNone) {
    const QImage image = offscreen::picture({20, 20}, 1, [](QPainter& painter) {
        const Shadow shadow{Colour::black(), 3, 0, 0};
        shadow.draw(painter, QRectF(5, 5, 10, 10), [](QPainter&) {});
        shadow.draw(painter, QRectF(), [](QPainter& caster) { caster.fillRect(0, 0, 20, 20, Qt::red); });
    });
    QImage empty(image.size(), image.format());
    empty.fill(Qt::transparent);
    EXPECT_EQ(image, empty);
}

TEST(ShadowTest, Scales) {
    EXPECT_EQ((Shadow{Colour::black(), 3, 2, -2}).scaledBy(1.5), (Shadow{Colour::black(), 4.5, 3, -3}));
}
