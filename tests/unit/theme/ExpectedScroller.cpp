#include "ExpectedScroller.h"

#include <QPainter>
#include <QPainterPath>
#include <cmath>
#include <numbers>

namespace {

using Part = ScrollerLayout::Part;

QColor grey(float value, float alpha = 1) {
    return QColor::fromRgbF(value, value, value, alpha);
}

// The circle's points from one angle up to the next such angle, in degrees, 90 being the largest y.
void addArc(QPainterPath& path, const QPointF& centre, double radius, int from, int to) {
    if (to < from)
        to += 360;
    for (int degrees = from; degrees <= to; ++degrees) {
        const double angle = degrees * std::numbers::pi / 180;
        const QPointF point = centre + radius * QPointF(std::cos(angle), std::sin(angle));
        if (path.elementCount() == 0)
            path.moveTo(point);
        else
            path.lineTo(point);
    }
}

void addPoints(QPainterPath& path, std::initializer_list<QPointF> points) {
    for (const QPointF& point : points)
        if (path.elementCount() == 0)
            path.moveTo(point);
        else
            path.lineTo(point);
    path.closeSubpath();
}

enum class Run { LeftToRight, TopToBottom };

QLinearGradient gradient(const QColor& from, const QColor& to, const QRectF& bounds, Run run) {
    QLinearGradient result(bounds.topLeft(),
                           run == Run::LeftToRight ? bounds.topRight() : bounds.bottomLeft());
    result.setColorAt(0, from);
    result.setColorAt(1, to);
    return result;
}

// Draws one scroller part by part.
struct Drawing : ExpectedScroller {
    bool horizontal() const { return size.width() > size.height(); }
    Run across() const { return horizontal() ? Run::TopToBottom : Run::LeftToRight; }

    void drawAll(QPainter& painter) const {
        painter.setRenderHint(QPainter::Antialiasing);
        const QRectF bounds(0, 0, size.width(), size.height());
        painter.fillRect(bounds, grey(0, 0.7f));
        painter.fillRect(bounds, gradient(grey(0.137f, 0.75f), grey(0.278f, 0.75f), bounds, across()));
        if (together)
            drawCap(painter);
        if (!knob.isEmpty())
            drawKnob(painter);
        if (!increment.isEmpty())
            drawIncrement(painter);
        if (!decrement.isEmpty())
            drawDecrement(painter);
    }

    void fillArrow(QPainter& painter, const QPainterPath& path, Part part, Run run) const {
        const QColor from = part == pushed ? QColor::fromRgbF(0.451f, 0.451f, 0.455f, 0.5f)
                                           : QColor::fromRgbF(0.251f, 0.251f, 0.255f, 0.5f);
        const QColor to = part == pushed ? grey(0.318f, 0.5f) : grey(0.118f, 0.5f);
        painter.fillPath(path, gradient(from, to, path.boundingRect(), run));
    }

    void drawCap(QPainter& painter) const {
        const double w = size.width();
        const double h = size.height();
        QPainterPath path;
        if (horizontal()) {
            addArc(path, {5 + h / 2, h / 2}, h / 2, 90, 270);
            addPoints(path, {{8, 0}, {0, 0}, {0, h}, {8, h}});
        } else {
            addArc(path, {w / 2, 8 + w / 2 - 5}, w / 2, 180, 0);
            addPoints(path, {{w, 8}, {w, 0}, {0, 0}, {0, 8}});
        }
        fillArrow(painter, path, Part::Knob, Run::LeftToRight);
    }

