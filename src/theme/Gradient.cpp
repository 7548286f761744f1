#include "Gradient.h"

#include <QPainter>
#include <cmath>
#include <numbers>

namespace theme {

Gradient::Gradient(const Colour& starting, const Colour& ending) : stops{{starting, 0}, {ending, 1}} {}

Gradient::Gradient(std::vector<Stop> colours) : stops(std::move(colours)) {}

void Gradient::drawInRect(QPainter& painter, const QRectF& rectangle, double angle) const {
    painter.fillRect(rectangle, toQLinearGradient(rectangle, angle));
}

void Gradient::drawInPath(QPainter& painter, const QPainterPath& path, double angle) const {
    painter.fillPath(path, toQLinearGradient(path.boundingRect(), angle));
}

QLinearGradient Gradient::toQLinearGradient(const QRectF& bounds, double angle) const {
    const double radians = angle * std::numbers::pi / 180;
    const QPointF direction(std::cos(radians), std::sin(radians));
    // Half the length of the bounds seen along the direction.
    const double reach =
        (std::abs(direction.x()) * bounds.width() + std::abs(direction.y()) * bounds.height()) / 2;
    QLinearGradient gradient(bounds.center() - direction * reach, bounds.center() + direction * reach);

    // A second stop at the same location would replace the first: put it just behind, less than any
    // screen can show.
    constexpr double kJustBehind = 1e-6;
    double previous = -1;
    for (const Stop& stop : stops) {
        const double location = stop.location > previous ? stop.location : previous + kJustBehind;
        gradient.setColorAt(location, stop.colour.toQColor());
        previous = location;
    }
    return gradient;
}

} // namespace theme
