#include "TextCellDelegate.h"

#include "ExpansionFrame.h"
#include "VTAlternateBlackTableView.h"

#include <QHelpEvent>
#include <QPainter>

TextCellDelegate::TextCellDelegate(VTAlternateBlackTableView* table, WillDisplayCell willDisplayCell)
    : RowCellDelegate(table), table_(table), willDisplayCell_(std::move(willDisplayCell)) {}

void TextCellDelegate::paint(QPainter* painter, const QStyleOptionViewItem& option,
                             const QModelIndex& index) const {
    painter->save();
    cell(option, index).drawInteriorWithFrame(table_->cellFrame(option.rect), *painter);
    painter->restore();
}

bool TextCellDelegate::helpEvent(QHelpEvent* event, QAbstractItemView* view,
                                 const QStyleOptionViewItem& option, const QModelIndex& index) {
    if (event->type() != QEvent::ToolTip || !index.isValid()) {
        return RowCellDelegate::helpEvent(event, view, option, index);
    }
    VTCenteredTextCell shown = cell(option, index);
    const QRectF frame = shown.expansionFrameWithFrame(table_->cellFrame(option.rect));
    if (frame.isEmpty()) {
        table_->expansionFrame().hide();
    } else {
        table_->expansionFrame().showCell(shown, frame, option.rect);
    }
    return true;
}

VTCenteredTextCell TextCellDelegate::cell(const QStyleOptionViewItem& option,
                                          const QModelIndex& index) const {
    VTCenteredTextCell cell;
    cell.setStringValue(index.data(Qt::DisplayRole).toString());
    cell.setTextColor(option.palette.color(QPalette::Text));
    cell.setLayoutDirection(option.direction);
    willDisplayCell_(cell, index);
    return cell;
}
