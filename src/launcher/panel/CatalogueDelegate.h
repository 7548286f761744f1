#pragma once

#include "AppController.h"
#include "IconCache.h"
#include "VTCenteredTextCell.h"

#include <QAbstractItemDelegate>

// Draws the catalogue's cells as the controller wants them displayed, and shows cut-off texts whole.
// For a VTAlternateBlackTableView over a CatalogueModel.
class CatalogueDelegate : public QAbstractItemDelegate {
    Q_OBJECT

public:
    CatalogueDelegate(std::shared_ptr<const AppController> controller, IconCache& icons, QObject* parent);

    void paint(QPainter* painter, const QStyleOptionViewItem& option,
               const QModelIndex& index) const override;
    QSize sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const override;
    bool helpEvent(QHelpEvent* event, QAbstractItemView* view, const QStyleOptionViewItem& option,
                   const QModelIndex& index) override;

private:
    VTCenteredTextCell textCell(const QModelIndex& index, const QStyleOptionViewItem& option) const;
    void paintIcon(QPainter& painter, const QRectF& frame, const QModelIndex& index) const;

    std::shared_ptr<const AppController> controller_;
    IconCache& icons_;
};
