#include "DarkStyle.h"

#include "DarkPalette.h"

#include <QPainter>
#include <QPainterPath>

namespace {

QIcon extensionIcon() {
    constexpr int kSide = 16;
    QPixmap pixmap(kSide, kSide);
    pixmap.fill(Qt::transparent);
    QPainterPath chevrons;
    for (double x : {4.0, 8.0}) {
        chevrons.moveTo(x, 4);
        chevrons.lineTo(x + 4, 8);
        chevrons.lineTo(x, 12);
    }
    QPainter painter(&pixmap);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(QPen(DarkPalette::bodyTextColor(), 1.5));
    painter.drawPath(chevrons);
    return pixmap;
}

} // namespace

DarkStyle::DarkStyle() : QProxyStyle(QStringLiteral("Fusion")) {}

QIcon DarkStyle::standardIcon(StandardPixmap icon, const QStyleOption* option, const QWidget* widget) const {
    return icon == SP_ToolBarHorizontalExtensionButton ? extensionIcon()
                                                       : QProxyStyle::standardIcon(icon, option, widget);
}
