#include "Shadow.h"

#include <QImage>
#include <QPainter>
#include <algorithm>
#include <array>
#include <cmath>
#include <vector>

namespace theme {

namespace {

// A blur of radius r fades like a Gaussian of standard deviation r / 2.
constexpr double kDeviationPerRadius = 0.5;

// Three box averages in a row come close to a Gaussian. These are their half widths.
std::array<int, 3> boxRadii(double deviation) {
    const double variance = 12 * deviation * deviation;
    int narrow = static_cast<int>(std::sqrt(variance / 3 + 1));
    narrow -= narrow % 2 == 0 ? 1 : 0;
    const double wanted = (variance - 3.0 * narrow * narrow - 12.0 * narrow - 9) / (-4.0 * narrow - 4);
    std::array<int, 3> radii{};
    for (int pass = 0; pass < 3; ++pass) {
        radii[static_cast<std::size_t>(pass)] = (pass < std::lround(wanted) ? narrow : narrow + 2) / 2;
    }
    return radii;
}

// Averages a row or column in place; what lies beyond its ends counts as transparent. `copy` is as long as
// the line is.
void boxAverage(uchar* first, qsizetype stride, std::vector<uchar>& copy, int radius) {
    const int count = static_cast<int>(copy.size());
    uchar* line = copy.data();
    for (int i = 0; i < count; ++i) {
        line[i] = first[i * stride];
    }
    const int width = 2 * radius + 1;
    int sum = width / 2;
    for (int i = 0; i < std::min(radius, count); ++i) {
        sum += line[i];
    }
    for (int i = 0; i < count; ++i) {
        if (i + radius < count) {
            sum += line[i + radius];
        }
        first[i * stride] = static_cast<uchar>(sum / width);
        if (i - radius >= 0) {
            sum -= line[i - radius];
        }
    }
}

void blur(QImage& mask, double deviation) {
    std::vector<uchar> row(static_cast<std::size_t>(mask.width()));
    std::vector<uchar> column(static_cast<std::size_t>(mask.height()));
    for (int radius : boxRadii(deviation)) {
        if (radius == 0) {
            continue;
        }
        for (int y = 0; y < mask.height(); ++y) {
            boxAverage(mask.scanLine(y), 1, row, radius);
        }
        for (int x = 0; x < mask.width(); ++x) {
            boxAverage(mask.bits() + x, mask.bytesPerLine(), column, radius);
        }
    }
}

QImage tinted(const QImage& mask, const QColor& colour) {
    QImage image(mask.size(), QImage::Format_ARGB32_Premultiplied);
    std::array<QRgb, 256> shades{};
    for (int alpha = 0; alpha < 256; ++alpha) {
        QColor shade = colour;
        shade.setAlphaF(colour.alphaF() * static_cast<float>(alpha) / 255);
        shades[static_cast<std::size_t>(alpha)] = qPremultiply(shade.rgba());
    }
    for (int y = 0; y < mask.height(); ++y) {
        const uchar* from = mask.constScanLine(y);
        auto* to = reinterpret_cast<QRgb*>(image.scanLine(y));
        for (int x = 0; x < mask.width(); ++x) {
            to[x] = shades[from[x]];
        }
    }
    return image;
}

} // namespace

Shadow Shadow::scaledBy(double factor) const {
    return {colour, blurRadius * factor, offsetX * factor, offsetY * factor};
}

void Shadow::draw(QPainter& painter, const QRectF& contentBounds,
                  const std::function<void(QPainter&)>& drawContent) const {
    // Work in the pixels of the screen, so that the blur is as fine as the text it belongs to.
    const double scale = std::sqrt(std::abs(painter.deviceTransform().determinant()));
    if (contentBounds.isEmpty() || scale <= 0) {
        return;
    }
    const double deviation = blurRadius * kDeviationPerRadius * scale;
    const double reach = std::ceil(3 * deviation);
    const QPointF origin(std::floor(contentBounds.x() * scale) - reach,
                         std::floor(contentBounds.y() * scale) - reach);
    const QSize pixels(static_cast<int>(std::ceil(contentBounds.right() * scale + reach - origin.x())),
                       static_cast<int>(std::ceil(contentBounds.bottom() * scale + reach - origin.y())));

    QImage content(pixels, QImage::Format_ARGB32_Premultiplied);
    content.fill(Qt::transparent);
    {
        QPainter contentPainter(&content);
        contentPainter.setRenderHints(painter.renderHints());
        contentPainter.translate(-origin);
        contentPainter.scale(scale, scale);
        contentPainter.setClipRect(contentBounds);
        drawContent(contentPainter);
    }
    QImage mask = content.convertToFormat(QImage::Format_Alpha8);
    blur(mask, deviation);
    QImage shadow = tinted(mask, colour.toQColor());
    shadow.setDevicePixelRatio(scale);
    painter.drawImage(origin / scale + QPointF(offsetX, -offsetY), shadow);
}

} // namespace theme
