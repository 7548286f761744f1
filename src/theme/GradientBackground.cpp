#include "GradientBackground.h"

#include "DarkPalette.h"

#include <QPainter>

GradientBackground::GradientBackground(Surface surface, QWidget* parent)
    : QWidget(parent), surface_(surface) {}

void GradientBackground::setSurface(Surface surface) {
    surface_ = surface;
    update();
}

void GradientBackground::setSeparators(Qt::Edges edges) {
    separators_ = edges;
    update();
}

void GradientBackground::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    switch (surface_) {
    case Surface::Window:
        DarkPalette::windowGradient().drawInRect(painter, rect(), 90);
        break;
    case Surface::Well:
        painter.fillRect(rect(), QColor(0, 0, 0, 0x66));
        break;
    case Surface::Bar:
        painter.fillRect(rect(), QColor(0x20, 0x21, 0x24));
        break;
    case Surface::Clear:
        break;
    }
    const QColor line = DarkPalette::separatorColor();
    if (separators_ & Qt::TopEdge) {
        painter.fillRect(0, 0, width(), 1, line);
    }
    if (separators_ & Qt::BottomEdge) {
        painter.fillRect(0, height() - 1, width(), 1, line);
    }
    if (separators_ & Qt::LeftEdge) {
        painter.fillRect(0, 0, 1, height(), line);
    }
    if (separators_ & Qt::RightEdge) {
        painter.fillRect(width() - 1, 0, 1, height(), line);
    }
}
