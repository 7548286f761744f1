// Draws every dark control in every state on one sheet, for people to look at: above at one pixel per
// logical pixel, below at two.

#include "DarkButton.h"
#include "DarkPalette.h"
#include "InterfaceFont.h"
#include "OffscreenApplication.h"
#include "VTBlackScroller.h"

#include <QCoreApplication>
#include <QMouseEvent>
#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace {

using ControlSize = ButtonCell::ControlSize;
using Part = VTBlackScroller::Part;

constexpr QSize kSheet(860, 470);
constexpr int kMargin = 20;
constexpr int kHeadingHeight = 20;

void draw(QWidget& control, const QPoint& place, QPainter& painter) {
    painter.save();
    painter.translate(place);
    control.render(&painter, {}, {}, QWidget::DrawChildren);
    painter.restore();
}

void drawHeading(const QString& text, const QPoint& place, QPainter& painter) {
    painter.setFont(InterfaceFont::regular(10));
    painter.setPen(DarkPalette::secondaryTextColor());
    painter.drawText(QRect(place, QSize(200, kHeadingHeight)), Qt::AlignLeft | Qt::AlignVCenter, text);
}

struct ButtonState {
    const char* name;
    void (*enter)(DarkButton& button);
};

constexpr ButtonState kButtonStates[] = {
    {"Normal", [](DarkButton&) {}},
    {"Pressed", [](DarkButton& button) { button.setDown(true); }},
    {"Focused", [](DarkButton& button) { button.setFocus(); }},
    {"Default", [](DarkButton& button) { button.setDefault(true); }},
    {"On", [](DarkButton& button) { button.setCheckable(true), button.setChecked(true); }},
    {"Off", [](DarkButton& button) { button.setCheckable(true); }},
    {"Disabled", [](DarkButton& button) { button.setEnabled(false); }},
    {"Too narrow", [](DarkButton& button) { button.setPlainText("Trash & repair"); }},
};

void drawButtons(QPainter& painter) {
    constexpr int kColumn = 100;
    constexpr int kRow = 36;
    int x = kMargin;
    for (const ButtonState& state : kButtonStates) {
        drawHeading(state.name, {x, kMargin}, painter);
        int y = kMargin + kHeadingHeight + 4;
        for (const ControlSize size : {ControlSize::Regular, ControlSize::Small, ControlSize::Mini}) {
            QWidget window;
            DarkButton button(QStringLiteral("&Continue"), &window);
            button.setControlSize(size);
            const QSize room = button.sizeHint();
            window.show();
            window.activateWindow();
            offscreen::settle();
            button.clearFocus();
            state.enter(button);
            button.resize(room);
            draw(button, {x, y}, painter);
            y += kRow;
        }
        x += kColumn;
    }
}

struct ScrollerState {
    const char* name;
    const char* arrowPosition;
    Part pressed;
    int length;
};

constexpr ScrollerState kScrollerStates[] = {
    {"Together", "DoubleMax", Part::None, 150},
    {"Decrement", "DoubleMax", Part::DecrementLine, 150},
    {"Increment", "DoubleMax", Part::IncrementLine, 150},
    {"Arrows only", "DoubleMax", Part::None, 60},
    {"Nothing", "DoubleMax", Part::None, 30},
    {"Single", "Single", Part::None, 150},
    {"Decrement", "Single", Part::DecrementLine, 150},
    {"Increment", "Single", Part::IncrementLine, 150},
    {"Arrows only", "Single", Part::None, 60},
};

void drawScroller(const ScrollerState& state, Qt::Orientation orientation, const QPoint& place,
                  QPainter& painter) {
    VTBlackScroller::setArrowPositionSource([&] { return std::string(state.arrowPosition); });
    VTBlackScroller scroller(orientation);
    scroller.setRange(0, 100);
    scroller.setPageStep(60);
    const int thickness = scroller.sizeHint().width();
    scroller.resize(QSize(thickness, state.length));
    if (orientation == Qt::Horizontal) {
        scroller.resize(state.length, scroller.sizeHint().height());
        scroller.setValue(40);
    }
    if (state.pressed != Part::None) {
        const QPoint point = scroller.rectForPart(state.pressed).center();
        QMouseEvent press(QEvent::MouseButtonPress, point, scroller.mapToGlobal(point), Qt::LeftButton,
                          Qt::LeftButton, Qt::NoModifier);
        QCoreApplication::sendEvent(&scroller, &press);
    }
    draw(scroller, place, painter);
}

void drawScrollers(QPainter& painter) {
    constexpr int kTop = 170;
    constexpr int kColumn = 64;
    int x = kMargin;
    for (const ScrollerState& state : kScrollerStates) {
        drawHeading(state.name, {x, kTop}, painter);
        drawScroller(state, Qt::Vertical, {x + 16, kTop + kHeadingHeight + 4}, painter);
        x += kColumn;
    }
    int y = kTop + kHeadingHeight + 4;
    for (const ScrollerState& state : kScrollerStates) {
        drawHeading(state.name, {x, y - 3}, painter);
        drawScroller(state, Qt::Horizontal, {x + 64, y}, painter);
        y += 28;
    }
    VTBlackScroller::setArrowPositionSource({});
}

} // namespace

TEST(ControlsSheetTest, ShowsEveryControlInEveryState) {
    constexpr int kLargest = 2;
    QImage image(kSheet.width() * kLargest, kSheet.height() * (1 + kLargest), QImage::Format_RGB32);
    image.fill(QColor(0x1a, 0x1b, 0x1d));
    QPainter painter(&image);
    for (const int scale : {1, kLargest}) {
        painter.resetTransform();
        painter.translate(0, scale == 1 ? 0 : kSheet.height());
        painter.scale(scale, scale);
        DarkPalette::windowGradient().drawInRect(painter, QRect(QPoint(), kSheet), 90);
        drawButtons(painter);
        drawScrollers(painter);
    }
    painter.end();
    const QString path = QStringLiteral(VT_CONTROLS_SHEET);
    ASSERT_TRUE(image.save(path));

    const QImage written(path);
    EXPECT_EQ(written.size(), image.size());
    EXPECT_EQ(written.convertToFormat(image.format()), image);
    EXPECT_GT(qGray(image.pixel(kMargin + 40, kMargin + kHeadingHeight + 4 + 4)), 150) << "a capsule's line";
}
