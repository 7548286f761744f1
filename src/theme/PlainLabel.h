#pragma once

#include <QColor>
#include <QFont>
#include <QLabel>

// Makes the label's text plain text, whatever it looks like, in the given font and colour.
inline void stylePlainLabel(QLabel& label, const QFont& font, const QColor& colour) {
    label.setTextFormat(Qt::PlainText);
    label.setFont(font);
    auto palette = label.palette();
    palette.setColor(QPalette::WindowText, colour);
    label.setPalette(palette);
}
