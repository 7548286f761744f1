#pragma once

#include <QFont>
#include <QRectF>
#include <QString>
#include <QTextLayout>
#include <limits>

class QPainter;

// Plain text laid out in lines, ready to measure and draw. Markup has no meaning in it; scripts without
// spaces, right-to-left text and characters that the font lacks are laid out as the desktop's text system
// does. Lengths are in logical pixels.
class TextBlock {
public:
    // The room for a text; without limits unless given.
    struct Room {
        double width = 1e6;
        int lines = std::numeric_limits<int>::max();
        double height = 1e6; // lines that would need more move closer together
    };

    // Breaks the text at the room's width, within a word where a word alone is wider. A line feed begins a
    // new line, but is a space where there is room for one line only. What does not fit in the number of
    // lines is cut: the last line then ends in an ellipsis. An empty text is one empty line.
    // `alignment` is Qt::AlignLeft, AlignRight or AlignHCenter, within the width and as seen.
    TextBlock(const QString& text, const QFont& font, const Room& room,
              Qt::Alignment alignment = Qt::AlignLeft);

    double height() const { return height_; }
    // What the lines cover, from the block's top left corner.
    QRectF bounds() const { return bounds_; }
    int lines() const { return lines_; }
    bool isTruncated() const { return truncated_; }

    // Draws with the painter's pen.
    void draw(QPainter& painter, const QPointF& topLeft) const;

private:
    void layOut(const Room& room);
    // Puts a finished line below the others.
    void append(QTextLine line);
    void drawLine(const QTextLine& line, const QPointF& topLeft, QPainter& painter) const;
    // Replaces the last line by the text from `start` on, elided to the width.
    void cutLastLine(int start, double width);
    void squeezeInto(double height);

    QTextLayout body_;
    QTextLayout cutLine_; // drawn instead of the body's last line when the text is cut
    double height_ = 0;
    double squeeze_ = 1; // what the distances between lines are multiplied by
    QRectF bounds_;
    int lines_ = 0;
    bool truncated_ = false;
};
