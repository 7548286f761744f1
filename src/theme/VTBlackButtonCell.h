#pragma once

#include "ButtonCell.h"
#include "Colour.h"
#include "Gradient.h"
#include "Shadow.h"

#include <array>

class QPainterPath;

// The dark push button: a capsule with a gradient from top to bottom, a thin light line around it and a
// soft shadow below. Its fields are those of every button cell; what it draws with comes from its palette.
//
// Every operation of the palette makes a new value and nothing is cached. Entries that depend on a
// transparency ask alphaValue() or disabledAlphaValue() each time, so a subclass that overrides one of
// these changes every entry that uses it. Constants of the palette have single precision, widened to
// double.
class VTBlackButtonCell : public ButtonCell {
public:
    // Draws the whole button: from the frame's top left corner, as wide as the frame and as high as the
    // natural size, however high the frame is.
    void drawWithFrame(const QRectF& frame, QPainter& painter) const;

    // Draws the bezel, the title and the image of a button that fills this frame.
    void drawRoundRectButtonInFrame(const QRectF& frame, QPainter& painter) const;

    // Draws the title, or the alternate one where the masks and the state ask for it, in the colour of the
    // theme. Returns the rectangle that titles are drawn in, also when there is nothing to draw.
    QRectF drawTitle(const AttributedTitle& title, const QRectF& frame, QPainter& painter) const override;

    // The outline of a button that fills this frame; its lines run along the middle of it.
    QPainterPath capsule(const QRectF& frame) const;

    // Sliders.
    virtual theme::Colour sliderTrackColor() const;
    virtual theme::Colour disabledSliderTrackColor() const;
    virtual theme::Gradient knobColor() const;
    virtual theme::Gradient highlightKnobColor() const;
    virtual theme::Gradient disabledKnobColor() const; // the same as knobColor: it does not dim

    // Text fields.
    virtual theme::Colour textFillColor() const;
    virtual theme::Colour selectionHighlightActiveColor() const;
    virtual theme::Colour selectionHighlightInActiveColor() const;
    virtual theme::Colour selectionTextActiveColor() const;
    virtual theme::Colour selectionTextInActiveColor() const;
    virtual theme::Colour placeholderTextColor() const;

    // Progress bars and tokens.
    virtual theme::Gradient progressTrackGradient() const;
    virtual theme::Colour tokenFillNormal() const;
    virtual theme::Colour tokenFillHighlight() const;
    virtual theme::Colour tokenBorder() const;
    virtual theme::Colour tokenTextColor() const;

    // Tables.
    virtual theme::Colour cellHighlightColor() const;
    virtual std::array<theme::Colour, 2> cellAlternatingRowColors() const;
    virtual theme::Colour cellSelectedTextColor() const;
    virtual theme::Colour cellEditingFillColor() const;
    virtual theme::Colour tableBackgroundColor() const; // fully transparent
    virtual theme::Colour tableHeaderCellBorderColor() const;
    virtual theme::Gradient tableHeaderCellNormalFill() const;
    virtual theme::Gradient tableHeaderCellPushedFill() const;
    virtual theme::Gradient tableHeaderCellSelectedFill() const;

    // Button faces. The complex ones have a hard step in the middle, which looks like glass. A
    // highlighted face equals the pushed one.
    virtual theme::Gradient normalGradient() const;
    virtual theme::Gradient disabledNormalGradient() const;
    virtual theme::Gradient pushedGradient() const;
    virtual theme::Gradient highlightGradient() const;
    virtual theme::Gradient normalComplexGradient() const;
    virtual theme::Gradient disabledNormalComplexGradient() const;
    virtual theme::Gradient pushedComplexGradient() const;
    virtual theme::Gradient highlightComplexGradient() const;
    virtual theme::Colour normalSolidFill() const;
    virtual theme::Colour disabledNormalSolidFill() const;
    virtual theme::Colour pushedSolidFill() const;
    virtual theme::Colour highlightSolidFill() const;

    // Outlines, titles and shadows.
    virtual theme::Colour strokeColor() const;
    virtual theme::Colour disabledStrokeColor() const;
    virtual theme::Colour darkStrokeColor() const;
    virtual theme::Colour textColor() const;
    virtual theme::Colour disabledTextColor() const;
    virtual theme::Shadow dropShadow() const;
    virtual double alphaValue() const;
    virtual double disabledAlphaValue() const;
    virtual theme::Shadow focusRing() const;

private:
    // The frame without the room for lines and shadow.
    QRectF insetFrame(const QRectF& frame) const;
    theme::Gradient faceGradient() const;
};
