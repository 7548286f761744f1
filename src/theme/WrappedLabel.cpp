#include "WrappedLabel.h"

#include "TextBlock.h"

#include <QPainter>
#include <cmath>

WrappedLabel::WrappedLabel(QWidget* parent) : QLabel(parent) {
    setTextFormat(Qt::PlainText);
    setWordWrap(true);
    QSizePolicy policy(QSizePolicy::Preferred, QSizePolicy::Preferred);
    policy.setHeightForWidth(true);
    setSizePolicy(policy);
}

TextBlock WrappedLabel::block(double width) const {
    Qt::Alignment side = text().isRightToLeft() ? Qt::AlignRight : Qt::AlignLeft;
    if (alignment() & Qt::AlignHCenter) {
        side = Qt::AlignHCenter;
    }
    return {text(), font(), {.width = width}, side};
}

QSize WrappedLabel::sizeHint() const {
    const TextBlock all(text(), font(), {});
    return {static_cast<int>(std::ceil(all.bounds().width())), static_cast<int>(std::ceil(all.height()))};
}

QSize WrappedLabel::minimumSizeHint() const {
    constexpr int kFewestCharacters = 8;
    return {kFewestCharacters * fontMetrics().averageCharWidth(), fontMetrics().lineSpacing()};
}

int WrappedLabel::heightForWidth(int width) const {
    return static_cast<int>(std::ceil(block(width).height()));
}

void WrappedLabel::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setPen(palette().color(QPalette::WindowText));
    block(width()).draw(painter, {});
}
