#pragma once

#include "IconCache.h"
#include "RowCellDelegate.h"

class VTAlternateBlackTableView;

// Draws the icon column of a catalogue: each tool's icon in the middle of its cell.
class IconDelegate : public RowCellDelegate {
    Q_OBJECT

public:
    // The table owns the delegate and shows a CatalogueModel.
    IconDelegate(VTAlternateBlackTableView* table, IconCache& icons);

    void paint(QPainter* painter, const QStyleOptionViewItem& option,
               const QModelIndex& index) const override;

private:
    VTAlternateBlackTableView* table_;
    IconCache& icons_;
};
