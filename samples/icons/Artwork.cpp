#include "Artwork.h"

#include "Glyph.h"

#include <QLinearGradient>
#include <QPainter>
#include <QTransform>
#include <QXmlStreamWriter>

#include <algorithm>
#include <array>
#include <cmath>

namespace {

constexpr double kUnits = 48;
constexpr double kRadius = 10;
const QRectF kPlate(2, 1, 44, 44);

QPainterPath roundedRect(const QRectF& rect, double radius) {
    QPainterPath path;
    path.addRoundedRect(rect, radius, radius);
    return path;
}

QColor withAlpha(QColor colour, double alpha) {
    colour.setAlphaF(static_cast<float>(alpha));
    return colour;
}

QString number(double value) {
    return QString::number(value, 'f', 3);
}

QString pathData(const QPainterPath& path) {
    QStringList words;
    for (int index = 0; index < path.elementCount(); ++index) {
        auto element = path.elementAt(index);
        switch (element.type) {
        case QPainterPath::MoveToElement:
            words << QStringLiteral("M");
            break;
        case QPainterPath::LineToElement:
            words << QStringLiteral("L");
            break;
        case QPainterPath::CurveToElement:
            words << QStringLiteral("C");
            break;
        case QPainterPath::CurveToDataElement: // the other two points of a curve
            break;
        }
        words << number(element.x) << number(element.y);
    }
    return words.join(u' ');
}

void writeStop(QXmlStreamWriter& xml, double offset, const QColor& colour) {
    xml.writeEmptyElement(QStringLiteral("stop"));
    xml.writeAttribute(QStringLiteral("offset"), QString::number(offset));
    xml.writeAttribute(QStringLiteral("stop-color"), colour.name());
    xml.writeAttribute(QStringLiteral("stop-opacity"), QString::number(colour.alphaF(), 'f', 3));
}

} // namespace

void Artwork::add(const QPainterPath& path, QColor top, QColor bottom) {
    shapes_.push_back({path, top, bottom});
}

void Artwork::addPlate(QColor top, QColor bottom) {
    // A soft edge from a few thin layers: a blur would not survive as SVG everywhere.
    constexpr std::array<double, 4> kSpreads{1.6, 1.1, 0.6, 0.1};
    for (double spread : kSpreads) {
        auto shadow = kPlate.translated(0, 1.3).adjusted(-spread, -spread, spread, spread);
        add(roundedRect(shadow, kRadius + spread), QColor(0, 0, 0, 22), QColor(0, 0, 0, 40));
    }
    add(roundedRect(kPlate, kRadius), top, bottom);

    // The light catches the upper edge and leaves the lower one.
    auto rim =
        roundedRect(kPlate, kRadius) - roundedRect(kPlate.adjusted(0.5, 0.5, -0.5, -0.5), kRadius - 0.5);
    add(rim, withAlpha(Qt::white, 0.34), withAlpha(Qt::black, 0.16));
}

Artwork Artwork::tool(char32_t letter, QColor top, QColor bottom) {
    Artwork artwork;
    artwork.addPlate(top, bottom);
    auto outline = glyph(letter);
    if (outline.isEmpty()) {
        return artwork;
    }
    // Capitals are as high as one another; wide and flat letters are fitted into the same square.
    constexpr double kCapitalHeight = 19;
    constexpr double kWidest = 24;
    auto bounds = outline.boundingRect();
    double scale = std::min(kCapitalHeight / 100, kWidest / bounds.width());
    QTransform place;
    place.translate(kPlate.center().x(), kPlate.center().y());
    place.scale(scale, scale);
    place.translate(-bounds.center().x(), -bounds.center().y());
    auto letterPath = place.map(outline);
    artwork.add(letterPath.translated(0, 0.7), withAlpha(Qt::black, 0.22), withAlpha(Qt::black, 0.22));
    artwork.add(letterPath, withAlpha(Qt::white, 0.96), withAlpha(Qt::white, 0.80));
    return artwork;
}

