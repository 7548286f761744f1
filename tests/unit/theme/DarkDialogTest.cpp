#include "DarkDialog.h"

#include "DarkAlert.h"
#include "OffscreenApplication.h"
#include "SheetBackdrop.h"

#include <QApplication>
#include <QScreen>
#include <QWindow>
#include <gtest/gtest.h>
#include <memory>
#include <optional>

namespace {

class DarkDialogTest : public testing::Test {
protected:
    DarkDialogTest() {
        window.setGeometry(100, 50, 600, 300);
        window.show();
        sheet = new DarkAlert(QStringLiteral("Warning"), QStringLiteral("Message"),
                              {"Continue", "Cancel", {}, {}});
        QObject::connect(sheet, &QDialog::finished, [this](int value) { result = value; });
    }

    ~DarkDialogTest() override { delete sheet; } // before its window, which would answer it

    void begin() {
        sheet->beginSheet(window);
        offscreen::settle();
    }
    // Centred at the upper edge of the window's contents.
    void expectInPlace() const {
        const QPoint top = window.mapToGlobal(QPoint(window.width() / 2, 0));
        EXPECT_NEAR(sheet->geometry().center().x(), top.x(), 1);
        EXPECT_EQ(sheet->y(), top.y());
    }
    SheetBackdrop* backdrop() const { return window.findChild<SheetBackdrop*>(); }

    QWidget window;
    QPointer<DarkAlert> sheet;
    std::optional<int> result;
};

} // namespace

TEST_F(DarkDialogTest, ASheetIsModalForItsWindow) {
    EXPECT_FALSE(DarkDialog::hasSheet(window));
    begin();
    EXPECT_TRUE(sheet->isVisible());
    EXPECT_EQ(sheet->windowModality(), Qt::WindowModal);
    EXPECT_TRUE(sheet->windowFlags() & Qt::FramelessWindowHint);
    EXPECT_EQ(sheet->windowHandle()->transientParent(), window.windowHandle());
    EXPECT_TRUE(DarkDialog::hasSheet(window));
    EXPECT_FALSE(result);
}

TEST_F(DarkDialogTest, ASheetGoesWhereItsWindowGoes) {
    begin();
    expectInPlace();
    window.move(40, 120);
    offscreen::settle();
    expectInPlace();
    window.resize(700, 350);
    offscreen::settle();
    expectInPlace();
    ASSERT_NE(backdrop(), nullptr);
    EXPECT_EQ(backdrop()->geometry(), window.rect());
    EXPECT_TRUE(backdrop()->testAttribute(Qt::WA_TransparentForMouseEvents));
}

TEST_F(DarkDialogTest, ASheetStaysOnTheScreen) {
    begin();
    const QRect room = window.screen()->availableGeometry();
    for (const QPoint& corner :
         {room.bottomRight() - QPoint(50, 50), QPoint(-500, -200), QPoint(room.right() - 20, -100)}) {
        window.move(corner);
        offscreen::settle();
        EXPECT_TRUE(room.contains(sheet->geometry())) << corner.x() << "," << corner.y();
    }
}

TEST_F(DarkDialogTest, ASheetThatIsDoneLeavesItsWindow) {
    begin();
    bool wasFree = false;
    QObject::connect(sheet, &QDialog::finished, &window, [&] { wasFree = !DarkDialog::hasSheet(window); });
    sheet->done(1);
    EXPECT_TRUE(wasFree);
    EXPECT_EQ(result, 1);
    EXPECT_FALSE(sheet->isVisible());
    EXPECT_EQ(backdrop(), nullptr);
    // And can come back.
    begin();
    EXPECT_TRUE(DarkDialog::hasSheet(window));
    EXPECT_NE(backdrop(), nullptr);
    expectInPlace();
}

TEST_F(DarkDialogTest, AWindowThatClosesAnswersItsSheet) {
    begin();
    window.close();
    EXPECT_EQ(result, DarkAlert::Alternate);
    EXPECT_FALSE(sheet->isVisible());
    EXPECT_FALSE(DarkDialog::hasSheet(window));
}

TEST_F(DarkDialogTest, AProgramThatHidesDoesNot) {
    begin();
    sheet->windowHandle()->setVisible(false);
    window.windowHandle()->setVisible(false);
    offscreen::settle();
    EXPECT_FALSE(result);
    EXPECT_TRUE(DarkDialog::hasSheet(window));
    window.windowHandle()->setVisible(true);
    sheet->windowHandle()->setVisible(true);
    offscreen::settle();
    EXPECT_TRUE(sheet->isVisible());
    expectInPlace();
    sheet->reject();
    EXPECT_EQ(result, DarkAlert::Alternate);
}

TEST_F(DarkDialogTest, ASheetThatIsDeletedLeavesItsWindow) {
    begin();
    delete sheet;
    EXPECT_FALSE(DarkDialog::hasSheet(window));
    EXPECT_EQ(backdrop(), nullptr);
    window.move(0, 0);
    offscreen::settle();
}

TEST(DarkDialogLifeTest, AWindowTakesItsSheetAlong) {
    auto window = std::make_unique<QWidget>();
    window->show();
    const QPointer<DarkAlert> sheet = new DarkAlert(QStringLiteral("Title"), QStringLiteral("Message"));
    sheet->beginSheet(*window);
    window.reset();
    EXPECT_TRUE(sheet.isNull());
}

TEST_F(DarkDialogTest, ASheetDarkensItsWindowAndHasRoundCorners) {
    window.setStyleSheet(QStringLiteral("background: #808080"));
    begin();
    const QImage behind = window.grab().toImage();
    EXPECT_LT(qGray(behind.pixel(5, 200)), 0x60);
    EXPECT_LT(qGray(behind.pixel(window.width() / 2, sheet->height() + 3)), qGray(behind.pixel(5, 200)))
        << "the shadow";
    const QImage image = sheet->grab().toImage();
    EXPECT_EQ(qAlpha(image.pixel(0, image.height() - 1)), 0);
    EXPECT_EQ(qAlpha(image.pixel(0, image.height() / 2)), 255);
    EXPECT_EQ(image.pixelColor(image.width() / 2, image.height() - 3).lightness(),
              QColor("#1a1b1d").lightness());
}
