#include "Colour.h"

#include <algorithm>
#include <cmath>

namespace theme {

Colour Colour::calibratedHSB(double hue, double saturation, double brightness, double alpha) {
    auto component = [&](double sector) {
        double position = std::fmod(sector + hue * 6, 6);
        double distance = std::clamp(std::min(position, 4 - position), 0.0, 1.0);
        return brightness - brightness * saturation * distance;
    };
    return calibratedRGB(component(5), component(3), component(1), alpha);
}

QColor Colour::toQColor() const {
    return QColor::fromRgbF(static_cast<float>(red), static_cast<float>(green), static_cast<float>(blue),
                            static_cast<float>(alpha));
}

} // namespace theme
