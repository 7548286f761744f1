#pragma once

#include "Artwork.h"

#include <QString>

// The bytes of an icon file in the format that `suffix` names: "png" (one picture of `size` pixels),
// "icns" (pictures of 32, 64, 128 and 256 pixels, as PNG data) or "svg". Empty for any other suffix.
QByteArray iconFile(const Artwork& artwork, const QString& suffix, int size);
