#pragma once

#include <QColor>
#include <string_view>

namespace theme {

// One colour of the palette: its components and how they are given. Components and alpha are 0 to 1.
// Screens here have one RGB space, so every kind is drawn in it; the kind is kept as part of the value.
struct Colour {
    enum class Kind {
        DeviceRGB,
        CalibratedRGB,
        CalibratedWhite, // a grey: red, green and blue are equal
        Named,           // one of the standard colours, opaque; `name` says which
    };

    Kind kind = Kind::DeviceRGB;
    double red = 0;
    double green = 0;
    double blue = 0;
    double alpha = 1;
    std::string_view name; // of a named colour, else empty

    static constexpr Colour deviceRGB(double red, double green, double blue, double alpha) {
        return {Kind::DeviceRGB, red, green, blue, alpha, {}};
    }
    static constexpr Colour deviceGrey(double grey, double alpha) {
        return deviceRGB(grey, grey, grey, alpha);
    }
    // From 0xRRGGBB, opaque.
    static constexpr Colour deviceHex(unsigned rgb) {
        return deviceRGB((rgb >> 16 & 0xff) / 255.0, (rgb >> 8 & 0xff) / 255.0, (rgb & 0xff) / 255.0, 1);
    }
    static constexpr Colour calibratedRGB(double red, double green, double blue, double alpha) {
        return {Kind::CalibratedRGB, red, green, blue, alpha, {}};
    }
    static constexpr Colour calibratedWhite(double white, double alpha) {
        return {Kind::CalibratedWhite, white, white, white, alpha, {}};
    }
    // From hue, saturation and brightness (0 to 1); the result is calibrated RGB.
    static Colour calibratedHSB(double hue, double saturation, double brightness, double alpha);

    static constexpr Colour white() { return named("whiteColor", 1); }
    static constexpr Colour black() { return named("blackColor", 0); }
    static constexpr Colour grey() { return named("grayColor", 0.5); }
    static constexpr Colour darkGrey() { return named("darkGrayColor", 1.0 / 3); }

    QColor toQColor() const;

    friend bool operator==(const Colour&, const Colour&) = default;

private:
    static constexpr Colour named(std::string_view name, double white) {
        return {Kind::Named, white, white, white, 1, name};
    }
};

} // namespace theme
