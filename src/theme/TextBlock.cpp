#include "TextBlock.h"

#include <QFontMetricsF>
#include <QPainter>

static QTextLine lineOfWidth(QTextLayout& layout, double width) {
    QTextLine line = layout.createLine();
    if (line.isValid()) {
        line.setLeadingIncluded(true);
        line.setLineWidth(width);
    }
    return line;
}

TextBlock::TextBlock(const QString& text, const QFont& font, const Room& room, Qt::Alignment alignment) {
    QString shown = text;
    shown.replace(QLatin1String("\r\n"), QLatin1String("\n"));
    for (QChar& character : shown) {
        const bool endsLine = character == u'\n' || character == u'\r' || character == QChar::LineSeparator ||
                              character == QChar::ParagraphSeparator;
        if (endsLine) {
            character = room.lines == 1 ? QChar(u' ') : QChar(QChar::LineSeparator);
        }
    }

    QTextOption option(alignment | Qt::AlignAbsolute);
    option.setWrapMode(QTextOption::WrapAtWordBoundaryOrAnywhere);
    // The text itself decides the order of its words, also in a window of the other direction.
    option.setTextDirection(shown.isRightToLeft() ? Qt::RightToLeft : Qt::LeftToRight);
    body_.setFont(font);
    body_.setTextOption(option);
    body_.setText(shown);
    layOut(room);
    if (height_ > room.height) {
        squeezeInto(room.height);
    }
}

void TextBlock::layOut(const Room& room) {
    body_.beginLayout();
    while (lines_ < room.lines) {
        QTextLine line = lineOfWidth(body_, room.width);
        if (!line.isValid()) {
            break;
        }
        ++lines_;
        if (lines_ == room.lines && line.textStart() + line.textLength() < body_.text().size()) {
            body_.endLayout();
            return cutLastLine(line.textStart(), room.width);
        }
        append(line);
    }
    body_.endLayout();
}

void TextBlock::append(QTextLine line) {
    line.setPosition({0, height_});
    height_ += line.height();
    bounds_ |= line.naturalTextRect();
}

void TextBlock::cutLastLine(int start, double width) {
    truncated_ = true;
    QString rest = body_.text().mid(start);
    if (const auto lineEnd = rest.indexOf(QChar::LineSeparator); lineEnd >= 0) {
        rest = rest.left(lineEnd) + QChar(0x2026);
    }
    QTextOption option = body_.textOption();
    option.setWrapMode(QTextOption::NoWrap);
    cutLine_.setFont(body_.font());
    cutLine_.setTextOption(option);
    cutLine_.setText(QFontMetricsF(body_.font()).elidedText(rest, Qt::ElideRight, width));
    cutLine_.beginLayout();
    QTextLine line = lineOfWidth(cutLine_, width);
    append(line);
    cutLine_.endLayout();
}

void TextBlock::squeezeInto(double height) {
    const QTextLine last = truncated_ ? cutLine_.lineAt(0) : body_.lineAt(lines_ - 1);
    if (last.y() <= 0) {
        return;
    }
    squeeze_ = (height - last.height()) / last.y();
    height_ = height;
    bounds_.setBottom(height);
}

void TextBlock::draw(QPainter& painter, const QPointF& topLeft) const {
    const int whole = truncated_ ? lines_ - 1 : lines_;
    for (int i = 0; i < whole; ++i) {
        drawLine(body_.lineAt(i), topLeft, painter);
    }
    if (truncated_) {
        drawLine(cutLine_.lineAt(0), topLeft, painter);
    }
}

void TextBlock::drawLine(const QTextLine& line, const QPointF& topLeft, QPainter& painter) const {
    line.draw(&painter, topLeft + QPointF(0, line.y() * (squeeze_ - 1)));
}
