#include "VTBlackButtonCell.h"

#include <QPainter>
#include <QPainterPath>

namespace {

constexpr double kLineWidth = 1;

QPen linePen(const theme::Colour& colour) {
    return {colour.toQColor(), kLineWidth, Qt::SolidLine, Qt::FlatCap, Qt::MiterJoin};
}

} // namespace

QRectF VTBlackButtonCell::insetFrame(const QRectF& frame) const {
    const double x = frame.x() + 1.5;
    const double width = frame.width() - 3;
    switch (controlSize) {
    case ControlSize::Regular:
    case ControlSize::Small:
        return {x, frame.y(), width, frame.height() - 3};
    case ControlSize::Mini:
        return {x, frame.y() + 1, width, frame.height() - 5};
    case ControlSize::Large:
        break;
    }
    return {x, frame.y(), width, frame.height()};
}

QPainterPath VTBlackButtonCell::capsule(const QRectF& frame) const {
    // Half a point lower than the inset frame, so that the lines fall on the middles of pixels.
    const QRectF inset = insetFrame(frame).translated(0, 0.5);
    const double diameter = inset.height();
    const QRectF left(inset.left(), inset.top(), diameter, diameter);
    const QRectF right(inset.right() - diameter, inset.top(), diameter, diameter);
    QPainterPath path;
    path.arcMoveTo(left, 90);
    path.arcTo(left, 90, 180);
    path.arcTo(right, 270, 180);
    path.closeSubpath();
    return path;
}

theme::Gradient VTBlackButtonCell::faceGradient() const {
    if (!isEnabled) {
        return disabledNormalGradient();
    }
    constexpr unsigned kByColour = kChangeGrey | kChangeBackground;
    const bool showsWhetherItIsOn =
        showsStateBy == kByColour && (highlightsBy == kByColour || highlightsBy == (kByColour | kPushIn));
    if (showsWhetherItIsOn) {
        return state == 1 ? highlightGradient() : normalGradient();
    }
    return isHighlighted ? pushedGradient() : normalGradient();
}

void VTBlackButtonCell::drawWithFrame(const QRectF& frame, QPainter& painter) const {
    drawRoundRectButtonInFrame({frame.x(), frame.y(), frame.width(), cellSize().height()}, painter);
}

void VTBlackButtonCell::drawRoundRectButtonInFrame(const QRectF& frame, QPainter& painter) const {
    const QRectF inset = insetFrame(frame);
    const QPainterPath path = capsule(frame);

    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    const QPen outerLine = linePen(darkStrokeColor());
    if (isEnabled) {
        const QRectF bounds = path.boundingRect().adjusted(-kLineWidth, -kLineWidth, kLineWidth, kLineWidth);
        dropShadow().draw(painter, bounds, [&](QPainter& caster) { caster.strokePath(path, outerLine); });
    }
    painter.strokePath(path, outerLine);
    faceGradient().drawInPath(painter, path, 90);
    painter.strokePath(path, linePen(strokeColor()));
    painter.restore();

    if (imagePosition != ImagePosition::ImageOnly) {
        drawTitle(attributedTitle, inset.translated(0, 1), painter);
    }
    if (imagePosition != ImagePosition::NoImage) {
        drawImage(image, inset, painter);
    }
}

QRectF VTBlackButtonCell::drawTitle(const AttributedTitle& title, const QRectF& frame,
                                    QPainter& painter) const {
    const QRectF textFrame(frame.x() + 5, frame.y(), frame.width() - 10, frame.height() - 2);
    AttributedTitle shown = title;
    if (showsStateBy == 0 && highlightsBy == kContents && isHighlighted && attributedAlternateTitle) {
        shown = *attributedAlternateTitle;
    }
    if (showsStateBy == kContents && highlightsBy == (kContents | kPushIn) && state == 1 &&
        attributedAlternateTitle) {
        shown = *attributedAlternateTitle;
    }
    if (!shown.text.isEmpty()) {
        shown.foregroundColor = (isEnabled ? textColor() : disabledTextColor()).toQColor();
        ButtonCell::drawTitle(shown, textFrame, painter);
    }
    return textFrame;
}
