#pragma once

#include <QStyledItemDelegate>

// Paints a cell of the dark table without a selection or focus of its own: the table marks whole rows.
class RowCellDelegate : public QStyledItemDelegate {
    Q_OBJECT

public:
    using QStyledItemDelegate::QStyledItemDelegate;

protected:
    void initStyleOption(QStyleOptionViewItem* option, const QModelIndex& index) const override;
};
