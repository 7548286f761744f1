#include "IconFile.h"

#include <QBuffer>
#include <QtEndian>

namespace {

QByteArray png(const QImage& image) {
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    return image.save(&buffer, "PNG") ? bytes : QByteArray();
}

QByteArray bigEndian(qsizetype value) {
    QByteArray bytes(4, '\0');
    qToBigEndian(static_cast<quint32>(value), bytes.data());
    return bytes;
}

// The container is a header and entries of the same make: a name of four letters, the length with
// these eight bytes counted, the data.
QByteArray entry(const char* name, const QByteArray& data) {
    return QByteArray(name) + bigEndian(data.size() + 8) + data;
}

QByteArray icns(const Artwork& artwork) {
    QByteArray entries;
    entries += entry("ic11", png(artwork.image(32)));
    entries += entry("ic12", png(artwork.image(64)));
    entries += entry("ic07", png(artwork.image(128)));
    entries += entry("ic08", png(artwork.image(256)));
    return entry("icns", entries);
}

} // namespace

QByteArray iconFile(const Artwork& artwork, const QString& suffix, int size) {
    if (suffix == QLatin1String("png")) {
        return png(artwork.image(size));
    }
    if (suffix == QLatin1String("icns")) {
        return icns(artwork);
    }
    if (suffix == QLatin1String("svg")) {
        return artwork.svg();
    }
    return {};
}
