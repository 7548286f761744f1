#include "CatalogueDelegate.h"

#include "CatalogueModel.h"
#include "DarkPalette.h"
#include "ExpansionFrame.h"
#include "InterfaceFont.h"
#include "VTAlternateBlackTableView.h"

#include <QHelpEvent>
#include <QPainter>

namespace {

// The theme's cell as the controller sees it.
class CellOutlet : public outlet::TextCell {
public:
    explicit CellOutlet(VTCenteredTextCell& cell) : cell_(cell) {}

    void setHasShadow(bool hasShadow) override { cell_.setHasShadow(hasShadow); }
    void setSubtitle(const std::optional<std::string>& subtitle) override {
        cell_.setSubtitle(subtitle ? std::optional(QString::fromStdString(*subtitle)) : std::nullopt);
    }
    void setLineCount(int lineCount) override { cell_.setLineCount(lineCount); }

private:
    VTCenteredTextCell& cell_;
};

QRectF frameOf(const QStyleOptionViewItem& option) {
    const auto* table = qobject_cast<const VTAlternateBlackTableView*>(option.widget);
    return table ? table->cellFrame(option.rect) : QRectF(option.rect);
}

} // namespace

CatalogueDelegate::CatalogueDelegate(std::shared_ptr<const AppController> controller, IconCache& icons,
                                     QObject* parent)
    : QAbstractItemDelegate(parent), controller_(std::move(controller)), icons_(icons) {}

VTCenteredTextCell CatalogueDelegate::textCell(const QModelIndex& index,
                                               const QStyleOptionViewItem& option) const {
    VTCenteredTextCell cell;
    cell.setStringValue(index.data(Qt::DisplayRole).toString());
    cell.setLayoutDirection(option.direction);
    cell.setTextColor(index.column() == CatalogueModel::Title ? DarkPalette::titleColor()
                                                              : DarkPalette::bodyTextColor());
    CellOutlet outlet(cell);
    controller_->willDisplayCell(outlet, CatalogueModel::identifier(index.column()),
                                 static_cast<std::size_t>(index.row()));
    return cell;
}

void CatalogueDelegate::paint(QPainter* painter, const QStyleOptionViewItem& option,
                              const QModelIndex& index) const {
    if (index.column() == CatalogueModel::Icon) {
        paintIcon(*painter, frameOf(option), index);
    } else {
        textCell(index, option).drawInteriorWithFrame(frameOf(option), *painter);
    }
}

void CatalogueDelegate::paintIcon(QPainter& painter, const QRectF& frame, const QModelIndex& index) const {
    const auto* model = qobject_cast<const CatalogueModel*>(index.model());
    auto app = model ? model->app(index.row()) : nullptr;
    if (!app) {
        return;
    }
    // The icon grows with the user's font like everything else in the row.
    const double side = InterfaceFont::pixels(VTLaunchApp::kIconSize);
    const double scale = painter.device()->devicePixelRatioF();
    QRectF place(0, 0, side, side);
    place.moveCenter(frame.center());
    place.moveTopLeft({qRound(place.left() * scale) / scale, qRound(place.top() * scale) / scale});
    painter.setRenderHint(QPainter::SmoothPixmapTransform);
    painter.drawPixmap(place.topLeft(), icons_.pixmap(*app, side, scale));
}

QSize CatalogueDelegate::sizeHint(const QStyleOptionViewItem& option, const QModelIndex&) const {
    return option.rect.size(); // the table sizes its rows and columns itself
}

bool CatalogueDelegate::helpEvent(QHelpEvent* event, QAbstractItemView* view,
                                  const QStyleOptionViewItem& option, const QModelIndex& index) {
    auto* table = qobject_cast<VTAlternateBlackTableView*>(view);
    if (!table || event->type() != QEvent::ToolTip || !index.isValid() ||
        index.column() == CatalogueModel::Icon) {
        return false;
    }
    auto cell = textCell(index, option);
    auto frame = cell.expansionFrameWithFrame(frameOf(option));
    if (frame.isEmpty()) {
        return false;
    }
    table->expansionFrame().showCell(cell, frame, option.rect);
    return true;
}
