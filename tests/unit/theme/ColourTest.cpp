#include "Colour.h"

#include <gtest/gtest.h>

using theme::Colour;

TEST(ColourTest, HueWithoutSaturationIsGrey) {
    const Colour colour = Colour::calibratedHSB(0.314, 0, 0.3, 0.25);
    EXPECT_EQ(colour, Colour::calibratedRGB(0.3, 0.3, 0.3, 0.25));
}

TEST(ColourTest, HueAndSaturation) {
    EXPECT_EQ(Colour::calibratedHSB(0, 1, 1, 1), Colour::calibratedRGB(1, 0, 0, 1));
    const Colour green = Colour::calibratedHSB(1.0 / 3, 0.5, 0.8, 1);
    EXPECT_NEAR(green.red, 0.4, 1e-12);
    EXPECT_NEAR(green.green, 0.8, 1e-12);
    EXPECT_NEAR(green.blue, 0.4, 1e-12);
    const Colour blue = Colour::calibratedHSB(2.0 / 3, 1, 1, 1);
    EXPECT_NEAR(blue.blue, 1, 1e-12);
    EXPECT_NEAR(blue.red + blue.green, 0, 1e-12);
}

TEST(ColourTest, KindIsPartOfTheValue) {
    EXPECT_NE(Colour::deviceGrey(1, 1), Colour::white());
    EXPECT_NE(Colour::calibratedRGB(0, 0, 0, 1), Colour::calibratedWhite(0, 1));
    EXPECT_EQ(Colour::grey().name, "grayColor");
}

TEST(ColourTest, ConvertsToTheToolkitsColour) {
    EXPECT_EQ(Colour::deviceHex(0x3d5a80).toQColor().rgba(), 0xff3d5a80);
    EXPECT_EQ(Colour::deviceRGB(1, 0.5, 0, 0.2f).toQColor().rgba(), qRgba(255, 128, 0, 51));
    EXPECT_EQ(Colour::darkGrey().toQColor().rgba(), qRgba(85, 85, 85, 255));
}
