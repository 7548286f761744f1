#pragma once

#include "RowCellDelegate.h"
#include "VTCenteredTextCell.h"

#include <functional>

class VTAlternateBlackTableView;

// Draws a column of the dark table with VTCenteredTextCell and shows the expansion frame of a text that
// is cut off while the mouse rests on it. There are no other tool tips.
class TextCellDelegate : public RowCellDelegate {
    Q_OBJECT

public:
    // Sets the cell up for the row of `index` (shadow, subtitle, number of lines, font, colour). Called
    // each time before the cell is drawn or asked for its frame; its text is the index's display role by
    // then, in the interface font and the table's text colour.
    using WillDisplayCell = std::function<void(VTCenteredTextCell& cell, const QModelIndex& index)>;

    // The table owns the delegate and must be the view it is set on.
    TextCellDelegate(VTAlternateBlackTableView* table, WillDisplayCell willDisplayCell);

    void paint(QPainter* painter, const QStyleOptionViewItem& option,
               const QModelIndex& index) const override;
    bool helpEvent(QHelpEvent* event, QAbstractItemView* view, const QStyleOptionViewItem& option,
                   const QModelIndex& index) override;

private:
    VTCenteredTextCell cell(const QStyleOptionViewItem& option, const QModelIndex& index) const;

    VTAlternateBlackTableView* table_;
    WillDisplayCell willDisplayCell_;
};
