#include "VTBlackScroller.h"

#include "DarkScrollerStyle.h"

#include <utility>

using theme::Colour;
using theme::Gradient;

static constexpr const char* kArrowsTogether = "DoubleMax";

static VTBlackScroller::ArrowPositionSource& arrowPositionSource() {
    static VTBlackScroller::ArrowPositionSource source;
    return source;
}

VTBlackScroller::VTBlackScroller(QWidget* parent) : VTBlackScroller(Qt::Vertical, parent) {}

VTBlackScroller::VTBlackScroller(Qt::Orientation orientation, QWidget* parent)
    : QScrollBar(orientation, parent), horizontal_(orientation == Qt::Horizontal) {
    setStyle(new DarkScrollerStyle(*this));
    setAttribute(Qt::WA_OpaquePaintEvent, false); // what lies behind shows through
    readArrowPosition();
}

void VTBlackScroller::setArrowPositionSource(ArrowPositionSource source) {
    arrowPositionSource() = std::move(source);
}

void VTBlackScroller::readArrowPosition() {
    const ArrowPositionSource& source = arrowPositionSource();
    arrowPosition_ = (source ? source() : std::nullopt).value_or(kArrowsTogether);
}

bool VTBlackScroller::hasArrowsTogether() const {
    return arrowPosition_ == kArrowsTogether;
}

ScrollerLayout VTBlackScroller::partLayout() const {
    return {size(), hasArrowsTogether(), minimum(), maximum(), pageStep(), sliderPosition()};
}

bool VTBlackScroller::isMirrored() const {
    const bool fromTheRight = partLayout().isHorizontal() && isRightToLeft();
    return fromTheRight != invertedAppearance();
}

QRect VTBlackScroller::rectForPart(Part part) const {
    const ScrollerLayout layout = partLayout();
    const bool isArrow = part == Part::DecrementLine || part == Part::IncrementLine;
    const UsableParts usable = layout.usableParts();
    if (usable == UsableParts::None || (usable == UsableParts::OnlyArrows && !isArrow)) {
        return {};
    }
    QRect rectangle = layout.rectForPart(part);
    if (isMirrored()) {
        if (layout.isHorizontal()) {
            rectangle.moveRight(width() - 1 - rectangle.left());
        } else {
            rectangle.moveBottom(height() - 1 - rectangle.top());
        }
    }
    return rectangle;
}

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
