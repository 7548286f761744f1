#include "ShortcutTextCell.h"

#include "DarkPalette.h"
#include "InterfaceFont.h"

#include <QPainter>

void ShortcutTextCell::paint(QPainter* painter, const QStyleOptionViewItem& option,
                             const QModelIndex& index) const {
    const QRect room = textRect(option);
    const QFont font = InterfaceFont::regular();
    const QString text = QFontMetrics(font).elidedText(index.data().toString(), Qt::ElideRight, room.width());
    const bool isEnabled = option.state.testFlag(QStyle::State_Enabled);
    painter->save();
    painter->setFont(font);
    painter->setPen(isEnabled ? DarkPalette::bodyTextColor() : DarkPalette::secondaryTextColor());
    painter->drawText(room, Qt::AlignVCenter | Qt::AlignLeading | Qt::TextSingleLine, text);
    painter->restore();
}

QRect ShortcutTextCell::textRect(const QStyleOptionViewItem& option) const {
    const int margin = qRound(InterfaceFont::pixels(8));
    return option.rect.adjusted(margin, 0, -margin, 0);
}
