#include "DarkButton.h"

#include "InterfaceFont.h"
#include "OffscreenApplication.h"

#include <QAccessible>
#include <QDialog>
#include <QLineEdit>
#include <QSignalSpy>
#include <QTest>
#include <QVBoxLayout>
#include <QWindow>
#include <gtest/gtest.h>

namespace {

using ControlSize = ButtonCell::ControlSize;

const QColor kBackground(0x22, 0x23, 0x25);

// The cell that a plain regular button is expected to draw with.
VTBlackButtonCell cellFor(const QString& title) {
    VTBlackButtonCell cell;
    cell.attributedTitle = {
        .text = title, .font = ButtonCell::titleFont(ControlSize::Regular), .mnemonic = Qt::TextShowMnemonic};
    return cell;
}

// The cell in the middle of the room for the focus ring.
QImage cellPicture(const VTBlackButtonCell& cell, const QSize& size, const QPoint& place = {3, 4}) {
    return offscreen::picture(size, 1, [&](QPainter& painter) {
        painter.fillRect(QRect(QPoint(), size), kBackground);
        cell.drawWithFrame(QRectF(place, QSizeF(size.width() - 6, 1)), painter);
    });
}

QImage pictureOf(DarkButton& button) {
    return offscreen::picture(button, kBackground);
}

// For a press that is animated; the tests' time limit ends one that never comes.
void waitFor(const QSignalSpy& clicks) {
    while (clicks.isEmpty())
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    EXPECT_EQ(clicks.count(), 1);
}

} // namespace

class DarkButtonTest : public testing::Test {
public:
    DarkButtonTest() {
        button.resize(button.sizeHint());
        window.resize(300, 100);
        window.show();
        window.activateWindow();
        offscreen::settle();
        button.clearFocus();
    }

    QWidget window;
    DarkButton button{QStringLiteral("&Continue"), &window};
};

TEST_F(DarkButtonTest, IsTheCellWithRoomForTheFocusRing) {
    const VTBlackButtonCell cell = cellFor("&Continue");
    EXPECT_EQ(button.sizeHint(), cell.cellSize().toSize() + QSize(6, 6));
    EXPECT_EQ(button.sizeHint().height(), 28);
    EXPECT_EQ(pictureOf(button), cellPicture(cell, button.size()));
}

TEST_F(DarkButtonTest, ShowsItsState) {
    VTBlackButtonCell cell = cellFor("&Continue");
    button.setDown(true);
    cell.isHighlighted = true;
    EXPECT_EQ(pictureOf(button), cellPicture(cell, button.size()));
    button.setDown(false);
    button.setEnabled(false);
    cell.isHighlighted = false;
    cell.isEnabled = false;
    EXPECT_EQ(pictureOf(button), cellPicture(cell, button.size()));
}

TEST_F(DarkButtonTest, ACheckableOneShowsWhetherItIsOn) {
    VTBlackButtonCell cell = cellFor("&Continue");
    cell.showsStateBy = cell.highlightsBy = 12;
    button.setCheckable(true);
    const QImage off = cellPicture(cell, button.size());
    cell.state = 1;
    const QImage on = cellPicture(cell, button.size());
    ASSERT_NE(on, off);
    EXPECT_EQ(pictureOf(button), off);
    button.setDown(true);
    EXPECT_EQ(pictureOf(button), on) << "as it will be";
    button.setDown(false);
    button.setChecked(true);
    EXPECT_EQ(pictureOf(button), on);
    button.setDown(true);
    EXPECT_EQ(pictureOf(button), off);
}

TEST_F(DarkButtonTest, ADefaultOneIsLitUntilPressed) {
    VTBlackButtonCell cell = cellFor("&Continue");
    const QImage dark = cellPicture(cell, button.size());
    cell.isHighlighted = true;
    const QImage lit = cellPicture(cell, button.size());
    button.setDefault(true);
    EXPECT_EQ(pictureOf(button), lit);
    button.setDown(true);
    EXPECT_EQ(pictureOf(button), dark);
    button.setDown(false);
    button.setEnabled(false);
    cell.isEnabled = false;
    EXPECT_EQ(pictureOf(button), cellPicture(cell, button.size()));
}

TEST_F(DarkButtonTest, HoveringChangesNothing) {
    const QImage before = pictureOf(button);
    QTest::mouseMove(&button);
    QEnterEvent enter({5, 5}, {5, 5}, {5, 5});
    QCoreApplication::sendEvent(&button, &enter);
    EXPECT_EQ(pictureOf(button), before);
}

