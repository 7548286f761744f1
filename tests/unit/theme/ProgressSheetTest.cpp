#include "ProgressSheet.h"

#include "DarkButton.h"
#include "IndeterminateBar.h"
#include "OffscreenApplication.h"

#include <QAccessible>
#include <QApplication>
#include <QKeyEvent>
#include <QTest>
#include <gtest/gtest.h>

namespace {

class ProgressSheetTest : public testing::Test {
protected:
    ProgressSheetTest() {
        window.resize(600, 300);
        window.show();
        sheet = new ProgressSheet(QStringLiteral("Purgel is repairing…"), &window);
        QObject::connect(sheet, &ProgressSheet::cancelled, [this] { ++cancelled; });
    }

    void begin() {
        sheet->beginSheet(window);
        offscreen::settle();
    }
    void press(Qt::Key key) {
        QKeyEvent event(QEvent::KeyPress, key, Qt::NoModifier);
        QApplication::sendEvent(sheet->focusWidget() ? sheet->focusWidget() : sheet, &event);
    }
    DarkButton& button() { return *sheet->findChild<DarkButton*>(); }

    int cancelled = 0;
    QWidget window;
    ProgressSheet* sheet;
};

} // namespace

TEST_F(ProgressSheetTest, SaysWhatIsUnderWay) {
    begin();
    EXPECT_TRUE(DarkDialog::hasSheet(window));
    auto* accessible = QAccessible::queryAccessibleInterface(sheet);
    EXPECT_EQ(accessible->text(QAccessible::Name), "Purgel is repairing…");
    auto* bar = QAccessible::queryAccessibleInterface(&sheet->bar());
    EXPECT_EQ(bar->role(), QAccessible::ProgressBar);
    EXPECT_EQ(bar->text(QAccessible::Name), "Purgel is repairing…");
    EXPECT_EQ(QAccessible::queryAccessibleInterface(&button())->text(QAccessible::Name), "Cancel");
}

TEST_F(ProgressSheetTest, ItsButtonAsksOnceAndItStays) {
    begin();
    button().click();
    EXPECT_EQ(cancelled, 1);
    EXPECT_TRUE(sheet->isVisible());
    EXPECT_FALSE(button().isEnabled());
    press(Qt::Key_Escape);
    sheet->close();
    EXPECT_EQ(cancelled, 1);
    EXPECT_TRUE(sheet->isVisible());
    sheet->done(QDialog::Accepted);
    EXPECT_FALSE(sheet->isVisible());
}

TEST_F(ProgressSheetTest, EscapeAsksAsWell) {
    begin();
    press(Qt::Key_Escape);
    EXPECT_EQ(cancelled, 1);
    EXPECT_TRUE(sheet->isVisible());
}

TEST_F(ProgressSheetTest, ReturnPressesItsButtonOnceTheFocusIsThere) {
    begin();
    EXPECT_TRUE(sheet->hasFocus());
    press(Qt::Key_Return);
    press(Qt::Key_Enter);
    press(Qt::Key_Space);
    EXPECT_EQ(cancelled, 0) << "it was meant for what was shown before";
    press(Qt::Key_Tab);
    EXPECT_TRUE(button().hasFocus());
    press(Qt::Key_Return);
    EXPECT_EQ(cancelled, 1);
}

TEST_F(ProgressSheetTest, ItsWindowsEndIsNoWishToCancel) {
    begin();
    window.close();
    EXPECT_FALSE(sheet->isVisible());
    EXPECT_EQ(cancelled, 0);
}

TEST_F(ProgressSheetTest, EndingWhatHasNotBegunDoesNothing) {
    sheet->done(QDialog::Accepted);
    EXPECT_FALSE(sheet->isVisible());
    EXPECT_FALSE(DarkDialog::hasSheet(window));
}

TEST(IndeterminateBarTest, MovesOnlyWhileItIsStartedAndSeen) {
    IndeterminateBar bar;
    bar.resize(200, bar.sizeHint().height());
    EXPECT_FALSE(bar.isAnimating());
    bar.start();
    EXPECT_TRUE(bar.isAnimating());
    EXPECT_FALSE(bar.isTicking());
    bar.show();
    EXPECT_TRUE(bar.isTicking());
    bar.hide();
    EXPECT_FALSE(bar.isTicking());
    bar.show();
    bar.stop();
    EXPECT_FALSE(bar.isTicking());
    EXPECT_FALSE(bar.isAnimating());
}

TEST(IndeterminateBarTest, ALightMovesInTheGroove) {
    IndeterminateBar bar;
    bar.resize(200, bar.sizeHint().height());
    const auto lights = [&bar] {
        const QImage image = offscreen::picture(bar, Qt::black);
        int count = 0;
        for (int x = 0; x < image.width(); ++x)
            count += image.pixelColor(x, image.height() / 2).lightness() > 0x60 ? 1 : 0;
        return count;
    };
    EXPECT_EQ(lights(), 0);
    bar.show();
    bar.start();
    EXPECT_GT(lights(), 50);
    EXPECT_LT(lights(), 90);
    const QImage first = offscreen::picture(bar, Qt::black);
    EXPECT_TRUE(QTest::qWaitFor([&] { return offscreen::picture(bar, Qt::black) != first; }, 30'000));
}
