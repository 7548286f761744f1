#include "IconCache.h"

#include "Threads.h"

#include "Platform.h"

#include <QIcon>
#include <QPainter>
#include <QPointer>
#include <algorithm>
#include <cmath>

namespace {

constexpr int kPixmapsKept = 512;

// Rows scrolled past are not worth decoding; whoever still shows one asks again.
constexpr std::size_t kMostWaiting = 48;

// Stands in where the desktop has no icon for programs.
QPixmap drawnIcon(int pixels) {
    QPixmap pixmap(pixels, pixels);
    pixmap.fill(Qt::transparent);
    QPainter painter(&pixmap);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.scale(pixels / 48.0, pixels / 48.0);
    QLinearGradient body(0, 0, 0, 48);
    body.setColorAt(0, QColor(0x6a, 0x6e, 0x76));
    body.setColorAt(1, QColor(0x3f, 0x42, 0x48));
    painter.setPen(Qt::NoPen);
    painter.setBrush(body);
    painter.drawRoundedRect(QRectF(0.5, 0.5, 47, 47), 10, 10);
    painter.setBrush(QColor(255, 255, 255, 190));
    painter.drawRoundedRect(QRectF(12, 13, 24, 22), 3, 3);
    painter.setBrush(QColor(0x4c, 0x4f, 0x56));
    painter.drawRect(QRectF(14, 19, 20, 14));
    return pixmap;
}

platform::Bitmap renderedOrEmpty(const platform::Icon& icon, int pixels) {
    try {
        return icon.render(pixels);
    } catch (const std::exception&) {
        return {}; // out of memory, say: the generic icon will do
    }
}

} // namespace

IconCache::IconCache(WorkerThreads& threads, QObject* parent)
    : QObject(parent), threads_(threads), cache_(kPixmapsKept) {}

QPixmap IconCache::pixmap(const VTLaunchApp& app, double side, double devicePixelRatio) {
    int pixels = static_cast<int>(std::ceil(side * devicePixelRatio));
    auto icon = app.icon();
    QPixmap shown;
    if (icon) {
        auto key = QByteArray::number(pixels) + QByteArray::fromStdString(app.appPath().value_or(""));
        const auto* slot = cache_.object(key);
        if (slot) {
            shown = slot->pixmap;
        }
        if (!slot || slot->icon != icon) {
            request({key, icon, pixels});
        }
    }
    if (shown.isNull()) {
        shown = genericIcon(pixels);
    }
    shown.setDevicePixelRatio(devicePixelRatio);
    return shown;
}

void IconCache::request(Request wanted) {
    if (std::ranges::find(waiting_, wanted.key, &Request::key) != waiting_.end()) {
        return;
    }
    if (waiting_.size() == kMostWaiting) {
        waiting_.erase(waiting_.begin());
    }
    waiting_.push_back(std::move(wanted));
    decodeNext();
}

void IconCache::decodeNext() {
    if (decoding_ || waiting_.empty()) {
        return;
    }
    decoding_ =
        threads_.detachNewThread([self = QPointer(this), request = waiting_.back()](const std::stop_token&) {
            platform::yieldToOthers();
            auto show = [self, request, bitmap = renderedOrEmpty(*request.icon, request.pixels)] {
                if (self) {
                    self->store(request, bitmap);
                }
            };
            platform::current().mainThread->perform(std::move(show), platform::Wait::No);
        });
}

void IconCache::store(const Request& request, const platform::Bitmap& bitmap) {
    decoding_ = false;
    std::erase_if(waiting_, [&request](const Request& other) { return other.key == request.key; });
    auto slot = std::make_unique<Slot>(Slot{request.icon, {}});
    if (!bitmap.pixels.empty()) {
        QImage image(reinterpret_cast<const uchar*>(bitmap.pixels.data()), bitmap.width, bitmap.height,
                     QImage::Format_ARGB32_Premultiplied);
        slot->pixmap = QPixmap::fromImage(image.copy());
    }
    cache_.insert(request.key, slot.release());
    decodeNext();
    emit loaded();
}

QPixmap IconCache::genericIcon(int pixels) {
    if (generic_.width() != pixels) {
        auto themed = QIcon::fromTheme(QStringLiteral("application-x-executable"));
        generic_ = themed.isNull() ? drawnIcon(pixels) : themed.pixmap(QSize(pixels, pixels), 1.0);
        if (generic_.width() != pixels) {
            generic_ = generic_.isNull()
                           ? drawnIcon(pixels)
                           : generic_.scaled(pixels, pixels, Qt::KeepAspectRatio, Qt::SmoothTransformation);
        }
    }
    return generic_;
}
