#pragma once

#include <QImage>
#include <QPainter>
#include <functional>

// The tests of this folder run in one QApplication on Qt's offscreen platform, in the dark style and with
// an interface font of 12 pixels, so that a point is a pixel. Its .cpp sets it up before the first test.
namespace offscreen {

// A picture drawn at this many pixels per logical pixel, transparent where nothing is drawn.
QImage picture(const QSize& logicalSize, double scale, const std::function<void(QPainter&)>& draw);

// What is seen of a widget and its children over this background.
QImage picture(QWidget& widget, const QColor& background);

// By how much the two most different values of a colour component, premultiplied with alpha, are apart: 0
// for equal pictures. Pictures of different sizes are 256 apart.
int largestDifference(const QImage& one, const QImage& other);

// Lets queued events happen.
void settle();

// Gives the application another interface font for a scope.
class ScopedFontSize {
public:
    explicit ScopedFontSize(int pixels);
    ~ScopedFontSize();
    ScopedFontSize(const ScopedFontSize&) = delete;
    ScopedFontSize& operator=(const ScopedFontSize&) = delete;
};

} // namespace offscreen
