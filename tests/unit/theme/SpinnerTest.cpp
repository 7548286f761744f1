#include "Spinner.h"

#include "OffscreenApplication.h"

#include <QCoreApplication>
#include <QEventLoop>
#include <gtest/gtest.h>

TEST(SpinnerTest, IsHiddenUntilItSpins) {
    QWidget window;
    Spinner spinner(&window);
    window.show();
    EXPECT_FALSE(spinner.isVisible());
    EXPECT_FALSE(spinner.isSpinning());
    EXPECT_FALSE(spinner.isTicking());
    spinner.start();
    EXPECT_TRUE(spinner.isVisible());
    EXPECT_TRUE(spinner.isSpinning());
    EXPECT_TRUE(spinner.isTicking());
    spinner.start();
    spinner.stop();
    EXPECT_FALSE(spinner.isVisible());
    EXPECT_FALSE(spinner.isTicking());
}

TEST(SpinnerTest, DoesNotTickWhileItsWindowIsHidden) {
    QWidget window;
    Spinner spinner(&window);
    spinner.start();
    EXPECT_FALSE(spinner.isTicking());
    window.show();
    EXPECT_TRUE(spinner.isTicking());
    window.hide();
    EXPECT_FALSE(spinner.isTicking());
    EXPECT_TRUE(spinner.isSpinning());
    window.show();
    EXPECT_TRUE(spinner.isTicking());
}

TEST(SpinnerTest, Turns) {
    QWidget window;
    Spinner spinner(&window);
    spinner.resize(spinner.sizeHint());
    window.show();
    spinner.start();
    const QImage before = spinner.grab().toImage();
    int spread = 0;
    for (int y = 0; y < before.height(); ++y)
        for (int x = 0; x < before.width(); ++x)
            spread = std::max(spread, before.pixelColor(x, y).lightness());
    EXPECT_GT(spread, 150) << "the brightest spoke";
    QImage after = before;
    while (after == before) { // the tests' time limit ends a wheel that does not turn
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
        after = spinner.grab().toImage();
    }
    EXPECT_NE(after, before);
}

TEST(SpinnerTest, KeepsItsPlaceAndHasAName) {
    Spinner spinner;
    EXPECT_EQ(spinner.accessibleName(), "Scanning");
    EXPECT_TRUE(spinner.sizePolicy().retainSizeWhenHidden());
    EXPECT_EQ(spinner.sizeHint(), QSize(16, 16));
    const offscreen::ScopedFontSize size(24);
    EXPECT_EQ(spinner.sizeHint(), QSize(32, 32));
}
