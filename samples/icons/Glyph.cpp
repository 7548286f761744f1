#include "Glyph.h"

#include <QPainterPathStroker>
#include <QString>
#include <QStringList>

namespace {

// A letter as the middle line of its strokes: "M x y" and "L x y" and "C x1 y1 x2 y2 x y" as in SVG
// paths, "A cx cy rx ry start sweep" is an arc of an ellipse (degrees, anticlockwise from
// three o'clock) joined by a line to what is before it, "O cx cy rx ry" a whole ellipse, "D cx cy r" a
// filled dot. What sticks out above 0 or below 100 is cut off, so that slanted strokes end level.
struct Letter {
    char32_t letter;
    const char* strokes;
};

constexpr double kWeight = 18.5;

constexpr Letter kLetters[] = {
    {U'B',
     "M 9 0 L 9 100 M 9 8 L 34 8 A 34 27.5 21 19.5 90 -180 L 9 47 M 34 47 A 36 69.5 24 22.5 90 -180 L 9 92"},
    {U'C', "A 51 50 40.75 40.75 41.5 277"},
    {U'F', "M 9 0 L 9 100 M 9 8.5 L 60 8.5 M 9 50 L 54 50"},
    {U'G', "A 51 50 40.75 40.75 43 274 L 82 52 L 50 54.5 M 82 100 L 82 45.25"},
    {U'H', "M 9 0 L 9 100 M 71 0 L 71 100 M 9 49 L 71 49"},
    {U'L', "M 9 0 L 9 91 L 60 91"},
    {U'P', "M 9 0 L 9 100 M 9 8.5 L 35 8.5 A 35 33.5 26 25 90 -180 L 9 58.5"},
    {U'Q', "O 52 50 42 40.75 M 60 64 L 93 110"},
    {U'S',
     "M 62 17 C 54 10 44 8.5 36 8.5 C 21 8.5 10 16 10 28 C 10 41 22 45 36 49 C 53 54 63 59 63 72 C 63 84 52 "
     "91.5 36 91.5 C 25 91.5 13 88 5 81"},
    {U'T', "M 0 8.5 L 72 8.5 M 36 0 L 36 100"},
    {U'U', "M 9 0 L 9 60 A 42 60 33 32 180 180 L 75 0"},
    {U'V', "M 6 -10 L 43 100 L 80 -10"},
    {U'W', "M 7 -10 L 32 100 L 59 4 L 86 100 L 111 -10"},
    {U'Φ', "M 50 0 L 50 100 O 50 50 42 28"},
    {U'Ж', "M 70 0 L 70 100 M 9 -10 L 66 50 L 9 110 M 131 -10 L 74 50 L 131 110"},
    {U'テ', "M 14 9 L 80 9 M 0 43 L 94 43 M 52 43 C 52 70 42 86 18 97"},
    {U'ن', "M 9 38 A 58 46 49 46 180 180 L 107 38 D 58 24 13"},
};

const char* strokesOf(char32_t letter) {
    for (const auto& candidate : kLetters) {
        if (candidate.letter == letter) {
            return candidate.strokes;
        }
    }
    return nullptr;
}

// Reads the numbers of one command off the word list.
class Words {
public:
    explicit Words(const char* text) : words_(QString::fromUtf8(text).split(u' ')) {}

    bool atEnd() const { return next_ == words_.size(); }
    char command() { return words_[next_++].at(0).toLatin1(); }
    double number() { return words_[next_++].toDouble(); }
    QPointF point() {
        double x = number();
        return {x, number()};
    }

private:
    QStringList words_;
    qsizetype next_ = 0;
};

QRectF around(QPointF centre, double radiusX, double radiusY) {
    return {centre.x() - radiusX, centre.y() - radiusY, 2 * radiusX, 2 * radiusY};
}

void appendArc(QPainterPath& path, Words& words) {
    QPointF centre = words.point();
    double radiusX = words.number();
    double radiusY = words.number();
    double start = words.number();
    if (path.isEmpty()) {
        path.arcMoveTo(around(centre, radiusX, radiusY), start);
    }
    path.arcTo(around(centre, radiusX, radiusY), start, words.number());
}

} // namespace

QPainterPath glyph(char32_t letter) {
    const char* strokes = strokesOf(letter);
    if (!strokes) {
        return {};
    }
    QPainterPath middle;
    QPainterPath dots;
    Words words(strokes);
    while (!words.atEnd()) {
        switch (words.command()) {
        case 'M':
            middle.moveTo(words.point());
            break;
        case 'L':
            middle.lineTo(words.point());
            break;
        case 'C': {
            QPointF first = words.point();
            QPointF second = words.point();
            middle.cubicTo(first, second, words.point());
            break;
        }
        case 'A':
            appendArc(middle, words);
            break;
        case 'O': {
            QPointF centre = words.point();
            double radiusX = words.number();
            middle.addEllipse(around(centre, radiusX, words.number()));
            break;
        }
        case 'D': {
            QPointF centre = words.point();
            double radius = words.number();
            dots.addEllipse(centre, radius, radius);
            break;
        }
        default:
            return {};
        }
    }
    QPainterPathStroker stroker;
    stroker.setWidth(kWeight);
    stroker.setCapStyle(Qt::FlatCap);
    stroker.setJoinStyle(Qt::MiterJoin);
    stroker.setMiterLimit(10);
    stroker.setCurveThreshold(0.01);
    QPainterPath outline = stroker.createStroke(middle).simplified().united(dots);

    QPainterPath box;
    box.addRect(-50, 0, 300, 100);
    outline = outline.intersected(box);
    return outline.translated(-outline.boundingRect().topLeft());
}
