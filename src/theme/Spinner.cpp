#include "Spinner.h"

#include "DarkPalette.h"
#include "InterfaceFont.h"

#include <QEvent>
#include <QPainter>
#include <QTimerEvent>

static constexpr int kSpokes = 12;
static constexpr int kStepMilliseconds = 80; // just under a second for a turn

Spinner::Spinner(QWidget* parent) : QWidget(parent) {
    setAccessibleName(tr("Scanning"));
    QSizePolicy policy(QSizePolicy::Fixed, QSizePolicy::Fixed);
    policy.setRetainSizeWhenHidden(true);
    setSizePolicy(policy);
    hide();
}

void Spinner::start() {
    spinning_ = true;
    show();
}

void Spinner::stop() {
    spinning_ = false;
    hide();
}

QSize Spinner::sizeHint() const {
    const int side = qRound(InterfaceFont::pixels(16));
    return {side, side};
}

void Spinner::paintEvent(QPaintEvent*) {
    if (!spinning_) {
        return;
    }
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.translate(width() / 2.0, height() / 2.0);
    const double radius = std::min(width(), height()) / 2.0;
    painter.rotate(step_ * 360.0 / kSpokes);
    QColor colour = DarkPalette::bodyTextColor();
    // From the brightest spoke backwards, each a little fainter.
    for (int spoke = 0; spoke < kSpokes; ++spoke) {
        colour.setAlphaF(1 - 0.85f * static_cast<float>(spoke) / (kSpokes - 1));
        painter.setPen(QPen(colour, radius * 0.19, Qt::SolidLine, Qt::RoundCap));
        painter.drawLine(QPointF(0, -radius * 0.5), QPointF(0, -radius * 0.88));
        painter.rotate(-360.0 / kSpokes);
    }
}

void Spinner::timerEvent(QTimerEvent* event) {
    if (event->timerId() != timer_.timerId()) {
        return QWidget::timerEvent(event);
    }
    step_ = (step_ + 1) % kSpokes;
    update();
}

void Spinner::showEvent(QShowEvent* event) {
    if (spinning_) {
        timer_.start(kStepMilliseconds, this);
    }
    QWidget::showEvent(event);
}

void Spinner::hideEvent(QHideEvent* event) {
    timer_.stop();
    QWidget::hideEvent(event);
}

void Spinner::changeEvent(QEvent* event) {
    if (event->type() == QEvent::FontChange) {
        updateGeometry();
    }
    QWidget::changeEvent(event);
}
