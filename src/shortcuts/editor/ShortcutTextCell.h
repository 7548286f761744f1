#pragma once

#include "RowCellDelegate.h"

// Draws one line of text in a cell of the shortcut table, with an ellipsis where it is too long.
class ShortcutTextCell : public RowCellDelegate {
    Q_OBJECT

public:
    using RowCellDelegate::RowCellDelegate;

    void paint(QPainter* painter, const QStyleOptionViewItem& option,
               const QModelIndex& index) const override;

protected:
    // Where the text goes.
    virtual QRect textRect(const QStyleOptionViewItem& option) const;
};
