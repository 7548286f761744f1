#pragma once

#include <QFont>
#include <QLabel>

// A label in the given font and colour. Its text is plain text, whatever it looks like.
inline QLabel* panelLabel(const QFont& font, const QColor& colour, const QString& text = {}) {
    auto* label = new QLabel(text);
    label->setTextFormat(Qt::PlainText);
    label->setFont(font);
    auto palette = label->palette();
    palette.setColor(QPalette::WindowText, colour);
    label->setPalette(palette);
    return label;
}
