#include "ScrollerLayout.h"

#include <QStyle>
#include <algorithm>

// The knob keeps off the ends of its slot by half a thickness in all. Next to the rounded cap at the near
// end, which arrows that are together bring along, the round end of the knob lies inside the cap's.
static int nearGap(const ScrollerLayout& layout) {
    constexpr int kGap = 4;
    constexpr int kGapAtHorizontalCap = 6; // this cap reaches two further in
    return layout.arrowsTogether && layout.isHorizontal() ? kGapAtHorizontalCap : kGap;
}

static int bothGaps(int thickness) {
    return (thickness + 1) / 2;
}

ScrollerLayout::UsableParts ScrollerLayout::usableParts() const {
    const int decrement = spanOfPart(Part::DecrementLine).length;
    const int increment = spanOfPart(Part::IncrementLine).length;
    const double arrows = increment + decrement + thickness() / 2.0;
    if (arrows + spanOfPart(Part::Knob).length <= length()) {
        return UsableParts::All;
    }
    return arrows <= length() ? UsableParts::OnlyArrows : UsableParts::None;
}

QRect ScrollerLayout::rectForPart(Part part) const {
    const Span span = spanOfPart(part);
    if (isHorizontal()) {
        return {span.start, 0, span.length, size.height()};
    }
    return {0, span.start, size.width(), span.length};
}

int ScrollerLayout::minimumLength(int thickness) {
    return 2 * thickness + bothGaps(thickness) + minimumKnobLength(thickness);
}

ScrollerLayout::Span ScrollerLayout::slot() const {
    const int arrow = thickness();
    const int start = (arrowsTogether ? 0 : arrow) + nearGap(*this);
    return {start, std::max(0, length() - 2 * arrow - bothGaps(arrow))};
}

ScrollerLayout::Span ScrollerLayout::knob() const {
    const Span within = slot();
    const qint64 range = qint64{maximum} - minimum;
    const qint64 page = std::max(pageStep, 0);
    const qint64 everything = range + page;
    const qint64 shown = everything > 0 ? within.length * page / everything : within.length;
    const int shortest = minimumKnobLength(thickness());
    const int knobLength = std::clamp(static_cast<int>(shown), shortest, std::max(shortest, within.length));
    const int offset =
        QStyle::sliderPositionFromValue(minimum, maximum, position, within.length - knobLength);
    return {within.start + offset, knobLength};
}

ScrollerLayout::Span ScrollerLayout::spanOfPart(Part part) const {
    const int arrow = thickness();
    const Span within = slot();
    // What can be clicked reaches from arrow to arrow.
    const int trackStart = arrowsTogether ? 0 : arrow;
    const int trackEnd = trackStart + std::max(0, length() - 2 * arrow);
    switch (part) {
    case Part::DecrementPage:
        return {trackStart, std::max(0, knob().start - trackStart)};
    case Part::Knob:
        return knob();
    case Part::IncrementPage:
        return {knob().end(), std::max(0, trackEnd - knob().end())};
    case Part::DecrementLine:
        return {arrowsTogether ? length() - 2 * arrow : 0, arrow};
    case Part::IncrementLine:
        return {length() - arrow, arrow};
    case Part::KnobSlot:
        return within;
    case Part::None:
        break;
    }
    return {};
}
