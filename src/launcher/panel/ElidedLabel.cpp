#include "ElidedLabel.h"

#include <QHelpEvent>
#include <QPainter>
#include <QToolTip>

ElidedLabel::ElidedLabel(QWidget* parent) : QLabel(parent) {
    setTextFormat(Qt::PlainText);
}

QSize ElidedLabel::minimumSizeHint() const {
    return {fontMetrics().horizontalAdvance(QStringLiteral("…")), QLabel::minimumSizeHint().height()};
}

QString ElidedLabel::shownText() const {
    return fontMetrics().elidedText(text(), Qt::ElideMiddle, contentsRect().width());
}

void ElidedLabel::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setPen(palette().color(QPalette::WindowText));
    painter.drawText(contentsRect(), static_cast<int>(alignment()) | Qt::TextSingleLine, shownText());
}

bool ElidedLabel::event(QEvent* event) {
    if (event->type() != QEvent::ToolTip) {
        return QLabel::event(event);
    }
    // Escaped: a path that looks like markup stays a path.
    QToolTip::showText(
        static_cast<QHelpEvent*>(event)->globalPos(),
        shownText() == text()
            ? QString()
            : QStringLiteral("<span style=\"white-space:pre\">%1</span>").arg(text().toHtmlEscaped()),
        this);
    return true;
}
