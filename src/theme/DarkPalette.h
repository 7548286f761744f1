#pragma once

#include "Gradient.h"

#include <QColor>
#include <QPalette>

// The colours of windows, text and selections around the dark controls, and the setting of the whole
// application to them. The interface font stays the desktop's.
class DarkPalette {
public:
    enum class Activity { Active, Inactive };

    static theme::Gradient windowGradient(); // from the top of a window to its bottom
    static QColor separatorColor();
    static QColor titleColor();
    static QColor bodyTextColor();
    static QColor secondaryTextColor();
    // The line around what has the keyboard focus.
    static QColor focusColor();
    // The selection, from top to bottom; grey in an inactive window.
    static theme::Gradient selectionGradient(Activity activity);

    // For widgets that Qt itself draws: menus, fields, dialogs.
    static QPalette palette();
    // Gives the running QApplication the style and palette. Call it before the first window is made.
    static void install();
};
