#include "InterfaceFont.h"

#include "OffscreenApplication.h"

#include <QApplication>
#include <gtest/gtest.h>

TEST(InterfaceFontTest, APointIsAPixelOfATwelvePixelFont) {
    EXPECT_EQ(InterfaceFont::pixels(68), 68);
    EXPECT_EQ(InterfaceFont::regular(), QApplication::font());
    EXPECT_EQ(InterfaceFont::bold(InterfaceFont::kTitleSize).pixelSize(), 16);
    EXPECT_TRUE(InterfaceFont::bold(InterfaceFont::kTitleSize).bold());
    EXPECT_FALSE(InterfaceFont::regular(InterfaceFont::kSecondarySize).bold());
}

TEST(InterfaceFontTest, FollowsTheUsersFont) {
    const offscreen::ScopedFontSize size(18);
    EXPECT_EQ(InterfaceFont::pixels(68), 102);
    EXPECT_EQ(InterfaceFont::bold(InterfaceFont::kTitleSize).pixelSize(), 24);
}

TEST(InterfaceFontTest, AFontGivenInPointsKeepsFractions) {
    const offscreen::ScopedFontSize restored(12);
    QFont font = QApplication::font();
    font.setPointSizeF(9);
    QApplication::setFont(font);
    EXPECT_DOUBLE_EQ(InterfaceFont::pixels(1), 1) << "9 points are 12 pixels at 96 dots per inch";
    EXPECT_DOUBLE_EQ(InterfaceFont::bold(16).pointSizeF(), 12);
    EXPECT_DOUBLE_EQ(InterfaceFont::regular(11.5).pointSizeF(), 8.625);
}
