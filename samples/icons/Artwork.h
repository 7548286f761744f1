#pragma once

#include <QByteArray>
#include <QColor>
#include <QImage>
#include <QPainterPath>

#include <vector>

// An icon as filled shapes, one above the other, on a square of 48 units: a rounded plate with a
// vertical gradient, its soft shadow, and something white on it. One description serves every size and
// every file format.
class Artwork {
public:
    // The plate of a tool with its letter. The letter is left out when no glyph of it was drawn.
    static Artwork tool(char32_t letter, QColor top, QColor bottom);

    // The Launcher's own: three tiles that stand as an L, and a fourth that takes off.
    static Artwork launcher();

    // Drawn afresh for `size` device pixels, the plate's edges on whole pixels.
    QImage image(int size) const;

    QByteArray svg() const;

private:
    struct Shape {
        QPainterPath path;
        QColor top; // a gradient down the path's bounds
        QColor bottom;
    };

    void addPlate(QColor top, QColor bottom);
    void add(const QPainterPath& path, QColor top, QColor bottom);

    std::vector<Shape> shapes_;
};
