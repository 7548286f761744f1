#include "BundleIcon.h"

#include "Bundle.h"
#include "Package.h"
#include "Platform.h"

#include <QBuffer>
#include <QImage>
#include <QImageReader>
#include <QPainter>
#include <algorithm>
#include <cstring>

namespace platform {

namespace {

constexpr std::size_t kIconFileLimit = std::size_t{32} << 20;

std::optional<std::string> iconFile(const std::string& bundlePath) {
    Bundle bundle{bundlePath};
    auto name = stringForKey(bundle.infoDictionary(), "CFBundleIconFile");
    if (!name || name->empty()) {
        return std::nullopt;
    }
    if (pathExtension(*name).empty()) {
        *name += ".icns";
    }
    return bundle.resourcePath() + "/" + *name;
}

// The smallest image that is large enough, else the largest; images in a format that Qt cannot decode
// are passed over.
QImage bestImage(const QByteArray& bytes, int pixels) {
    QImage best;
    // Read anew for each image: after a failure a reader gives nothing more.
    int count = 1;
    for (int index = 0; index < count; ++index) {
        QBuffer buffer;
        buffer.setData(bytes);
        buffer.open(QIODevice::ReadOnly);
        QImageReader reader(&buffer);
        count = std::clamp(reader.imageCount(), 1, 64);
        if (index > 0 && !reader.jumpToImage(index)) {
            continue;
        }
        QImage image = reader.read();
        if (image.isNull()) {
            continue;
        }
        bool isLarger = image.width() > best.width();
        bool isCloser = image.width() >= pixels && image.width() < best.width();
        if (best.isNull() || isCloser || (isLarger && best.width() < pixels)) {
            best = std::move(image);
        }
    }
    return best;
}

} // namespace

Bitmap BundleIcon::render(int pixels) const {
    auto file = iconFile(bundlePath_);
    auto bytes = file ? current().fileManager->contents(*file, kIconFileLimit).bytes : std::nullopt;
    if (!bytes || pixels <= 0) {
        return {};
    }
    auto image = bestImage(QByteArray(bytes->data(), static_cast<qsizetype>(bytes->size())), pixels);
    if (image.isNull()) {
        return {};
    }
    image = image.scaled(pixels, pixels, Qt::KeepAspectRatio, Qt::SmoothTransformation);
    QImage square(pixels, pixels, QImage::Format_ARGB32_Premultiplied);
    square.fill(Qt::transparent);
    QPainter(&square).drawImage((pixels - image.width()) / 2, (pixels - image.height()) / 2, image);

    Bitmap bitmap{pixels, pixels, {}};
    const auto width = static_cast<std::size_t>(pixels);
    bitmap.pixels.resize(width * width);
    for (int row = 0; row < pixels; ++row) {
        std::memcpy(bitmap.pixels.data() + static_cast<std::size_t>(row) * width, square.constScanLine(row),
                    width * sizeof(std::uint32_t));
    }
    return bitmap;
}

} // namespace platform
