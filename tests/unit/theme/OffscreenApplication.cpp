#include "OffscreenApplication.h"

#include "DarkPalette.h"

#include <QApplication>
#include <QWidget>
#include <algorithm>
#include <array>
#include <cstdlib>
#include <filesystem>
#include <gtest/gtest.h>
#include <memory>
#include <string>

namespace offscreen {

static QFont interfaceFont(int pixels) {
    QFont font(QStringLiteral("Noto Sans"));
    font.setPixelSize(pixels);
    return font;
}

static constexpr int kFontSize = 12;

namespace {

class Application : public testing::Environment {
public:
    void SetUp() override {
        // The desktop that the tests happen to run on must not show through.
        for (const char* name : {"QT_SCALE_FACTOR", "QT_FONT_DPI", "QT_STYLE_OVERRIDE",
                                 "QT_QPA_PLATFORMTHEME", "QT_SCREEN_SCALE_FACTORS"})
            qunsetenv(name);
        qputenv("QT_QPA_PLATFORM", "offscreen");
        qputenv("XDG_RUNTIME_DIR", privateFolder().c_str());
        application_ = std::make_unique<QApplication>(argumentCount_, arguments_.data());
        QApplication::setFont(interfaceFont(kFontSize));
        DarkPalette::install();
    }
    void TearDown() override { application_.reset(); }

private:
    // Qt insists on a folder that is nobody else's.
    static std::string privateFolder() {
        const std::filesystem::path folder = std::filesystem::path(qgetenv("HOME").constData()) / "runtime";
        std::filesystem::create_directory(folder);
        std::filesystem::permissions(folder, std::filesystem::perms::owner_all);
        return folder;
    }

    std::string name_ = "theme_tests";
    std::array<char*, 2> arguments_{name_.data(), nullptr};
    int argumentCount_ = 1;
    std::unique_ptr<QApplication> application_;
};

// GoogleTest owns it.
const testing::Environment* const kApplication = testing::AddGlobalTestEnvironment(new Application);

} // namespace

QImage picture(const QSize& logicalSize, double scale, const std::function<void(QPainter&)>& draw) {
    QImage image(logicalSize * scale, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    image.setDevicePixelRatio(scale);
    QPainter painter(&image);
    draw(painter);
    return image;
}

QImage picture(QWidget& widget, const QColor& background) {
    return picture(widget.size(), 1, [&](QPainter& painter) {
        painter.fillRect(QRect(QPoint(), widget.size()), background);
        widget.render(&painter, {}, {}, QWidget::DrawChildren);
    });
}

int largestDifference(const QImage& one, const QImage& other) {
    if (one.size() != other.size())
        return 256;
    const QImage left = one.convertToFormat(QImage::Format_ARGB32_Premultiplied);
    const QImage right = other.convertToFormat(QImage::Format_ARGB32_Premultiplied);
    int largest = 0;
    for (int y = 0; y < left.height(); ++y)
        for (int byte = 0; byte < 4 * left.width(); ++byte)
            largest = std::max(largest, std::abs(left.constScanLine(y)[byte] - right.constScanLine(y)[byte]));
    return largest;
}

void settle() {
    QCoreApplication::sendPostedEvents();
    QCoreApplication::processEvents();
}

static void useFontSize(int pixels) {
    QApplication::setFont(interfaceFont(pixels));
    settle(); // widgets hear of it
}

ScopedFontSize::ScopedFontSize(int pixels) {
    useFontSize(pixels);
}
ScopedFontSize::~ScopedFontSize() {
    useFontSize(kFontSize);
}

} // namespace offscreen
