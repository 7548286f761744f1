#pragma once

#include "Colour.h"

#include <QLinearGradient>
#include <QPainterPath>
#include <QRectF>
#include <vector>

class QPainter;

namespace theme {

// A linear gradient without a direction: the drawing code chooses the angle.
//
// Angles are in degrees in the coordinates of the view. 0 runs from the smallest x to the largest (left
// to right), 90 from the smallest y to the largest. Controls live in flipped views, as Qt's widgets are,
// where y grows downwards: there 90 puts the starting colour at the top edge and the ending colour at the
// bottom edge. (In an unflipped view the same call would run from bottom to top.) For an oblique angle
// the colours of the ends fall on two opposite corners.
struct Gradient {
    struct Stop {
        Colour colour;
        double location = 0; // 0 to 1
        friend bool operator==(const Stop&, const Stop&) = default;
    };

    // In order of location. Two stops at one location make a hard step.
    std::vector<Stop> stops;

    Gradient(const Colour& starting, const Colour& ending);
    explicit Gradient(std::vector<Stop> colours);

    void drawInRect(QPainter& painter, const QRectF& rectangle, double angle) const;
    // The gradient spans the path's bounding rectangle and is cut to the path.
    void drawInPath(QPainter& painter, const QPainterPath& path, double angle) const;
    // The gradient as a brush source for shapes inside these bounds.
    QLinearGradient toQLinearGradient(const QRectF& bounds, double angle) const;

    friend bool operator==(const Gradient&, const Gradient&) = default;
};

} // namespace theme
