#include "VTBlackScroller.h"

#include "InterfaceFont.h"

#include <QPainter>
#include <QPen>

using theme::Colour;
using theme::Gradient;

namespace {

// Two half-circles and the edges between them, for a rectangle that is taller than wide. The middle line
// lies a quarter point before the middle of the rectangle.
QPainterPath knobPath(const QRectF& rectangle, double radius) {
    const double middle = rectangle.x() + rectangle.width() / 2 - 0.25;
    const QRectF top(middle - radius, rectangle.top(), 2 * radius, 2 * radius);
    const QRectF bottom(middle - radius, rectangle.bottom() - 2 * radius, 2 * radius, 2 * radius);
    QPainterPath path;
    path.arcMoveTo(top, 180);
    path.arcTo(top, 180, -180);
    path.arcTo(bottom, 0, -180);
    path.closeSubpath();
    return path;
}

QPainterPath polygon(std::initializer_list<QPointF> points) {
    QPainterPath path;
    path.addPolygon(QPolygonF(points));
    path.closeSubpath();
    return path;
}

} // namespace

void VTBlackScroller::drawRect(QPainter& painter, Part hitPart) {
    if (!painter.isActive()) {
        return;
    }
    readArrowPosition();
    const ScrollerLayout layout = partLayout();
    horizontal_ = layout.isHorizontal();
    usableParts_ = layout.usableParts();

    painter.save();
    if (isMirrored()) {
        painter.translate(horizontal_ ? width() : 0, horizontal_ ? 0 : height());
        painter.scale(horizontal_ ? -1 : 1, horizontal_ ? 1 : -1);
    }
    painter.fillRect(rect(), Colour::calibratedWhite(0, 0.7).toQColor());
    drawKnobSlotInRect(rect(), true, painter);
    if (usableParts_ == UsableParts::All) {
        drawKnob(painter);
    }
    if (usableParts_ != UsableParts::None) {
        drawArrow(0, hitPart == Part::IncrementLine ? 0 : -1, painter);
        drawArrow(1, hitPart == Part::DecrementLine ? 1 : -1, painter);
    }
    painter.restore();
}

void VTBlackScroller::drawKnobSlotInRect(const QRectF& rectangle, bool /*highlight*/,
                                         QPainter& painter) const {
    scrollerTrackGradient().drawInRect(painter, rectangle, acrossAngle());
    if (hasArrowsTogether()) {
        drawCap(rectangle, painter);
    }
}

// The near end of the track, hollowed out for the round end of the knob. The arcs leave out the
// rectangle's origin along the bar, and in a vertical bar also across it: the rectangle is the whole bar,
// whose origin is zero.
void VTBlackScroller::drawCap(const QRectF& rectangle, QPainter& painter) const {
    constexpr double kLength = 8;
    const double x = rectangle.x();
    const double y = rectangle.y();
    const double width = rectangle.width();
    const double height = rectangle.height();
    QPainterPath path;
    if (horizontal_) {
        const QRectF circle(5, y, height, height);
        path.arcMoveTo(circle, 270);
        path.arcTo(circle, 270, -180);
        path.lineTo(x + kLength, y);
        path.lineTo(x, y);
        path.lineTo(x, y + height);
        path.lineTo(x + kLength, y + height);
    } else {
        const QRectF circle(0, kLength - 5, width, width);
        path.arcMoveTo(circle, 180);
        path.arcTo(circle, 180, -180);
        path.lineTo(x + width, y + kLength);
        path.lineTo(x + width, y);
        path.lineTo(x, y);
        path.lineTo(x, y + kLength);
    }
    path.closeSubpath();
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    scrollerArrowNormalGradient().drawInPath(painter, path, 0);
    painter.restore();
}

void VTBlackScroller::drawKnob(QPainter& painter) const {
    const QRectF rectangle = upright(partLayout().rectForPart(Part::Knob));
    const double radius = (rectangle.width() - 2) / 2;
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    painter.fillPath(inView(knobPath(rectangle, radius)), scrollerStroke().toQColor());
    scrollerKnobGradient().drawInPath(painter, inView(knobPath(rectangle.adjusted(1, 1, -1, -1), radius - 1)),
                                      acrossAngle());
    painter.restore();
}

void VTBlackScroller::drawArrow(int arrow, int highlightPart, QPainter& painter) const {
    if (arrow == 0) {
        drawIncrementArrow(highlightPart != -1 && highlightPart != 1, painter);
    } else if (arrow == 1) {
        drawDecrementArrow(highlightPart != -1 && highlightPart != 0, painter);
    }
}

void VTBlackScroller::drawDecrementArrow(bool highlighted, QPainter& painter) const {
    drawArrowButton(Part::DecrementLine, highlighted, painter);
}

void VTBlackScroller::drawIncrementArrow(bool highlighted, QPainter& painter) const {
    drawArrowButton(Part::IncrementLine, highlighted, painter);
}

void VTBlackScroller::drawArrowButton(Part part, bool highlighted, QPainter& painter) const {
    const QRectF button = upright(partLayout().rectForPart(part));
    const bool decrements = part == Part::DecrementLine;
    // The end away from the track is round; the flat one has the separator.
    const bool flatAtTop = !decrements || hasArrowsTogether();
    const double radius = button.width() / 2;

    QPainterPath shape;
    const QRectF circle(button.left(), flatAtTop ? button.bottom() - 2 * radius : button.top(), 2 * radius,
                        2 * radius);
    shape.moveTo(flatAtTop ? button.topLeft() : button.bottomLeft());
    shape.lineTo(flatAtTop ? button.topRight() : button.bottomRight());
    shape.arcTo(circle, 0, flatAtTop ? -180 : 180);
    shape.closeSubpath();
    const Gradient face = highlighted ? scrollerArrowPushedGradient() : scrollerArrowNormalGradient();

    const double along = InterfaceFont::pixels(decrements ? -3 : 3); // to the tip
    const double across = InterfaceFont::pixels(3.5);
    const QPointF centre = button.center();
    const QPainterPath triangle = polygon(
        {centre + QPointF(0, along), centre + QPointF(across, -along), centre + QPointF(-across, -along)});

    // One point wide, its middle half a point inside the edge.
    QPainterPath separator;
    separator.addRect(button.left(), flatAtTop ? button.top() : button.bottom() - 1, button.width(), 1);

    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    face.drawInPath(painter, inView(shape), acrossAngle());
    painter.fillPath(inView(triangle), arrowStroke().toQColor());
    painter.fillPath(inView(separator), scrollerStroke().toQColor());
    painter.restore();
}

QRectF VTBlackScroller::upright(const QRectF& rectangle) const {
    return horizontal_ ? QRectF(rectangle.topLeft().transposed(), rectangle.size().transposed()) : rectangle;
}

QPainterPath VTBlackScroller::inView(const QPainterPath& uprightPath) const {
    return horizontal_ ? QTransform(0, 1, 1, 0, 0, 0).map(uprightPath) : uprightPath;
}
