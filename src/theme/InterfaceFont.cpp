#include "InterfaceFont.h"

#include <QApplication>
#include <QScreen>
#include <algorithm>

static double pixelSize(const QFont& font) {
    if (font.pixelSize() > 0) {
        return font.pixelSize();
    }
    constexpr double kPointsPerInch = 72;
    const QScreen* screen = QGuiApplication::primaryScreen();
    return font.pointSizeF() * (screen ? screen->logicalDotsPerInchY() : 96) / kPointsPerInch;
}

double InterfaceFont::pixels(double points) {
    return points * pixelSize(QApplication::font()) / kDefaultSize;
}

QFont InterfaceFont::regular(double points) {
    QFont font = QApplication::font();
    const double factor = points / kDefaultSize;
    if (font.pixelSize() > 0) {
        font.setPixelSize(std::max(1, qRound(font.pixelSize() * factor)));
    } else {
        font.setPointSizeF(font.pointSizeF() * factor);
    }
    return font;
}

QFont InterfaceFont::bold(double points) {
    QFont font = regular(points);
    font.setBold(true);
    return font;
}
