#pragma once

#include "ScrollerLayout.h"

#include <QRectF>
#include <QSize>

class QPainter;

// A scroller drawn from the numbers of its geometry and palette, without any of its code, to compare with.
// A part with an empty rectangle is not drawn.
struct ExpectedScroller {
    QSize size;
    bool together = true; // the arrows
    QRectF knob;
    QRectF decrement;
    QRectF increment;
    ScrollerLayout::Part pushed = ScrollerLayout::Part::None;

    void draw(QPainter& painter) const;
};
