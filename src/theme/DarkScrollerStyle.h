#pragma once

#include <QCommonStyle>

class VTBlackScroller;

// What QScrollBar asks a style for, answered by a VTBlackScroller: so the base class can go on handling the
// mouse and says what is pressed, and the scroller has the layout and the drawing. Belongs to its scroller.
class DarkScrollerStyle : public QCommonStyle {
    Q_OBJECT

public:
    explicit DarkScrollerStyle(VTBlackScroller& scroller);

    int pixelMetric(PixelMetric metric, const QStyleOption* option, const QWidget* widget) const override;
    int styleHint(StyleHint hint, const QStyleOption* option, const QWidget* widget,
                  QStyleHintReturn* returnData) const override;
    QRect subControlRect(ComplexControl control, const QStyleOptionComplex* option, SubControl part,
                         const QWidget* widget) const override;
    void drawComplexControl(ComplexControl control, const QStyleOptionComplex* option, QPainter* painter,
                            const QWidget* widget) const override;

private:
    VTBlackScroller& scroller_;
};
