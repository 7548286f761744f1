#pragma once

#include "ShortcutTextCell.h"

#include <QPixmap>

class VTShortcutKeyTableDelegate;

// The cells of commands: an image that the controller chooses, and the text beside it.
class DescriptionCell : public ShortcutTextCell {
    Q_OBJECT

public:
    // The controller must outlive the delegate.
    DescriptionCell(const VTShortcutKeyTableDelegate& controller, QObject* parent);

    void paint(QPainter* painter, const QStyleOptionViewItem& option,
               const QModelIndex& index) const override;

protected:
    QRect textRect(const QStyleOptionViewItem& option) const override;

private:
    class Image;

    const VTShortcutKeyTableDelegate& controller_;
    mutable QPixmap image_; // as rendered last; all rows have the same
};