    static QPainterPath verticalKnob(const QRectF& r) {
        const double radius = (r.width() - 2) / 2;
        const double middle = r.x() + (r.width() - 0.5) / 2;
        QPainterPath path;
        addArc(path, {middle, r.y() + radius}, radius, 180, 0);
        addArc(path, {middle, r.y() + r.height() - radius}, radius, 0, 180);
        path.closeSubpath();
        return path;
    }
    static QPainterPath horizontalKnob(const QRectF& r) {
        const double radius = (r.height() - 2) / 2;
        const double middle = r.y() + (r.height() - 0.5) / 2;
        QPainterPath path;
        addArc(path, {r.x() + radius, middle}, radius, 90, 270);
        addArc(path, {r.x() + r.width() - radius, middle}, radius, 270, 90);
        path.closeSubpath();
        return path;
    }
    void drawKnob(QPainter& painter) const {
        auto path = [&](const QRectF& r) { return horizontal() ? horizontalKnob(r) : verticalKnob(r); };
        painter.fillPath(path(knob), grey(0.259f));
        const QPainterPath inner = path(knob.adjusted(1, 1, -1, -1));
        painter.fillPath(inner,
                         gradient(QColor::fromRgbF(0.491f, 0.498f, 0.522f),
                                  QColor::fromRgbF(0.275f, 0.275f, 0.287f), inner.boundingRect(), across()));
    }

    void drawTriangle(QPainter& painter, const QRectF& button, double direction) const {
        const QPointF c = button.center();
        const double tip = 3 * direction;
        QPainterPath path;
        if (horizontal())
            addPoints(path, {c + QPointF(tip, 0), c + QPointF(-tip, 3.5), c + QPointF(-tip, -3.5)});
        else
            addPoints(path, {c + QPointF(0, tip), c + QPointF(3.5, -tip), c + QPointF(-3.5, -tip)});
        painter.fillPath(path, grey(0.8f));
    }

    static void drawSeparator(QPainter& painter, const QPointF& from, const QPointF& to) {
        painter.setPen(QPen(grey(0.259f), 1, Qt::SolidLine, Qt::FlatCap));
        painter.drawLine(from, to);
    }

    void drawIncrement(QPainter& painter) const {
        const QRectF& r = increment;
        QPainterPath path;
        if (horizontal()) {
            addArc(path, {r.right() - r.height() / 2, r.center().y()}, r.height() / 2, 270, 90);
            addPoints(path, {r.bottomLeft(), r.topLeft()});
        } else {
            addArc(path, {r.center().x(), r.bottom() - r.width() / 2}, r.width() / 2, 0, 180);
            addPoints(path, {r.topLeft(), r.topRight()});
        }
        fillArrow(painter, path, Part::IncrementLine, across());
        drawTriangle(painter, r, 1);
        if (horizontal())
            drawSeparator(painter, {r.left() + 0.5, r.top()}, {r.left() + 0.5, r.bottom()});
        else
            drawSeparator(painter, {r.left(), r.top() + 0.5}, {r.right(), r.top() + 0.5});
    }

    void drawDecrement(QPainter& painter) const {
        const QRectF& r = decrement;
        const double across = horizontal() ? r.height() : r.width();
        const double radius = across / 2;
        QPainterPath path;
        if (horizontal() && together) {
            addArc(path, {r.right() - radius, r.center().y()}, radius, 270, 90);
            addPoints(path, {r.bottomLeft(), r.topLeft()});
        } else if (horizontal()) {
            addArc(path, {r.left() + radius, r.center().y()}, radius, 90, 270);
            addPoints(path, {r.topRight(), r.bottomRight()});
        } else if (together) {
            addArc(path, {r.center().x(), r.bottom() - radius}, radius, 0, 180);
            addPoints(path, {r.topLeft(), r.topRight()});
        } else {
            addArc(path, {r.center().x(), r.top() + radius}, radius, 180, 0);
            addPoints(path, {r.bottomRight(), r.bottomLeft()});
        }
        fillArrow(painter, path, Part::DecrementLine, this->across());
        drawTriangle(painter, r, -1);
        const double edge = together ? 0.5 : across - 0.5;
        if (horizontal())
            drawSeparator(painter, {r.left() + edge, r.top()}, {r.left() + edge, r.bottom()});
        else
            drawSeparator(painter, {r.left(), r.top() + edge}, {r.right(), r.top() + edge});
    }
};

} // namespace

void ExpectedScroller::draw(QPainter& painter) const {
    Drawing{*this}.drawAll(painter);
}
