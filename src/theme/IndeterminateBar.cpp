#include "IndeterminateBar.h"

#include "Gradient.h"
#include "InterfaceFont.h"

#include <QPainter>
#include <QPainterPath>
#include <QTimerEvent>
#include <cmath>
#include <numbers>

using theme::Colour;
using theme::Gradient;

// In points.
static constexpr double kHeight = 10;
static constexpr double kWidth = 120;

static constexpr double kLightLength = 0.34; // of the groove
static constexpr double kPeriod = 2400;      // milliseconds for there and back
static constexpr int kFrame = 33;            // milliseconds

IndeterminateBar::IndeterminateBar(QWidget* parent) : QProgressBar(parent) {
    setRange(0, 0); // of unknown length, to whoever has it read out
    setTextVisible(false);
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
}

void IndeterminateBar::start() {
    animating_ = true;
    clock_.start();
    if (isVisible()) {
        timer_.start(kFrame, this);
    }
    update();
}

void IndeterminateBar::stop() {
    animating_ = false;
    timer_.stop();
    update();
}

QSize IndeterminateBar::sizeHint() const {
    return {qRound(InterfaceFont::pixels(kWidth)), qRound(InterfaceFont::pixels(kHeight))};
}

void IndeterminateBar::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const auto capsule = [](const QRectF& frame) {
        QPainterPath path;
        path.addRoundedRect(frame, frame.height() / 2, frame.height() / 2);
        return path;
    };
    // The groove, with light on the edge below it.
    const QRectF groove = QRectF(rect()).adjusted(0, 0, 0, -1);
    painter.fillPath(capsule(groove.translated(0, 1)), QColor(255, 255, 255, 0x1a));
    painter.fillPath(capsule(groove), QColor(0x0d, 0x0d, 0x0e));
    Gradient(Colour::deviceHex(0x1b1c1e), Colour::deviceHex(0x2c2d31))
        .drawInPath(painter, capsule(groove.adjusted(1, 1, -1, -1)), 90);
    if (!animating_) {
        return;
    }

    const QRectF track = groove.adjusted(1, 1, -1, -1);
    const double length = track.width() * kLightLength;
    const double phase = static_cast<double>(clock_.elapsed()) / kPeriod * 2 * std::numbers::pi;
    const double place = (1 - std::cos(phase)) / 2; // slow at both ends
    const bool fromRight = isRightToLeft();
    const QRectF light(track.left() + (track.width() - length) * (fromRight ? 1 - place : place), track.top(),
                       length, track.height());
    Gradient(Colour::deviceHex(0x9bbbe4), Colour::deviceHex(0x557fb4))
        .drawInPath(painter, capsule(light), 90);
}

void IndeterminateBar::timerEvent(QTimerEvent* event) {
    if (event->timerId() != timer_.timerId()) {
        return QProgressBar::timerEvent(event);
    }
    update();
}

void IndeterminateBar::showEvent(QShowEvent* event) {
    if (animating_) {
        timer_.start(kFrame, this);
    }
    QProgressBar::showEvent(event);
}

void IndeterminateBar::hideEvent(QHideEvent* event) {
    timer_.stop();
    QProgressBar::hideEvent(event);
}
