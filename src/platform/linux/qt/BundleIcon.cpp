#include "BundleIcon.h"

#include "Bundle.h"
#include "Package.h"
#include "Platform.h"

#include <QBuffer>
#include <QImage>
#include <QImageReader>
#include <QPainter>
#include <QtEndian>
#include <algorithm>
#include <array>
#include <cstdint>
#include <string_view>
#include <utility>
#include <vector>

namespace platform {

namespace {

constexpr std::size_t kIconFileLimit = std::size_t{32} << 20;
constexpr int kMostImages = 64;    // in one file
constexpr int kLongestSide = 4096; // in pixels

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

bool isPng(std::string_view bytes) {
    return bytes.starts_with("\x89PNG\r\n");
}

// By what the file holds, whatever its name; absent for all other formats, some of which would draw in
// other files.
const char* formatOf(std::string_view bytes) {
    return bytes.starts_with("icns") ? "icns" : isPng(bytes) ? "png" : nullptr;
}

// The side of an image of this type; 0 for types of few colours, which are the last choice.
int nominalSide(std::string_view wanted) {
    struct Side {
        std::string_view type;
        int pixels;
    };
    static constexpr std::array kSides{
        Side{"is32", 16},  Side{"icp4", 16},  Side{"il32", 32},  Side{"icp5", 32},  Side{"ic11", 32},
        Side{"ih32", 48},  Side{"icp6", 64},  Side{"ic12", 64},  Side{"it32", 128}, Side{"ic07", 128},
        Side{"ic08", 256}, Side{"ic13", 256}, Side{"ic09", 512}, Side{"ic14", 512}, Side{"ic10", 1024},
    };
    const auto* found = std::ranges::find(kSides, wanted, &Side::type);
    return found == kSides.end() ? 0 : found->pixels;
}

// Opened anew for each image: after a failure a reader gives nothing more.
class ImageFile {
public:
    ImageFile(const QByteArray& bytes, const char* format) : reader_(&buffer_, format) {
        buffer_.setData(bytes);
        buffer_.open(QIODevice::ReadOnly);
        reader_.setAutoDetectImageFormat(false);
    }
    QImageReader& reader() { return reader_; }

private:
    QBuffer buffer_;
    QImageReader reader_;
};

// The order in which images are tried: the smallest that is large enough first, then larger ones, then
// smaller ones from the largest down.
int rank(int side, int pixels) {
    constexpr int kBehindAllThatSuffice = 1 << 16;
    return side >= pixels ? side : kBehindAllThatSuffice - side;
}

// The indexes of a file's images in that order.
std::vector<int> indexesByPreference(const QByteArray& bytes, const char* format, int pixels) {
    ImageFile file(bytes, format);
    std::vector<std::pair<int, int>> ranked;
    for (int index = 0; index < std::min(file.reader().imageCount(), kMostImages); ++index) {
        file.reader().jumpToImage(index);
        ranked.emplace_back(rank(nominalSide(file.reader().subType().toStdString()), pixels), index);
    }
    std::ranges::sort(ranked);
    std::vector<int> indexes(ranked.size());
    std::ranges::transform(ranked, indexes.begin(), [](const auto& entry) { return entry.second; });
    return indexes;
}

// Null when Qt cannot decode it, or when it is too large for an icon.
QImage image(const QByteArray& bytes, const char* format, int index) {
    ImageFile file(bytes, format);
    if (index > 0 && !file.reader().jumpToImage(index)) {
        return {};
    }
    auto size = file.reader().size();
    return std::max(size.width(), size.height()) <= kLongestSide ? file.reader().read() : QImage();
}

// The images in PNG among those of an .icns file, in that order. Such a file is a list of elements, each with
// a type of four characters, its length as a big-endian number that counts these eight bytes in, and its
// data.
std::vector<QByteArray> pngElements(std::string_view file, int pixels) {
    constexpr std::size_t kHeader = 8;
    std::vector<std::pair<int, std::string_view>> ranked;
    file.remove_prefix(std::min(file.size(), kHeader)); // the file's own
    while (file.size() >= kHeader && ranked.size() < kMostImages) {
        const auto length = qFromBigEndian<quint32>(file.data() + 4);
        if (length < kHeader || length > file.size()) {
            break;
        }
        auto data = file.substr(kHeader, length - kHeader);
        if (isPng(data)) {
            ranked.emplace_back(rank(nominalSide(file.substr(0, 4)), pixels), data);
        }
        file.remove_prefix(length);
    }
    std::ranges::stable_sort(ranked, {}, &std::pair<int, std::string_view>::first);
    std::vector<QByteArray> elements;
    elements.reserve(ranked.size());
    for (const auto& [order, data] : ranked) {
        elements.push_back(QByteArray::fromRawData(data.data(), static_cast<qsizetype>(data.size())));
    }
    return elements;
}

// The first that can be decoded: images in JPEG 2000 cannot. Those in PNG are read without the plugin, which
// would load those of all other formats as well, a few megabytes and some tens of milliseconds.
QImage bestImage(const std::string& fileBytes, int pixels) {
    const auto* format = formatOf(fileBytes);
    if (!format) {
        return {};
    }
    for (const auto& element : pngElements(fileBytes, pixels)) {
        if (auto decoded = image(element, "png", 0); !decoded.isNull()) {
            return decoded;
        }
    }
    auto bytes = QByteArray::fromRawData(fileBytes.data(), static_cast<qsizetype>(fileBytes.size()));
    for (int index : indexesByPreference(bytes, format, pixels)) {
        if (auto decoded = image(bytes, format, index); !decoded.isNull()) {
            return decoded;
        }
    }
    return {};
}

} // namespace

Bitmap BundleIcon::render(int pixels) const {
    auto file = pixels > 0 ? iconFile(bundlePath_) : std::nullopt;
    auto bytes = file ? current().fileManager->contents(*file, kIconFileLimit).bytes : std::nullopt;
    auto best = bytes ? bestImage(*bytes, pixels) : QImage();
    if (best.isNull()) {
        return {};
    }
    best = best.scaled(pixels, pixels, Qt::KeepAspectRatio, Qt::SmoothTransformation);
    const auto side = static_cast<std::size_t>(pixels);
    Bitmap bitmap{pixels, pixels, std::vector<std::uint32_t>(side * side)};
    QImage square(reinterpret_cast<uchar*>(bitmap.pixels.data()), pixels, pixels,
                  QImage::Format_ARGB32_Premultiplied);
    QPainter(&square).drawImage((pixels - best.width()) / 2, (pixels - best.height()) / 2, best);
    return bitmap;
}

} // namespace platform
