#include "CapsuleButton.h"

#include <QLinearGradient>
#include <QPainter>

namespace {

constexpr double kFocusRing = 3; // room around the capsule

} // namespace

CapsuleButton::CapsuleButton(const QString& title, QWidget* parent) : QPushButton(title, parent) {
    setFocusPolicy(Qt::StrongFocus);
}

QSize CapsuleButton::sizeHint() const {
    int ring = static_cast<int>(2 * kFocusRing);
    int height = fontMetrics().height() + 10 + ring;
    return {fontMetrics().horizontalAdvance(text()) + 2 * height / 3 + 20 + ring, height};
}

void CapsuleButton::enterEvent(QEnterEvent* event) {
    QPushButton::enterEvent(event);
    update();
}

void CapsuleButton::leaveEvent(QEvent* event) {
    QPushButton::leaveEvent(event);
    update();
}

void CapsuleButton::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    auto capsule = QRectF(rect()).adjusted(kFocusRing, kFocusRing, -kFocusRing, -kFocusRing);
    double radius = capsule.height() / 2;

    if (hasFocus()) {
        auto ring = capsule.adjusted(-1.5, -1.5, 1.5, 1.5);
        painter.setPen(QPen(QColor(0x5f8fcf), 2));
        painter.setBrush(Qt::NoBrush);
        painter.drawRoundedRect(ring, radius + 1.5, radius + 1.5);
    }

    QLinearGradient fill(capsule.topLeft(), capsule.bottomLeft());
    fill.setColorAt(0, isDown() ? QColor(0x2a2b2e) : underMouse() ? QColor(0x55575c) : QColor(0x47484c));
    fill.setColorAt(1, isDown() ? QColor(0x38393d) : underMouse() ? QColor(0x333539) : QColor(0x26272a));
    auto edge = capsule.adjusted(0.5, 0.5, -0.5, -0.5);
    painter.setPen(QPen(QColor(0xa9abb0), 1));
    painter.setBrush(fill);
    painter.drawRoundedRect(edge, radius - 0.5, radius - 0.5);

    painter.setPen(QColor(0xf2f3f5));
    painter.drawText(capsule, Qt::AlignCenter | Qt::TextShowMnemonic, text());
}
