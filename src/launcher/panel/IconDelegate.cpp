#include "IconDelegate.h"

#include "CatalogueModel.h"
#include "InterfaceFont.h"
#include "VTAlternateBlackTableView.h"

#include <QPainter>

IconDelegate::IconDelegate(VTAlternateBlackTableView* table, IconCache& icons)
    : RowCellDelegate(table), table_(table), icons_(icons) {}

void IconDelegate::paint(QPainter* painter, const QStyleOptionViewItem& option,
                         const QModelIndex& index) const {
    const auto* model = qobject_cast<const CatalogueModel*>(index.model());
    auto app = model ? model->app(index.row()) : nullptr;
    if (!app) {
        return;
    }
    // The icon grows with the user's font like everything else in the row, and lies on whole pixels.
    const double side = InterfaceFont::pixels(VTLaunchApp::kIconSize);
    const double scale = painter->device()->devicePixelRatioF();
    const QPointF corner = table_->cellFrame(option.rect).center() - QPointF(side, side) / 2;
    const QPointF onPixels(qRound(corner.x() * scale) / scale, qRound(corner.y() * scale) / scale);
    painter->drawPixmap(onPixels, icons_.pixmap(*app, side, scale));
}
