#include "VTBlackButtonCell.h"

using theme::Colour;
using theme::Gradient;
using theme::Shadow;

namespace {

// The three plain faces, from a slightly blue tone down to a neutral grey.
Gradient darkFace(double alpha) {
    return {Colour::deviceRGB(0.251f, 0.251f, 0.255f, alpha), Colour::deviceGrey(0.118f, alpha)};
}

Gradient lightFace(double alpha) {
    return {Colour::deviceRGB(0.451f, 0.451f, 0.455f, alpha), Colour::deviceGrey(0.318f, alpha)};
}

Gradient darkGlass(double alpha) {
    return Gradient({{Colour::deviceRGB(0.324f, 0.331f, 0.347f, alpha), 0.0},
                     {Colour::deviceRGB(0.245f, 0.253f, 0.269f, alpha), 0.5},
                     {Colour::deviceRGB(0.206f, 0.214f, 0.233f, alpha), 0.5},
                     {Colour::deviceRGB(0.139f, 0.147f, 0.167f, alpha), 1.0}});
}

Gradient lightGlass(double alpha) {
    return Gradient({{Colour::deviceRGB(0.524f, 0.531f, 0.547f, alpha), 0.0},
                     {Colour::deviceRGB(0.445f, 0.453f, 0.469f, alpha), 0.5},
                     {Colour::deviceRGB(0.406f, 0.414f, 0.433f, alpha), 0.5},
                     {Colour::deviceRGB(0.339f, 0.347f, 0.367f, alpha), 1.0}});
}

} // namespace

Colour VTBlackButtonCell::sliderTrackColor() const {
    return Colour::deviceGrey(0.318f, alphaValue());
}
Colour VTBlackButtonCell::disabledSliderTrackColor() const {
    return Colour::deviceGrey(0.318f, disabledAlphaValue());
}
Gradient VTBlackButtonCell::knobColor() const {
    return darkFace(1);
}
Gradient VTBlackButtonCell::highlightKnobColor() const {
    return lightFace(1);
}
Gradient VTBlackButtonCell::disabledKnobColor() const {
    return knobColor();
}

Colour VTBlackButtonCell::textFillColor() const {
    return Colour::deviceGrey(0.224f, 0.95f);
}
Colour VTBlackButtonCell::selectionHighlightActiveColor() const {
    return Colour::darkGrey();
}
Colour VTBlackButtonCell::selectionHighlightInActiveColor() const {
    return Colour::darkGrey();
}
Colour VTBlackButtonCell::selectionTextActiveColor() const {
    return Colour::white();
}
Colour VTBlackButtonCell::selectionTextInActiveColor() const {
    return Colour::white();
}
Colour VTBlackButtonCell::placeholderTextColor() const {
    return Colour::grey();
}

Gradient VTBlackButtonCell::progressTrackGradient() const {
    return {Colour::calibratedRGB(0.125f, 0.125f, 0.125f, 1),
            Colour::calibratedRGB(0.208f, 0.208f, 0.208f, 1)};
}
Colour VTBlackButtonCell::tokenFillNormal() const {
    return Colour::deviceRGB(0.249f, 0.261f, 0.288f, 1);
}
Colour VTBlackButtonCell::tokenFillHighlight() const {
    return Colour::deviceRGB(0.449f, 0.461f, 0.488f, 1);
}
Colour VTBlackButtonCell::tokenBorder() const {
    return Colour::white();
}
Colour VTBlackButtonCell::tokenTextColor() const {
    return Colour::white();
}

Colour VTBlackButtonCell::cellHighlightColor() const {
    return Colour::deviceRGB(0.549f, 0.561f, 0.588f, 1);
}
std::array<Colour, 2> VTBlackButtonCell::cellAlternatingRowColors() const {
    return {Colour::calibratedWhite(0.16f, 0.86f), Colour::calibratedWhite(0.15f, 0.8f)};
}
Colour VTBlackButtonCell::cellSelectedTextColor() const {
    return Colour::black();
}
Colour VTBlackButtonCell::cellEditingFillColor() const {
    return Colour::deviceGrey(0.141f, alphaValue());
}
Colour VTBlackButtonCell::tableBackgroundColor() const {
    return Colour::calibratedRGB(0, 0, 0, 0);
}
Colour VTBlackButtonCell::tableHeaderCellBorderColor() const {
    return Colour::deviceRGB(0.349f, 0.361f, 0.388f, 1);
}
Gradient VTBlackButtonCell::tableHeaderCellNormalFill() const {
    return darkFace(1);
}
Gradient VTBlackButtonCell::tableHeaderCellPushedFill() const {
    return lightFace(1);
}
Gradient VTBlackButtonCell::tableHeaderCellSelectedFill() const {
    return {Colour::deviceRGB(0.651f, 0.651f, 0.655f, 1), Colour::deviceGrey(0.518f, 1)};
}

Gradient VTBlackButtonCell::normalGradient() const {
    return darkFace(alphaValue());
}
Gradient VTBlackButtonCell::disabledNormalGradient() const {
    return darkFace(disabledAlphaValue());
}
Gradient VTBlackButtonCell::pushedGradient() const {
    return lightFace(alphaValue());
}
Gradient VTBlackButtonCell::highlightGradient() const {
    return pushedGradient();
}
Gradient VTBlackButtonCell::normalComplexGradient() const {
    return darkGlass(alphaValue());
}
Gradient VTBlackButtonCell::disabledNormalComplexGradient() const {
    return darkGlass(disabledAlphaValue());
}
Gradient VTBlackButtonCell::pushedComplexGradient() const {
    return lightGlass(alphaValue());
}
Gradient VTBlackButtonCell::highlightComplexGradient() const {
    return pushedComplexGradient();
}
Colour VTBlackButtonCell::normalSolidFill() const {
    return Colour::deviceGrey(0.141f, alphaValue());
}
Colour VTBlackButtonCell::disabledNormalSolidFill() const {
    return Colour::deviceGrey(0.141f, disabledAlphaValue());
}
Colour VTBlackButtonCell::pushedSolidFill() const {
    return Colour::deviceGrey(0.941f, alphaValue());
}
Colour VTBlackButtonCell::highlightSolidFill() const {
    return pushedSolidFill();
}

Colour VTBlackButtonCell::strokeColor() const {
    return Colour::deviceRGB(0.749f, 0.761f, 0.788f, 1);
}
Colour VTBlackButtonCell::disabledStrokeColor() const {
    return Colour::deviceRGB(0.749f, 0.761f, 0.788f, disabledAlphaValue());
}
Colour VTBlackButtonCell::darkStrokeColor() const {
    return Colour::deviceGrey(0.141f, 0.5f);
}
Colour VTBlackButtonCell::textColor() const {
    return Colour::white();
}
Colour VTBlackButtonCell::disabledTextColor() const {
    return Colour::deviceGrey(1, disabledAlphaValue());
}
Shadow VTBlackButtonCell::dropShadow() const {
    return {Colour::black(), 2, 0, -1};
}
double VTBlackButtonCell::alphaValue() const {
    return 0.6f;
}
double VTBlackButtonCell::disabledAlphaValue() const {
    return 0.2f;
}
Shadow VTBlackButtonCell::focusRing() const {
    return {Colour::white(), 3, 0, 0};
}
