#include "Gradient.h"

#include "OffscreenApplication.h"

#include <gtest/gtest.h>

using theme::Colour;
using theme::Gradient;

namespace {

const Gradient kRedToBlue(Colour::deviceRGB(1, 0, 0, 1), Colour::deviceRGB(0, 0, 1, 1));

QImage drawn(const Gradient& gradient, double angle) {
    return offscreen::picture(
        {40, 20}, 1, [&](QPainter& painter) { gradient.drawInRect(painter, QRectF(0, 0, 40, 20), angle); });
}

bool isRed(QRgb pixel) {
    return qRed(pixel) > 220 && qBlue(pixel) < 35;
}
bool isBlue(QRgb pixel) {
    return qBlue(pixel) > 220 && qRed(pixel) < 35;
}

} // namespace

TEST(GradientTest, ZeroDegreesRunsFromLeftToRight) {
    const QImage image = drawn(kRedToBlue, 0);
    EXPECT_TRUE(isRed(image.pixel(0, 0)) && isRed(image.pixel(0, 19)));
    EXPECT_TRUE(isBlue(image.pixel(39, 0)) && isBlue(image.pixel(39, 19)));
}

TEST(GradientTest, NinetyDegreesRunsTowardsLargerY) {
    const QImage image = drawn(kRedToBlue, 90);
    EXPECT_TRUE(isRed(image.pixel(0, 0)) && isRed(image.pixel(39, 0)));
    EXPECT_TRUE(isBlue(image.pixel(0, 19)) && isBlue(image.pixel(39, 19)));
}

TEST(GradientTest, AnObliqueAngleEndsOnTheCorners) {
    const QImage image = drawn(kRedToBlue, 45);
    EXPECT_TRUE(isRed(image.pixel(0, 0)));
    EXPECT_TRUE(isBlue(image.pixel(39, 19)));
    EXPECT_FALSE(isRed(image.pixel(39, 0)) || isBlue(image.pixel(39, 0)));
    const QLinearGradient line = kRedToBlue.toQLinearGradient({0, 0, 10, 10}, 45);
    EXPECT_NEAR(line.start().x(), 0, 1e-9);
    EXPECT_NEAR(line.finalStop().y(), 10, 1e-9);
}

TEST(GradientTest, TwoStopsAtOneLocationMakeAHardStep) {
    const Colour black = Colour::black();
    const Colour grey = Colour::deviceGrey(0.4, 1);
    const Colour white = Colour::white();
    const Gradient gradient({{black, 0}, {grey, 0.5}, {white, 0.5}, {white, 1}});
    const QImage image = offscreen::picture(
        {1, 100}, 1, [&](QPainter& painter) { gradient.drawInRect(painter, QRectF(0, 0, 1, 100), 90); });
    EXPECT_LT(qRed(image.pixel(0, 1)), 10);
    EXPECT_NEAR(qRed(image.pixel(0, 49)), 101, 3);
    EXPECT_EQ(qRed(image.pixel(0, 50)), 255);
    EXPECT_EQ(qRed(image.pixel(0, 98)), 255);
}

TEST(GradientTest, APathCutsTheGradientThatSpansItsBounds) {
    QPainterPath path;
    path.addEllipse(QRectF(10, 0, 20, 20));
    const QImage image =
        offscreen::picture({40, 20}, 1, [&](QPainter& painter) { kRedToBlue.drawInPath(painter, path, 0); });
    EXPECT_EQ(qAlpha(image.pixel(5, 10)), 0);
    EXPECT_EQ(qAlpha(image.pixel(11, 1)), 0) << "outside the circle, inside its bounds";
    EXPECT_TRUE(isRed(image.pixel(11, 10)));
    EXPECT_TRUE(isBlue(image.pixel(28, 10)));
}
