#include "RowCellDelegate.h"

void RowCellDelegate::initStyleOption(QStyleOptionViewItem* option, const QModelIndex& index) const {
    QStyledItemDelegate::initStyleOption(option, index);
    // An icon keeps its colours in a selected row, too.
    option->state &= ~(QStyle::State_Selected | QStyle::State_HasFocus);
}
