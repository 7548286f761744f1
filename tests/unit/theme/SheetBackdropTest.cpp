#include "SheetBackdrop.h"

#include "OffscreenApplication.h"

#include <gtest/gtest.h>

namespace {

// What is seen of a white window with a sheet in the middle, but for the sheet.
QImage backdropOf(bool isPlaceKnown) {
    QWidget window;
    window.setGeometry(100, 50, 300, 200);
    window.show();
    QWidget sheet(&window, Qt::Dialog | Qt::FramelessWindowHint);
    sheet.setGeometry(200, 100, 100, 100);
    SheetBackdrop backdrop(window, sheet, isPlaceKnown);
    return offscreen::picture(backdrop, Qt::white);
}

} // namespace

TEST(SheetBackdropTest, DarkensTheWindowAndMoreSoAroundTheSheet) {
    const QImage image = backdropOf(true);
    const int far = image.pixelColor(5, 100).lightness();
    EXPECT_LT(far, 0xff);
    EXPECT_LT(image.pixelColor(97, 100).lightness(), far);
}

TEST(SheetBackdropTest, HasNoShadowWhereNobodyKnowsTheSheetsPlace) {
    const QImage image = backdropOf(false);
    EXPECT_LT(image.pixelColor(5, 100).lightness(), 0xff);
    EXPECT_EQ(image.pixelColor(97, 100), image.pixelColor(5, 100));
    EXPECT_EQ(image.pixelColor(150, 100), image.pixelColor(5, 100));
}
