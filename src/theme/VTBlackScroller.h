#pragma once

#include "Colour.h"
#include "Gradient.h"
#include "ScrollerLayout.h"

#include <QPainterPath>
#include <QScrollBar>
#include <functional>
#include <optional>
#include <string>

// The dark scroll bar: a translucent background with a track, a capsule for a knob and arrow buttons. It
// behaves as QScrollBar does; a click with Shift jumps to where it was, as one with the middle button does.
// Main thread.
//
// Where the arrows are follows the user's setting, which is read at each full redraw.
//
// The palette follows the same rules as the button cell's: a new value at each call, and the translucent
// entries ask scrollerAlphaValue() each time.
class VTBlackScroller : public QScrollBar {
    Q_OBJECT

public:
    using Part = ScrollerLayout::Part;
    using UsableParts = ScrollerLayout::UsableParts;
    // Absent: the user has no such setting.
    using ArrowPositionSource = std::function<std::optional<std::string>()>;

    explicit VTBlackScroller(QWidget* parent = nullptr);
    explicit VTBlackScroller(Qt::Orientation orientation, QWidget* parent = nullptr);

    // Where all scrollers read the setting from. It is called on the main thread at each redraw, so it has
    // to be quick. Without a source there is no setting.
    static void setArrowPositionSource(ArrowPositionSource source);

    // The setting as last read. "DoubleMax", which an absent one counts as, puts both arrows at the far
    // end; with any other there is one at each end.
    const std::string& arrowPosition() const { return arrowPosition_; }
    // What the last redraw had room for.
    UsableParts usableParts() const { return usableParts_; }
    // Where a part is seen; empty when the bar is too short to show it.
    QRect rectForPart(Part part) const;

    // The drawing, in the widget's coordinates. `hitPart` is the part being clicked.
    void drawRect(QPainter& painter, Part hitPart);
    void drawKnobSlotInRect(const QRectF& rectangle, bool highlight, QPainter& painter) const;
    void drawKnob(QPainter& painter) const;
    // Arrow 0 is the increment arrow, 1 the decrement arrow; there is no other. The increment arrow is
    // highlighted unless the part number is -1 or 1, the decrement arrow unless it is -1 or 0.
    void drawArrow(int arrow, int highlightPart, QPainter& painter) const;
    void drawDecrementArrow(bool highlighted, QPainter& painter) const;
    void drawIncrementArrow(bool highlighted, QPainter& painter) const;

    virtual double scrollerAlphaValue() const;
    virtual theme::Colour arrowStroke() const;
    virtual theme::Colour scrollerStroke() const;
    virtual theme::Gradient scrollerKnobGradient() const;
    virtual theme::Gradient scrollerTrackGradient() const;
    virtual theme::Gradient scrollerArrowNormalGradient() const;
    virtual theme::Gradient scrollerArrowPushedGradient() const;

private:
    void readArrowPosition();
    bool hasArrowsTogether() const;
    // The layout for now, as if the near end were always at the left or at the top.
    ScrollerLayout partLayout() const;
    // Whether the bar runs from its right or lower end.
    bool isMirrored() const;

    void drawCap(const QRectF& rectangle, QPainter& painter) const;
    void drawArrowButton(Part part, bool highlighted, QPainter& painter) const;

    // Shapes are made for a vertical bar; a horizontal one has the axes exchanged.
    QRectF upright(const QRectF& rectangle) const;
    QPainterPath inView(const QPainterPath& uprightPath) const;
    // The angle of gradients that run across the bar.
    double acrossAngle() const { return horizontal_ ? 90 : 0; }

    std::string arrowPosition_;
    bool horizontal_ = false;
    UsableParts usableParts_ = UsableParts::All;
};
