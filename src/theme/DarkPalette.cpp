#include "DarkPalette.h"

#include "DarkStyle.h"

#include <QApplication>
#include <QToolTip>

using theme::Colour;
using theme::Gradient;

Gradient DarkPalette::windowGradient() {
    return {Colour::deviceHex(0x2a2b2e), Colour::deviceHex(0x1a1b1d)};
}
QColor DarkPalette::separatorColor() {
    return {0x11, 0x11, 0x11};
}
QColor DarkPalette::titleColor() {
    return Qt::white;
}
QColor DarkPalette::bodyTextColor() {
    return {0xd9, 0xdb, 0xdf};
}
QColor DarkPalette::secondaryTextColor() {
    return {0x9a, 0x9d, 0xa3};
}
QColor DarkPalette::focusColor() {
    return {0x8a, 0xb4, 0xe8};
}

Gradient DarkPalette::selectionGradient(Activity activity) {
    if (activity == Activity::Active) {
        return {Colour::deviceHex(0x3d5a80), Colour::deviceHex(0x2f4766)};
    }
    return {Colour::deviceHex(0x585b61), Colour::deviceHex(0x484b50)};
}

QPalette DarkPalette::palette() {
    QPalette palette;
    const QColor window(0x20, 0x21, 0x24);
    palette.setColor(QPalette::Window, window);
    palette.setColor(QPalette::WindowText, bodyTextColor());
    palette.setColor(QPalette::Base, QColor(0x18, 0x19, 0x1b));
    palette.setColor(QPalette::AlternateBase, QColor(0x26, 0x27, 0x2a));
    palette.setColor(QPalette::Text, bodyTextColor());
    palette.setColor(QPalette::PlaceholderText, secondaryTextColor());
    palette.setColor(QPalette::Button, QColor(0x2f, 0x30, 0x34));
    palette.setColor(QPalette::ButtonText, bodyTextColor());
    palette.setColor(QPalette::BrightText, Qt::white);
    palette.setColor(QPalette::ToolTipBase, QColor(0x34, 0x36, 0x3a));
    palette.setColor(QPalette::ToolTipText, bodyTextColor());
    palette.setColor(QPalette::Link, focusColor());
    palette.setColor(QPalette::LinkVisited, QColor(0xb3, 0x9d, 0xdb));
    // Fusion derives its outlines and bevels from these.
    palette.setColor(QPalette::Light, QColor(0x45, 0x47, 0x4c));
    palette.setColor(QPalette::Midlight, QColor(0x38, 0x3a, 0x3e));
    palette.setColor(QPalette::Mid, QColor(0x2a, 0x2b, 0x2e));
    palette.setColor(QPalette::Dark, separatorColor());
    palette.setColor(QPalette::Shadow, Qt::black);

    palette.setColor(QPalette::Highlight,
                     selectionGradient(Activity::Active).stops.front().colour.toQColor());
    palette.setColor(QPalette::Inactive, QPalette::Highlight,
                     selectionGradient(Activity::Inactive).stops.front().colour.toQColor());
    palette.setColor(QPalette::HighlightedText, Qt::white);

    const QColor disabledText(0x6c, 0x6f, 0x75);
    for (QPalette::ColorRole role : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText,
                                     QPalette::HighlightedText, QPalette::PlaceholderText}) {
        palette.setColor(QPalette::Disabled, role, disabledText);
    }
    palette.setColor(QPalette::Disabled, QPalette::Highlight, QColor(0x38, 0x3a, 0x3e));
    return palette;
}

void DarkPalette::install() {
    QApplication::setStyle(new DarkStyle);
    QApplication::setPalette(palette());
    QToolTip::setPalette(palette());
}
