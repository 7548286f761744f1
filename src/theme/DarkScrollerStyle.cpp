#include "DarkScrollerStyle.h"

#include "InterfaceFont.h"
#include "VTBlackScroller.h"

#include <QGuiApplication>
#include <QStyleOptionComplex>

namespace {

using Part = ScrollerLayout::Part;

constexpr double kThickness = 15; // in points

int thickness() {
    return qRound(InterfaceFont::pixels(kThickness));
}

Part partFor(QStyle::SubControls control) {
    switch (control) {
    case QStyle::SC_ScrollBarAddLine:
        return Part::IncrementLine;
    case QStyle::SC_ScrollBarSubLine:
        return Part::DecrementLine;
    case QStyle::SC_ScrollBarAddPage:
        return Part::IncrementPage;
    case QStyle::SC_ScrollBarSubPage:
        return Part::DecrementPage;
    case QStyle::SC_ScrollBarSlider:
        return Part::Knob;
    case QStyle::SC_ScrollBarGroove:
        return Part::KnobSlot;
    default:
        return Part::None;
    }
}

} // namespace

DarkScrollerStyle::DarkScrollerStyle(VTBlackScroller& scroller) : scroller_(scroller) {
    setParent(&scroller);
}

int DarkScrollerStyle::pixelMetric(PixelMetric metric, const QStyleOption* option,
                                   const QWidget* widget) const {
    switch (metric) {
    case PM_ScrollBarExtent:
        return thickness();
    case PM_ScrollBarSliderMin: // what the bar needs besides two arrows
        return ScrollerLayout::minimumLength(thickness()) - 2 * thickness();
    default:
        return QCommonStyle::pixelMetric(metric, option, widget);
    }
}

int DarkScrollerStyle::styleHint(StyleHint hint, const QStyleOption* option, const QWidget* widget,
                                 QStyleHintReturn* returnData) const {
    switch (hint) {
    case SH_ScrollBar_Transient:
        return 0;
    case SH_ScrollBar_ContextMenu:
    case SH_ScrollBar_MiddleClickAbsolutePosition:
    case SH_Slider_StopMouseOverSlider:
        return 1;
    case SH_ScrollBar_LeftClickAbsolutePosition:
        return QGuiApplication::keyboardModifiers().testFlag(Qt::ShiftModifier) ? 1 : 0;
    default:
        return QCommonStyle::styleHint(hint, option, widget, returnData);
    }
}

QRect DarkScrollerStyle::subControlRect(ComplexControl control, const QStyleOptionComplex* option,
                                        SubControl part, const QWidget* widget) const {
    if (control != CC_ScrollBar) {
        return QCommonStyle::subControlRect(control, option, part, widget);
    }
    return scroller_.rectForPart(partFor(part));
}

void DarkScrollerStyle::drawComplexControl(ComplexControl control, const QStyleOptionComplex* option,
                                           QPainter* painter, const QWidget* widget) const {
    if (control != CC_ScrollBar) {
        QCommonStyle::drawComplexControl(control, option, painter, widget);
        return;
    }
    // Sunken: the mouse is down and still on the part it was pressed on.
    const bool pressed = option->state.testFlag(State_Sunken);
    scroller_.drawRect(*painter, pressed ? partFor(option->activeSubControls) : Part::None);
}
