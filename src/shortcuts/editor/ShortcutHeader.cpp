#include "ShortcutHeader.h"

#include "DarkPalette.h"
#include "InterfaceFont.h"

#include <QPaintEvent>
#include <QPainter>

namespace {

constexpr double kHeight = 24;
constexpr double kFirstMargin = 16; // of the first title; as in the rows
constexpr double kIndent = 8;

const QColor kBand(0x22, 0x23, 0x26);

} // namespace

ShortcutHeader::ShortcutHeader(QWidget* parent) : QHeaderView(Qt::Horizontal, parent) {
    setSectionsClickable(false);
    setHighlightSections(false);
    setFocusPolicy(Qt::NoFocus);
}

QSize ShortcutHeader::sizeHint() const {
    return {QHeaderView::sizeHint().width(), qRound(InterfaceFont::pixels(kHeight))};
}

void ShortcutHeader::paintSection(QPainter* painter, const QRect& rectangle, int section) const {
    painter->fillRect(rectangle, kBand);
    painter->setFont(InterfaceFont::regular(InterfaceFont::kSecondarySize));
    painter->setPen(DarkPalette::secondaryTextColor());
    const int indent = qRound(InterfaceFont::pixels(section == 0 ? kFirstMargin : kIndent));
    painter->drawText(rectangle.adjusted(indent, 0, 0, 0), Qt::AlignVCenter | Qt::AlignLeading,
                      model()->headerData(section, Qt::Horizontal, Qt::DisplayRole).toString());
}

void ShortcutHeader::paintEvent(QPaintEvent* event) {
    QPainter(viewport()).fillRect(event->rect(), kBand); // also where there is no column
    QHeaderView::paintEvent(event);
}
