#include "DarkCheckBox.h"

#include "DarkPalette.h"
#include "Gradient.h"
#include "InterfaceFont.h"

#include <QPainter>
#include <QPainterPath>
#include <QStyleOptionButton>

using theme::Colour;
using theme::Gradient;

// In points.
static constexpr double kSide = 13;
static constexpr double kCornerRadius = 3;

void DarkCheckBox::paintEvent(QPaintEvent*) {
    QStyleOptionButton option;
    initStyleOption(&option);
    const QRectF place = style()->subElementRect(QStyle::SE_CheckBoxIndicator, &option, this);
    const double side = qRound(InterfaceFont::pixels(kSide));
    QRectF box(0, 0, side, side);
    box.moveCenter(place.center());
    box.moveTopLeft(QPointF(box.topLeft().toPoint()) + QPointF(0.5, 0.5)); // whole pixels for its line

    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const double radius = InterfaceFont::pixels(kCornerRadius);
    QPainterPath outline;
    outline.addRoundedRect(box, radius, radius);
    const bool down = option.state & QStyle::State_Sunken;
    Gradient(Colour::deviceHex(down ? 0x55585f : 0x3a3c41), Colour::deviceHex(down ? 0x45484e : 0x232427))
        .drawInPath(painter, outline, 90);
    if (hasFocus()) {
        painter.setPen(QPen(DarkPalette::focusColor(), 2));
    } else {
        painter.setPen(QPen(DarkPalette::secondaryTextColor(), 1));
    }
    painter.drawPath(outline);
    if (isChecked()) {
        QPainterPath mark;
        mark.moveTo(box.left() + side * 0.24, box.top() + side * 0.53);
        mark.lineTo(box.left() + side * 0.43, box.top() + side * 0.72);
        mark.lineTo(box.left() + side * 0.77, box.top() + side * 0.28);
        painter.setPen(QPen(Qt::white, side * 0.14, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
        painter.drawPath(mark);
    }
    const QRect words = style()->subElementRect(QStyle::SE_CheckBoxContents, &option, this);
    painter.setPen(DarkPalette::bodyTextColor());
    painter.drawText(words, Qt::AlignVCenter | Qt::AlignLeading | Qt::TextShowMnemonic, text());
}
