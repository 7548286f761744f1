#pragma once

#include "Colour.h"
#include "Shadow.h"
#include "TextBlock.h"

#include <QColor>
#include <QFont>
#include <QRectF>
#include <QString>
#include <Qt>
#include <optional>

class QPainter;

// Draws the text of one table cell, centred in the row's height: a description of up to four lines, or,
// with a shadow, a bold title with an optional subtitle below it. The texts are plain text.
//
// Rectangles are in the logical pixels of the view, y growing downwards. The distances below are points of
// the interface font (one pixel each at its standard size). A cell is a value to configure, ask and draw
// with; it keeps nothing of the view. Main thread.
class VTCenteredTextCell {
public:
    // What the subtitle is drawn with, besides the text system's defaults.
    struct SubtitleAttributes {
        // The attribute "NSFontSizeAttribute". The text system does not know it: it is carried along and has
        // no effect, so the subtitle has the usual size of secondary text.
        double fontSizeAttribute = 9;
        theme::Colour foregroundColor = theme::Colour::calibratedHSB(0, 0, 1, 0.6);
    };
    static SubtitleAttributes subtitleAttributes() { return {}; }
    static theme::Shadow titleShadow();

    // The owner's number of lines. Kept for the owner: the layout does not use it. Unset at first, 1 from
    // the first titleRectForBounds() on.
    std::optional<int> lineCount() const { return lineCount_; }
    void setLineCount(std::optional<int> lineCount) { lineCount_ = lineCount; }

    // Whether the text is a title: bold, with a shadow, on one line that ends in an ellipsis when it is too
    // long. Otherwise it is a description: as many lines as the cell has room for, four at most, the last
    // with an ellipsis when there would be more.
    bool hasShadow() const { return hasShadow_; }
    void setHasShadow(bool hasShadow) { hasShadow_ = hasShadow; }

    // Drawn smaller and translucent below the text; absent or empty: none.
    const std::optional<QString>& subtitle() const { return subtitle_; }
    void setSubtitle(std::optional<QString> subtitle) { subtitle_ = std::move(subtitle); }

    // The text. More than the first 2,000 characters are never laid out: no row shows as many.
    const QString& stringValue() const { return stringValue_; }
    void setStringValue(const QString& text) { stringValue_ = text; }

    // Of a text without shadow; a title has its own. The interface font unless set.
    void setFont(const QFont& font) { font_ = font; }
    void setTextColor(const QColor& colour) { textColor_ = colour; }

    // Which side a title begins at: that of the view. A text without shadow begins at the side its own
    // script begins at.
    void setLayoutDirection(Qt::LayoutDirection direction) { layoutDirection_ = direction; }

    // Where the text goes in the bounds: as high as they are, 5 points narrower, and moved down by half of
    // the height that the text leaves free. The text is measured in the interface font's default size
    // whatever it is drawn with, a title as one line of it.
    QRectF titleRectForBounds(const QRectF& bounds);

    void drawInteriorWithFrame(const QRectF& frame, QPainter& painter);

    // The rectangle that the whole text needs, 15 points wider, when the frame cannot show all of it. When
    // it can, an empty rectangle: nothing is to be shown.
    QRectF expansionFrameWithFrame(const QRectF& frame);
    // The height of the whole text in this width.
    double expandedHeight(double width) const;
    void drawWithExpansionFrame(const QRectF& frame, QPainter& painter) const;

private:
    struct Placement {
        QRectF title;
        QRectF subtitle;
    };
    Placement placement(const QRectF& frame);

    bool hasSubtitle() const { return subtitle_ && !subtitle_->isEmpty(); }
    bool beginsAtRight() const;
    // The cell's own room, for texts of this width and a cell of this height.
    TextBlock::Room interior(double width, double height) const;
    TextBlock textBlock(const TextBlock::Room& room) const;
    TextBlock subtitleBlock(const TextBlock::Room& room) const;
    // How far below the title's top the subtitle is, with the whole title in this width.
    double expandedSubtitleTop(double textWidth) const;
    void drawText(const TextBlock& text, const QPointF& topLeft, QPainter& painter) const;
    void drawSubtitle(const TextBlock& text, const QPointF& topLeft, QPainter& painter) const;

    std::optional<int> lineCount_;
    bool hasShadow_ = false;
    std::optional<QString> subtitle_;
    QString stringValue_;
    std::optional<QFont> font_;
    QColor textColor_ = Qt::white;
    Qt::LayoutDirection layoutDirection_ = Qt::LeftToRight;
};
