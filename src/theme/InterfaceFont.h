#pragma once

#include <QFont>

// The desktop's interface font and what is measured with it. The look is drawn in points; a point is one
// logical pixel while the interface font is 12 pixels high, and grows and shrinks with the user's font.
// The screen's scale factor comes on top, by way of Qt. Needs a QApplication; main thread.
class InterfaceFont {
public:
    // The size of the interface font itself, also used for running text.
    static constexpr double kDefaultSize = 12.0;
    static constexpr double kTitleSize = 16.0;
    static constexpr double kSecondarySize = 11.5;

    // Logical pixels of this many points.
    static double pixels(double points);

    static QFont regular(double points = kDefaultSize);
    static QFont bold(double points = kDefaultSize);
};
