#include "DescriptionCell.h"

#include "InterfaceFont.h"
#include "ShortcutModel.h"
#include "VTShortcutKeyTableDelegate.h"

#include <QPainter>

namespace {

constexpr double kMargin = 16; // from the edge of the window, in points
constexpr double kImageRoom = 16;
constexpr double kGap = 10;

int pixels(double points) {
    return qRound(InterfaceFont::pixels(points));
}

} // namespace

class DescriptionCell::Image : public outlet::ImageCell {
public:
    void setImage(std::shared_ptr<const platform::Icon> image, double points) override {
        icon = std::move(image);
        side = points;
    }

    std::shared_ptr<const platform::Icon> icon;
    double side = 0;
};

DescriptionCell::DescriptionCell(const VTShortcutKeyTableDelegate& controller, QObject* parent)
    : ShortcutTextCell(parent), controller_(controller) {}

void DescriptionCell::paint(QPainter* painter, const QStyleOptionViewItem& option,
                            const QModelIndex& index) const {
    Image image;
    controller_.willDisplayCell(image, ShortcutModel::identifier(index.column()));
    if (image.icon) {
        const double scale = painter->device()->devicePixelRatioF();
        const int side = qRound(InterfaceFont::pixels(image.side) * scale);
        if (image_.width() != side) {
            const auto bitmap = image.icon->render(side);
            const QImage picture(reinterpret_cast<const uchar*>(bitmap.pixels.data()), bitmap.width,
                                 bitmap.height, QImage::Format_ARGB32_Premultiplied);
            image_ = QPixmap::fromImage(picture.copy());
        }
        image_.setDevicePixelRatio(scale);
        const double logicalSide = side / scale;
        const double top = option.rect.top() + (option.rect.height() - logicalSide) / 2;
        painter->save();
        painter->setOpacity(option.state.testFlag(QStyle::State_Enabled) ? 1 : 0.5);
        painter->drawPixmap(QPointF(option.rect.left() + pixels(kMargin), qRound(top * scale) / scale),
                            image_);
        painter->restore();
    }
    ShortcutTextCell::paint(painter, option, index);
}

QRect DescriptionCell::textRect(const QStyleOptionViewItem& option) const {
    return option.rect.adjusted(pixels(kMargin) + pixels(kImageRoom) + pixels(kGap), 0, -pixels(kGap), 0);
}