TEST_F(DarkButtonTest, TheFocusRingIsAroundTheCapsule) {
    for (const ControlSize size : {ControlSize::Regular, ControlSize::Small, ControlSize::Mini}) {
        button.setControlSize(size);
        button.resize(button.sizeHint());
        button.clearFocus();
        const QImage without = pictureOf(button);
        button.setFocus();
        ASSERT_TRUE(button.hasFocus());
        const QImage with = pictureOf(button);
        const int width = with.width();
        const int height = with.height();
        const int background = qGray(kBackground.rgb());
        // Next to the capsule's line on every side, and gone at the edges of the control.
        for (const QPoint point : {QPoint(width / 2, 3), QPoint(width / 2, height - 4), QPoint(3, height / 2),
                                   QPoint(width - 4, height / 2)})
            EXPECT_GT(qGray(with.pixel(point)), background + 90) << point.x() << ", " << point.y();
        for (int x = 0; x < width; ++x) {
            EXPECT_LT(qGray(with.pixel(x, 0)), background + 15) << x;
            EXPECT_LT(qGray(with.pixel(x, height - 1)), background + 15) << x;
        }
        // The inside is as it was.
        const QRect inside(20, 5, width - 40, height - 10);
        EXPECT_EQ(with.copy(inside), without.copy(inside));
        EXPECT_EQ(with.pixel(6, height / 2), without.pixel(6, height / 2));
        button.clearFocus();
        EXPECT_EQ(pictureOf(button), without);
    }
}

TEST_F(DarkButtonTest, TheKeyboardPressesIt) {
    QSignalSpy clicks(&button, &QPushButton::clicked);
    button.setFocus();
    QTest::keyPress(&button, Qt::Key_Space);
    EXPECT_TRUE(button.isDown());
    EXPECT_EQ(clicks.count(), 0);
    QTest::keyRelease(&button, Qt::Key_Space);
    EXPECT_EQ(clicks.count(), 1);
    QTest::keyClick(&button, Qt::Key_Return);
    EXPECT_EQ(clicks.count(), 2);
    QTest::keyClick(&button, Qt::Key_Enter);
    EXPECT_EQ(clicks.count(), 3);
    button.setEnabled(false);
    QTest::keyClick(&button, Qt::Key_Return);
    EXPECT_EQ(clicks.count(), 3);
}

TEST_F(DarkButtonTest, ItsMnemonicPressesIt) {
    QSignalSpy clicks(&button, &QPushButton::clicked);
    QTest::keyClick(window.windowHandle(), Qt::Key_C, Qt::AltModifier);
    EXPECT_TRUE(button.isDown());
    waitFor(clicks);
}

TEST_F(DarkButtonTest, ReturnPressesTheDefaultOneFromElsewhereInADialog) {
    QDialog dialog;
    QLineEdit field(&dialog);
    DarkButton cancel("Cancel", &dialog);
    DarkButton proceed("Continue", &dialog);
    proceed.setDefault(true);
    QSignalSpy cancelled(&cancel, &QPushButton::clicked);
    QSignalSpy proceeded(&proceed, &QPushButton::clicked);
    dialog.show();
    dialog.activateWindow();
    offscreen::settle();
    field.setFocus();
    QTest::keyClick(&field, Qt::Key_Return);
    EXPECT_EQ(proceeded.count(), 1);
    cancel.setFocus();
    QTest::keyClick(&cancel, Qt::Key_Return);
    EXPECT_EQ(cancelled.count(), 1);
    EXPECT_EQ(proceeded.count(), 1);
}

TEST_F(DarkButtonTest, TheMousePressesIt) {
    QSignalSpy clicks(&button, &QPushButton::clicked);
    QTest::mousePress(&button, Qt::LeftButton);
    EXPECT_TRUE(button.isDown());
    QTest::mouseRelease(&button, Qt::LeftButton);
    EXPECT_EQ(clicks.count(), 1);
}

TEST_F(DarkButtonTest, ATitleFromDataIsPlainText) {
    button.setPlainText("Trash && <b>repair</b> & go");
    EXPECT_EQ(button.text(), "Trash &&&& <b>repair</b> && go");
    EXPECT_TRUE(button.shortcut().isEmpty());
    button.resize(button.sizeHint());
    VTBlackButtonCell cell = cellFor("Trash && <b>repair</b> & go");
    cell.attributedTitle.mnemonic = 0;
    EXPECT_EQ(pictureOf(button), cellPicture(cell, button.size()));
}

