#pragma once

#include <QRect>

// Where the parts of a scroll bar lie. A value: it knows the bar's size and position, nothing of widgets.
// Lengths are in logical pixels. The near end of a bar is its left or top end, where the smallest value is.
struct ScrollerLayout {
    // With the platform's numbers.
    enum class Part {
        None = 0,
        DecrementPage = 1, // the slot before the knob
        Knob = 2,
        IncrementPage = 3, // the slot behind the knob
        DecrementLine = 4, // the arrow towards the near end
        IncrementLine = 5, // the arrow towards the far end
        KnobSlot = 6,      // all that the knob can cover
    };
    // What a bar of its length has room for.
    enum class UsableParts { None, OnlyArrows, All };

    QSize size;
    bool arrowsTogether = true; // both at the far end, else one at each end
    int minimum = 0;
    int maximum = 0;
    int pageStep = 0;
    int position = 0; // minimum to maximum

    // A bar that is wider than tall is horizontal; any other is vertical.
    bool isHorizontal() const { return size.width() > size.height(); }
    int length() const { return isHorizontal() ? size.width() : size.height(); }
    int thickness() const { return isHorizontal() ? size.height() : size.width(); }

    UsableParts usableParts() const;

    // The part's place, whether the bar is long enough for it or not. Arrows are as long as the bar is
    // thick; the knob is to its slot as the page is to everything, but never shorter than
    // minimumKnobLength().
    QRect rectForPart(Part part) const;

    static int minimumKnobLength(int thickness) { return 2 * thickness; }
    // The shortest bar that has room for all parts.
    static int minimumLength(int thickness);

private:
    struct Span {
        int start = 0;
        int length = 0;
        int end() const { return start + length; }
    };
    Span spanOfPart(Part part) const;
    Span slot() const;
    Span knob() const;
};
