#include "SheetBackdrop.h"

#include "InterfaceFont.h"

#include <QPainter>

// In points.
static constexpr double kCornerRadius = 8;
static constexpr int kShadowReach = 18;
static constexpr int kShadowDrop = 6;

SheetBackdrop::SheetBackdrop(QWidget& window, const QWidget& sheet, bool isPlaceKnown)
    : QWidget(&window), sheet_(sheet), isPlaceKnown_(isPlaceKnown) {
    setAttribute(Qt::WA_TransparentForMouseEvents);
    follow();
    show();
    raise();
}

void SheetBackdrop::follow() {
    resize(parentWidget()->size());
    update();
}

QPainterPath SheetBackdrop::outline(const QRectF& frame) {
    const double radius = InterfaceFont::pixels(kCornerRadius);
    QPainterPath path;
    path.addRoundedRect(frame, radius, radius);
    return path;
}

void SheetBackdrop::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.fillRect(rect(), QColor(0, 0, 0, 0x66));
    if (!isPlaceKnown_) {
        return;
    }
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    // Layer upon layer, so that it fades outwards.
    painter.setBrush(QColor(0, 0, 0, 0x0a));
    const int reach = qRound(InterfaceFont::pixels(kShadowReach));
    QRectF frame(mapFromGlobal(sheet_.pos()), sheet_.size());
    frame.translate(0, InterfaceFont::pixels(kShadowDrop));
    for (int distance = 0; distance < reach; ++distance) {
        const double radius = InterfaceFont::pixels(kCornerRadius) + distance;
        painter.drawRoundedRect(frame.adjusted(-distance, -distance, distance, distance), radius, radius);
    }
}
