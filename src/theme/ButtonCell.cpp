#include "ButtonCell.h"

#include "InterfaceFont.h"

#include <QFontMetricsF>
#include <QPainter>
#include <algorithm>
#include <cmath>

namespace {

// In points. The room above and below is what the bezel takes from the frame, in logical pixels.
struct Measures {
    double height;
    double fontSize;
    double sideGap; // between the ends of the bezel and the title
    double roomAboveAndBelow;
};

Measures measuresOf(ButtonCell::ControlSize size) {
    switch (size) {
    case ButtonCell::ControlSize::Small:
        return {19, 10.5, 16, 5};
    case ButtonCell::ControlSize::Mini:
        return {18, 9, 13, 7};
    case ButtonCell::ControlSize::Large:
        return {28, 14, 22, 2};
    case ButtonCell::ControlSize::Regular:
        break;
    }
    return {22, 12, 19, 5};
}

constexpr double kBezelInset = 1.5; // on either side
constexpr double kImageInset = 5;   // of an image at the side, from the end of the frame
constexpr double kImageGap = 4;     // between such an image and the title

// A line feed would begin a line that has no room.
QString onOneLine(QString text) {
    return text.replace(QLatin1Char('\n'), QLatin1Char(' '));
}

double widthOf(const ButtonCell::AttributedTitle& title) {
    return QFontMetricsF(title.font).size(Qt::TextSingleLine | title.mnemonic, onOneLine(title.text)).width();
}

} // namespace

QFont ButtonCell::titleFont(ControlSize size) {
    return InterfaceFont::regular(measuresOf(size).fontSize);
}

QSizeF ButtonCell::cellSize() const {
    const Measures measures = measuresOf(controlSize);
    const double line = std::ceil(QFontMetricsF(attributedTitle.font).height());
    const double height =
        std::max(std::round(InterfaceFont::pixels(measures.height)), line + measures.roomAboveAndBelow);

    const double titleWidth = widthOf(attributedTitle);
    const double imageWidth = image.deviceIndependentSize().width();
    double content = std::max(titleWidth, imageWidth);
    switch (imagePosition) {
    case ImagePosition::NoImage:
        content = titleWidth;
        break;
    case ImagePosition::ImageOnly:
        content = imageWidth;
        break;
    case ImagePosition::Left:
    case ImagePosition::Right:
        // The title stays in the middle, so the other side has as much room.
        content = titleWidth + 2 * (imageWidth + kImageGap);
        break;
    case ImagePosition::Below:
    case ImagePosition::Above:
    case ImagePosition::Overlaps:
        break;
    }
    return {std::ceil(content + 2 * InterfaceFont::pixels(measures.sideGap)) + 2 * kBezelInset, height};
}

QRectF ButtonCell::drawTitle(const AttributedTitle& title, const QRectF& frame, QPainter& painter) const {
    painter.save();
    painter.setFont(title.font);
    painter.setPen(title.foregroundColor);
    const QString text =
        QFontMetricsF(title.font)
            .elidedText(onOneLine(title.text), Qt::ElideRight, frame.width(), title.mnemonic);
    const Qt::Alignment alignment = title.alignment | Qt::AlignVCenter;
    QRectF covered;
    painter.drawText(frame,
                     static_cast<int>(alignment) | Qt::TextSingleLine | Qt::TextDontClip | title.mnemonic,
                     text, &covered);
    painter.restore();
    return covered;
}

void ButtonCell::drawImage(const QPixmap& picture, const QRectF& frame, QPainter& painter) const {
    if (picture.isNull() || frame.isEmpty()) {
        return;
    }
    QSizeF size = picture.deviceIndependentSize();
    if (size.width() > frame.width() || size.height() > frame.height()) {
        size.scale(frame.size(), Qt::KeepAspectRatio);
    }
    QRectF place(QPointF(), size);
    place.moveCenter(frame.center());
    switch (imagePosition) {
    case ImagePosition::Left:
        place.moveLeft(frame.left() + kImageInset);
        break;
    case ImagePosition::Right:
        place.moveRight(frame.right() - kImageInset);
        break;
    case ImagePosition::Below:
        place.moveBottom(frame.bottom());
        break;
    case ImagePosition::Above:
        place.moveTop(frame.top());
        break;
    case ImagePosition::NoImage:
    case ImagePosition::ImageOnly:
    case ImagePosition::Overlaps:
        break;
    }
    painter.save();
    painter.setRenderHint(QPainter::SmoothPixmapTransform);
    painter.drawPixmap(place, picture, picture.rect());
    painter.restore();
}
