#include "DarkButton.h"

#include <QKeyEvent>
#include <QMargins>
#include <QPainter>
#include <QPainterPath>
#include <QStyle>

namespace {

// A default button is lit while it waits and dark while it is pressed.
class DefaultButtonCell : public VTBlackButtonCell {
public:
    theme::Gradient normalGradient() const override { return VTBlackButtonCell::pushedGradient(); }
    theme::Gradient pushedGradient() const override { return VTBlackButtonCell::normalGradient(); }
};

// What the control has around the cell's frame, so that there are four pixels on every side of the
// capsule's line, where the focus ring fades.
QMargins margins(ButtonCell::ControlSize size) {
    return size == ButtonCell::ControlSize::Mini ? QMargins(3, 3, 3, 1) : QMargins(3, 4, 3, 2);
}

} // namespace

DarkButton::DarkButton(QWidget* parent) : DarkButton(QString(), parent) {}

DarkButton::DarkButton(const QString& title, QWidget* parent) : QPushButton(title, parent) {
    setFocusPolicy(Qt::StrongFocus);
}

void DarkButton::setPlainText(const QString& title) {
    setText(QString(title).replace(QLatin1Char('&'), QLatin1String("&&")));
}

void DarkButton::setControlSize(ControlSize size) {
    controlSize_ = size;
    updateGeometry();
    update();
}

QSize DarkButton::sizeHint() const {
    VTBlackButtonCell cell;
    configure(cell);
    return cell.cellSize().toSize().grownBy(margins(controlSize_));
}

void DarkButton::configure(VTBlackButtonCell& cell) const {
    cell.isEnabled = isEnabled();
    cell.controlSize = controlSize_;
    if (isCheckable()) {
        cell.showsStateBy = cell.highlightsBy = ButtonCell::kChangeGrey | ButtonCell::kChangeBackground;
        // While pressed it shows what letting go makes of it.
        cell.state = isChecked() != isDown() ? 1 : 0;
    } else {
        cell.isHighlighted = isDown();
    }
    const bool underlined = style()->styleHint(QStyle::SH_UnderlineShortcut, nullptr, this) != 0;
    cell.attributedTitle = {.text = text(),
                            .font = ButtonCell::titleFont(controlSize_),
                            .mnemonic = underlined ? Qt::TextShowMnemonic : Qt::TextHideMnemonic};
    if (icon().isNull()) {
        return;
    }
    const QIcon::Mode mode = isEnabled() ? QIcon::Normal : QIcon::Disabled;
    cell.image = icon().pixmap(iconSize(), devicePixelRatioF(), mode, isChecked() ? QIcon::On : QIcon::Off);
    if (text().isEmpty()) {
        cell.imagePosition = ButtonCell::ImagePosition::ImageOnly;
    } else {
        cell.imagePosition =
            isRightToLeft() ? ButtonCell::ImagePosition::Right : ButtonCell::ImagePosition::Left;
    }
}

void DarkButton::drawFocusRing(const VTBlackButtonCell& cell, const QRectF& frame, QPainter& painter) const {
    const QPainterPath capsule = cell.capsule(frame);
    QPainterPath outside;
    outside.addRect(rect());
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setClipPath(outside.subtracted(capsule)); // the face is translucent
    const QPen edge(Qt::black, 3);
    cell.focusRing().draw(painter, rect(), [&](QPainter& caster) {
        caster.fillPath(capsule, Qt::black);
        caster.strokePath(capsule, edge);
    });
    painter.restore();
}

void DarkButton::paintEvent(QPaintEvent*) {
    DefaultButtonCell defaultCell;
    VTBlackButtonCell plainCell;
    VTBlackButtonCell& cell = isDefault() && !isCheckable() ? defaultCell : plainCell;
    configure(cell);
    QRectF frame = rect().marginsRemoved(margins(controlSize_));
    frame.setHeight(cell.cellSize().height());

    QPainter painter(this);
    if (hasFocus()) {
        drawFocusRing(cell, frame, painter);
    }
    cell.drawWithFrame(frame, painter);
}

void DarkButton::keyPressEvent(QKeyEvent* event) {
    if (event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter) {
        click();
    } else {
        QPushButton::keyPressEvent(event);
    }
}
