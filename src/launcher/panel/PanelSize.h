#pragma once

class QWidget;

// The panel's size is a preference, `panelSize`: an array of width and height in logical pixels.

// Gives the panel the size that was stored, cut to its screen; leaves it alone when there is none.
void restorePanelSize(QWidget& panel);

// Of a panel that fills the screen the size that it returns to is stored.
void storePanelSize(const QWidget& panel);
