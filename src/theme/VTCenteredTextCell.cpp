#include "VTCenteredTextCell.h"

#include "InterfaceFont.h"

#include <QFontMetricsF>
#include <QPainter>
#include <algorithm>
#include <cmath>

namespace {

// Distances in points.
constexpr double kTrailingGap = 5;        // between the text and the next column
constexpr double kSubtitleRaise = 10;     // how far a subtitle moves the title up
constexpr double kSubtitleIndent = 2;     // from the title's edge
constexpr double kSubtitleDrop = 20;      // from the title's top
constexpr double kExpansionWidening = 15; // of the frame that shows the whole text

constexpr int kMostLines = 4;
constexpr qsizetype kMostCharacters = 2000;

QString displayed(const QString& text) {
    if (text.size() <= kMostCharacters) {
        return text;
    }
    return text.left(kMostCharacters) + QChar(0x2026);
}

Qt::Alignment alignment(bool right) {
    return right ? Qt::AlignRight : Qt::AlignLeft;
}

} // namespace

theme::Shadow VTCenteredTextCell::titleShadow() {
    // A third of black is what a shadow has unless told otherwise.
    theme::Colour colour = theme::Colour::black();
    colour.alpha = 1.0 / 3;
    return {colour, 3, 2, -2};
}

QRectF VTCenteredTextCell::titleRectForBounds(const QRectF& bounds) {
    if (!lineCount_) {
        lineCount_ = 1;
    }
    const double width = bounds.width() - InterfaceFont::pixels(kTrailingGap);
    const QFont font = InterfaceFont::regular();
    const QString text = displayed(stringValue_);
    double height = 0;
    if (hasShadow_) {
        height = std::ceil(TextBlock(text, font, {.lines = 1}).height());
    } else if (!text.isEmpty()) {
        height = TextBlock(text, font, interior(width, bounds.height())).height();
    }
    return {bounds.x(), bounds.y() + (bounds.height() - height) * 0.5, width, bounds.height()};
}

void VTCenteredTextCell::drawInteriorWithFrame(const QRectF& frame, QPainter& painter) {
    if (!painter.isActive()) {
        return;
    }
    const Placement place = placement(frame);
    drawText(textBlock(interior(place.title.width(), frame.height())), place.title.topLeft(), painter);
    if (hasSubtitle()) {
        drawSubtitle(subtitleBlock({.width = place.subtitle.width(), .lines = 1}), place.subtitle.topLeft(),
                     painter);
    }
}

QRectF VTCenteredTextCell::expansionFrameWithFrame(const QRectF& frame) {
    const Placement place = placement(frame);
    const double widening = InterfaceFont::pixels(kExpansionWidening);
    const bool cut =
        textBlock(interior(place.title.width(), frame.height())).isTruncated() ||
        (hasSubtitle() && subtitleBlock({.width = place.subtitle.width(), .lines = 1}).isTruncated());
    if (!cut) {
        return {0, 0, widening, 0};
    }

    double width = place.title.width();
    if (hasShadow_) {
        width = textBlock({}).bounds().width();
        if (hasSubtitle()) {
            width =
                std::max(width, subtitleBlock({}).bounds().width() + InterfaceFont::pixels(kSubtitleIndent));
        }
        width = std::ceil(width);
    }
    width += widening;
    const double left = beginsAtRight() ? place.title.right() - width : place.title.left();
    return {left, place.title.top(), width, expandedHeight(width)};
}

double VTCenteredTextCell::expandedHeight(double width) const {
    const double textWidth = width - InterfaceFont::pixels(kExpansionWidening);
    if (!hasSubtitle()) {
        return textBlock({.width = textWidth}).height();
    }
    return expandedSubtitleTop(textWidth) + subtitleBlock({.width = textWidth}).height();
}

double VTCenteredTextCell::expandedSubtitleTop(double textWidth) const {
    const TextBlock text = textBlock({.width = textWidth});
    return InterfaceFont::pixels(kSubtitleDrop) + text.height() * (text.lines() - 1) / text.lines();
}

void VTCenteredTextCell::drawWithExpansionFrame(const QRectF& frame, QPainter& painter) const {
    const double widening = InterfaceFont::pixels(kExpansionWidening);
    const double width = frame.width() - widening;
    const QPointF topLeft = frame.topLeft() + QPointF(beginsAtRight() ? widening : 0, 0);
    drawText(textBlock({.width = width}), topLeft, painter);
    if (!hasSubtitle()) {
        return;
    }
    const double indent = InterfaceFont::pixels(beginsAtRight() ? -kSubtitleIndent : kSubtitleIndent);
    drawSubtitle(subtitleBlock({.width = width}), topLeft + QPointF(indent, expandedSubtitleTop(width)),
                 painter);
}

VTCenteredTextCell::Placement VTCenteredTextCell::placement(const QRectF& frame) {
    QRectF title = titleRectForBounds(frame);
    if (hasSubtitle()) {
        title.translate(0, -InterfaceFont::pixels(kSubtitleRaise));
    }
    const double indent = beginsAtRight() ? -kSubtitleIndent : kSubtitleIndent;
    return {title, title.translated(InterfaceFont::pixels(indent), InterfaceFont::pixels(kSubtitleDrop))};
}

bool VTCenteredTextCell::beginsAtRight() const {
    return hasShadow_ ? layoutDirection_ == Qt::RightToLeft : stringValue_.isRightToLeft();
}

TextBlock::Room VTCenteredTextCell::interior(double width, double height) const {
    if (hasShadow_) {
        return {.width = width, .lines = 1};
    }
    // A half line too little is made up for by moving the lines closer, so that the standard row has room
    // for four.
    const double lines = std::round(height / QFontMetricsF(InterfaceFont::regular()).lineSpacing());
    return {.width = width, .lines = std::clamp(static_cast<int>(lines), 1, kMostLines), .height = height};
}

TextBlock VTCenteredTextCell::textBlock(const TextBlock::Room& room) const {
    const QFont font = hasShadow_ ? InterfaceFont::bold(InterfaceFont::kTitleSize)
                                  : font_.value_or(InterfaceFont::regular());
    return {displayed(stringValue_), font, room, alignment(beginsAtRight())};
}

TextBlock VTCenteredTextCell::subtitleBlock(const TextBlock::Room& room) const {
    return {displayed(*subtitle_), InterfaceFont::regular(InterfaceFont::kSecondarySize), room,
            alignment(beginsAtRight())};
}

void VTCenteredTextCell::drawText(const TextBlock& text, const QPointF& topLeft, QPainter& painter) const {
    painter.setPen(textColor_);
    if (hasShadow_) {
        // Letters may lean out a little.
        const QRectF bounds = text.bounds().translated(topLeft).adjusted(-2, 0, 2, 0);
        titleShadow().scaledBy(InterfaceFont::pixels(1)).draw(painter, bounds, [&](QPainter& caster) {
            caster.setPen(textColor_);
            text.draw(caster, topLeft);
        });
    }
    text.draw(painter, topLeft);
}

void VTCenteredTextCell::drawSubtitle(const TextBlock& text, const QPointF& topLeft,
                                      QPainter& painter) const {
    painter.setPen(subtitleAttributes().foregroundColor.toQColor());
    text.draw(painter, topLeft);
}
