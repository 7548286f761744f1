#include "VTBlackScroller.h"

using theme::Colour;
using theme::Gradient;

double VTBlackScroller::scrollerAlphaValue() const {
    return 0.5f;
}
Colour VTBlackScroller::arrowStroke() const {
    return Colour::deviceGrey(0.8f, 1);
}
Colour VTBlackScroller::scrollerStroke() const {
    return Colour::deviceGrey(0.259f, 1);
}
Gradient VTBlackScroller::scrollerKnobGradient() const {
    return {Colour::deviceRGB(0.491f, 0.498f, 0.522f, 1), Colour::deviceRGB(0.275f, 0.275f, 0.287f, 1)};
}
Gradient VTBlackScroller::scrollerTrackGradient() const {
    return {Colour::deviceGrey(0.137f, 0.75f), Colour::deviceGrey(0.278f, 0.75f)};
}
Gradient VTBlackScroller::scrollerArrowNormalGradient() const {
    const double alpha = scrollerAlphaValue();
    return {Colour::deviceRGB(0.251f, 0.251f, 0.255f, alpha), Colour::deviceGrey(0.118f, alpha)};
}
Gradient VTBlackScroller::scrollerArrowPushedGradient() const {
    const double alpha = scrollerAlphaValue();
    return {Colour::deviceRGB(0.451f, 0.451f, 0.455f, alpha), Colour::deviceGrey(0.318f, alpha)};
}
