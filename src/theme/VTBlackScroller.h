#pragma once

#include "Colour.h"
#include "Gradient.h"

#include <QScrollBar>

// The dark scroll bar. So far its palette, which follows the same rules as the button cell's: a new
// value at each call, and the translucent entries ask scrollerAlphaValue() each time.
class VTBlackScroller : public QScrollBar {
    Q_OBJECT

public:
    using QScrollBar::QScrollBar;

    virtual double scrollerAlphaValue() const;
    virtual theme::Colour arrowStroke() const;
    virtual theme::Colour scrollerStroke() const;
    virtual theme::Gradient scrollerKnobGradient() const;
    virtual theme::Gradient scrollerTrackGradient() const;
    virtual theme::Gradient scrollerArrowNormalGradient() const;
    virtual theme::Gradient scrollerArrowPushedGradient() const;
};