Artwork Artwork::launcher() {
    Artwork artwork;
    artwork.addPlate(QColor(0x4d7097), QColor(0x24384f));
    constexpr double kTile = 11.5;
    constexpr double kTileRadius = 2.9;
    constexpr double kGap = 2.5;
    double left = kPlate.center().x() - kTile - kGap / 2;
    double top = kPlate.center().y() - kTile - kGap / 2 + 1;
    double right = left + kTile + kGap;
    double bottom = top + kTile + kGap;
    auto tile = [](double x, double y) { return roundedRect(QRectF(x, y, kTile, kTile), kTileRadius); };

    auto standing = tile(left, top) + tile(left, bottom) + tile(right, bottom);
    artwork.add(standing.translated(0, 0.7), withAlpha(Qt::black, 0.25), withAlpha(Qt::black, 0.25));
    artwork.add(standing, withAlpha(Qt::white, 0.96), withAlpha(Qt::white, 0.78));

    auto rising = tile(right + 2.25, top - 2.25);
    artwork.add(rising.translated(-0.7, 1.6), withAlpha(Qt::black, 0.28), withAlpha(Qt::black, 0.28));
    artwork.add(rising, QColor(0xffcf7a), QColor(0xe8912f));
    return artwork;
}

QImage Artwork::image(int size) const {
    QImage image(size, size, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);

    // The plate's edges fall on whole pixels; everything on it follows.
    double scale = size / kUnits;
    double left = std::round(kPlate.left() * scale);
    double top = std::round(kPlate.top() * scale);
    double side = std::round(kPlate.width() * scale);
    painter.translate(left, top);
    painter.scale(side / kPlate.width(), side / kPlate.height());
    painter.translate(-kPlate.topLeft());

    for (const auto& shape : shapes_) {
        auto bounds = shape.path.boundingRect();
        QLinearGradient gradient(bounds.topLeft(), bounds.bottomLeft());
        gradient.setColorAt(0, shape.top);
        gradient.setColorAt(1, shape.bottom);
        painter.fillPath(shape.path, gradient);
    }
    return image;
}

QByteArray Artwork::svg() const {
    QByteArray bytes;
    QXmlStreamWriter xml(&bytes);
    xml.setAutoFormatting(true);
    xml.setAutoFormattingIndent(2);
    xml.writeStartDocument();
    xml.writeStartElement(QStringLiteral("svg"));
    xml.writeDefaultNamespace(QStringLiteral("http://www.w3.org/2000/svg"));
    xml.writeAttribute(QStringLiteral("width"), QStringLiteral("48"));
    xml.writeAttribute(QStringLiteral("height"), QStringLiteral("48"));
    xml.writeAttribute(QStringLiteral("viewBox"), QStringLiteral("0 0 48 48"));
    int index = 0;
    for (const auto& shape : shapes_) {
        auto bounds = shape.path.boundingRect();
        auto name = QStringLiteral("g%1").arg(index++);
        xml.writeStartElement(QStringLiteral("linearGradient"));
        xml.writeAttribute(QStringLiteral("id"), name);
        xml.writeAttribute(QStringLiteral("gradientUnits"), QStringLiteral("userSpaceOnUse"));
        xml.writeAttribute(QStringLiteral("x1"), number(bounds.left()));
        xml.writeAttribute(QStringLiteral("y1"), number(bounds.top()));
        xml.writeAttribute(QStringLiteral("x2"), number(bounds.left()));
        xml.writeAttribute(QStringLiteral("y2"), number(bounds.bottom()));
        writeStop(xml, 0, shape.top);
        writeStop(xml, 1, shape.bottom);
        xml.writeEndElement();
        xml.writeEmptyElement(QStringLiteral("path"));
        xml.writeAttribute(QStringLiteral("fill"), QStringLiteral("url(#%1)").arg(name));
        if (shape.path.fillRule() == Qt::OddEvenFill) {
            xml.writeAttribute(QStringLiteral("fill-rule"), QStringLiteral("evenodd"));
        }
        xml.writeAttribute(QStringLiteral("d"), pathData(shape.path));
    }
    xml.writeEndDocument();
    return bytes;
}