TEST_F(DarkButtonTest, CutsATitleThatIsTooWide) {
    button.resize(60, button.height());
    EXPECT_EQ(pictureOf(button), cellPicture(cellFor("&Continue"), button.size()));
    button.resize(4, 4);
    EXPECT_EQ(pictureOf(button).size(), QSize(4, 4));
}

TEST_F(DarkButtonTest, StaysAtTheTopOfARoomThatIsTooHigh) {
    button.resize(button.width(), 60);
    EXPECT_EQ(pictureOf(button), cellPicture(cellFor("&Continue"), button.size()));
    QWidget other;
    auto* layout = new QVBoxLayout(&other);
    auto* inLayout = new DarkButton("In a layout");
    layout->addWidget(inLayout);
    other.resize(300, 300);
    layout->activate();
    EXPECT_EQ(inLayout->height(), inLayout->sizeHint().height());
}

TEST_F(DarkButtonTest, TheThreeSizes) {
    const QSize regular = button.sizeHint();
    button.setControlSize(ControlSize::Small);
    const QSize small = button.sizeHint();
    button.setControlSize(ControlSize::Mini);
    const QSize mini = button.sizeHint();
    EXPECT_EQ(button.controlSize(), ControlSize::Mini);
    EXPECT_GT(regular.width(), small.width());
    EXPECT_GT(small.width(), mini.width());
    // Of their heights four above and below the capsule are room.
    EXPECT_EQ(regular.height() - 8, 20);
    EXPECT_EQ(small.height() - 8, 18);
    EXPECT_EQ(mini.height() - 8, 16);
}

TEST_F(DarkButtonTest, FollowsTheUsersFont) {
    QWidget other;
    auto* layout = new QVBoxLayout(&other);
    auto* inLayout = new DarkButton("In a layout");
    layout->addWidget(inLayout, 0, Qt::AlignLeft | Qt::AlignTop);
    other.resize(400, 300);
    other.show();
    layout->activate();
    EXPECT_EQ(inLayout->height(), 28);
    const offscreen::ScopedFontSize scope(24);
    layout->activate();
    EXPECT_EQ(inLayout->height(), 50);
    EXPECT_EQ(inLayout->size(), inLayout->sizeHint());
}

TEST_F(DarkButtonTest, TheIconIsAtTheSideThatReadingBeginsAt) {
    QPixmap red(16, 16);
    red.fill(Qt::red);
    button.setIcon(red);
    button.setIconSize({12, 12});
    button.resize(button.sizeHint());
    auto redAt = [&](int x) { return pictureOf(button).pixelColor(x, 14) == QColor(Qt::red); };
    const int atStart = 3 + 2 + 5 + 6; // the middle of the icon
    EXPECT_TRUE(redAt(atStart));
    EXPECT_FALSE(redAt(button.width() - atStart));
    button.setLayoutDirection(Qt::RightToLeft);
    EXPECT_FALSE(redAt(atStart));
    EXPECT_TRUE(redAt(button.width() - atStart));
    button.setText("");
    button.resize(button.sizeHint());
    EXPECT_TRUE(redAt(button.width() / 2));
}

TEST_F(DarkButtonTest, RightToLeftLooksTheSame) {
    const QImage before = pictureOf(button);
    button.setLayoutDirection(Qt::RightToLeft);
    EXPECT_EQ(pictureOf(button), before);
}

TEST_F(DarkButtonTest, AssistiveTechnologyCanPressIt) {
    QAccessibleInterface* accessible = QAccessible::queryAccessibleInterface(&button);
    ASSERT_NE(accessible, nullptr);
    EXPECT_EQ(accessible->role(), QAccessible::PushButton);
    EXPECT_EQ(accessible->text(QAccessible::Name), "Continue");
    EXPECT_TRUE(accessible->state().focusable);
    QSignalSpy clicks(&button, &QPushButton::clicked);
    ASSERT_NE(accessible->actionInterface(), nullptr);
    accessible->actionInterface()->doAction(QAccessibleActionInterface::pressAction());
    waitFor(clicks);
    button.setCheckable(true);
    button.setChecked(true);
    EXPECT_TRUE(accessible->state().checked);
}
