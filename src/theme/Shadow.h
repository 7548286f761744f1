#pragma once

#include "Colour.h"

#include <QRectF>
#include <functional>

class QPainter;

namespace theme {

// A soft shadow cast by whatever is drawn. The offset is in points with y positive upwards, also in a
// view whose own y grows downwards: (2, -2) falls 2 to the right and 2 down on the screen.
struct Shadow {
    Colour colour;
    double blurRadius = 0; // the shadow's edge fades over about this many points on either side
    double offsetX = 0;
    double offsetY = 0;

    Shadow scaledBy(double factor) const;

    // Draws the shadow alone, in the painter's coordinates: the shape of what `drawContent` draws,
    // blurred, moved by the offset and in the shadow's colour. Nothing outside `contentBounds` casts a
    // shadow. The caller draws the content itself afterwards, on top. `drawContent` is called at once,
    // with a painter of its own that has the same coordinates.
    void draw(QPainter& painter, const QRectF& contentBounds,
              const std::function<void(QPainter&)>& drawContent) const;

    friend bool operator==(const Shadow&, const Shadow&) = default;
};

} // namespace theme
