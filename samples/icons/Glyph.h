#pragma once

#include <QPainterPath>

// The outline of a letter of the icons, drawn here so that an icon looks the same on every machine,
// whatever fonts it has. Capital height is 100 units, y grows downwards, the bounds start at (0, 0).
// Empty when the letter is not among those drawn.
QPainterPath glyph(char32_t letter);
