// The scroller's drawing against drawings made here from the numbers of the geometry and the palette.

#include "InterfaceFont.h"
#include "OffscreenApplication.h"
#include "VTBlackScroller.h"

#include <QPainterPath>
#include <QTest>
#include <cmath>
#include <gtest/gtest.h>
#include <numbers>
#include <optional>
#include <string>

namespace {

using Part = VTBlackScroller::Part;
using UsableParts = VTBlackScroller::UsableParts;

// Curves are made of straight pieces here, whose ends the rasterizer rounds.
constexpr int kTolerance = 8;

QColor grey(float value, float alpha = 1) {
    return QColor::fromRgbF(value, value, value, alpha);
}

// The circle's points from one angle up to the next such angle, in degrees, 90 being the largest y.
void addArc(QPainterPath& path, const QPointF& centre, double radius, int from, int to) {
    if (to < from)
        to += 360;
    for (int degrees = from; degrees <= to; ++degrees) {
        const double angle = degrees * std::numbers::pi / 180;
        const QPointF point = centre + radius * QPointF(std::cos(angle), std::sin(angle));
        if (path.elementCount() == 0)
            path.moveTo(point);
        else
            path.lineTo(point);
    }
}

void addPoints(QPainterPath& path, std::initializer_list<QPointF> points) {
    for (const QPointF& point : points)
        if (path.elementCount() == 0)
            path.moveTo(point);
        else
            path.lineTo(point);
    path.closeSubpath();
}

enum class Run { LeftToRight, TopToBottom };

QLinearGradient gradient(const QColor& from, const QColor& to, const QRectF& bounds, Run run) {
    QLinearGradient result(bounds.topLeft(),
                           run == Run::LeftToRight ? bounds.topRight() : bounds.bottomLeft());
    result.setColorAt(0, from);
    result.setColorAt(1, to);
    return result;
}

struct Drawing {
    QSize size;
    bool together = true;
    QRectF knob;
    QRectF decrement;
    QRectF increment;
    Part pushed = Part::None;

    bool horizontal() const { return size.width() > size.height(); }
    Run across() const { return horizontal() ? Run::TopToBottom : Run::LeftToRight; }

    void draw(QPainter& painter) const {
        painter.setRenderHint(QPainter::Antialiasing);
        const QRectF bounds(0, 0, size.width(), size.height());
        painter.fillRect(bounds, grey(0, 0.7f));
        painter.fillRect(bounds, gradient(grey(0.137f, 0.75f), grey(0.278f, 0.75f), bounds, across()));
        if (together)
            drawCap(painter);
        if (!knob.isEmpty())
            drawKnob(painter);
        if (!increment.isEmpty())
            drawIncrement(painter);
        if (!decrement.isEmpty())
            drawDecrement(painter);
    }

    void fillArrow(QPainter& painter, const QPainterPath& path, Part part, Run run) const {
        const QColor from = part == pushed ? QColor::fromRgbF(0.451f, 0.451f, 0.455f, 0.5f)
                                           : QColor::fromRgbF(0.251f, 0.251f, 0.255f, 0.5f);
        const QColor to = part == pushed ? grey(0.318f, 0.5f) : grey(0.118f, 0.5f);
        painter.fillPath(path, gradient(from, to, path.boundingRect(), run));
    }

    void drawCap(QPainter& painter) const {
        const double w = size.width();
        const double h = size.height();
        QPainterPath path;
        if (horizontal()) {
            addArc(path, {5 + h / 2, h / 2}, h / 2, 90, 270);
            addPoints(path, {{8, 0}, {0, 0}, {0, h}, {8, h}});
        } else {
            addArc(path, {w / 2, 8 + w / 2 - 5}, w / 2, 180, 0);
            addPoints(path, {{w, 8}, {w, 0}, {0, 0}, {0, 8}});
        }
        fillArrow(painter, path, Part::Knob, Run::LeftToRight);
    }

    static QPainterPath verticalKnob(const QRectF& r) {
        const double radius = (r.width() - 2) / 2;
        const double middle = r.x() + (r.width() - 0.5) / 2;
        QPainterPath path;
        addArc(path, {middle, r.y() + radius}, radius, 180, 0);
        addArc(path, {middle, r.y() + r.height() - radius}, radius, 0, 180);
        path.closeSubpath();
        return path;
    }
    static QPainterPath horizontalKnob(const QRectF& r) {
        const double radius = (r.height() - 2) / 2;
        const double middle = r.y() + (r.height() - 0.5) / 2;
        QPainterPath path;
        addArc(path, {r.x() + radius, middle}, radius, 90, 270);
        addArc(path, {r.x() + r.width() - radius, middle}, radius, 270, 90);
        path.closeSubpath();
        return path;
    }
    void drawKnob(QPainter& painter) const {
        auto path = [&](const QRectF& r) { return horizontal() ? horizontalKnob(r) : verticalKnob(r); };
        painter.fillPath(path(knob), grey(0.259f));
        const QPainterPath inner = path(knob.adjusted(1, 1, -1, -1));
        painter.fillPath(inner,
                         gradient(QColor::fromRgbF(0.491f, 0.498f, 0.522f),
                                  QColor::fromRgbF(0.275f, 0.275f, 0.287f), inner.boundingRect(), across()));
    }

    void drawTriangle(QPainter& painter, const QRectF& button, double direction) const {
        const QPointF c = button.center();
        const double tip = 3 * direction;
        QPainterPath path;
        if (horizontal())
            addPoints(path, {c + QPointF(tip, 0), c + QPointF(-tip, 3.5), c + QPointF(-tip, -3.5)});
        else
            addPoints(path, {c + QPointF(0, tip), c + QPointF(3.5, -tip), c + QPointF(-3.5, -tip)});
        painter.fillPath(path, grey(0.8f));
    }

    static void drawSeparator(QPainter& painter, const QPointF& from, const QPointF& to) {
        painter.setPen(QPen(grey(0.259f), 1, Qt::SolidLine, Qt::FlatCap));
        painter.drawLine(from, to);
    }

    void drawIncrement(QPainter& painter) const {
        const QRectF& r = increment;
        QPainterPath path;
        if (horizontal()) {
            addArc(path, {r.right() - r.height() / 2, r.center().y()}, r.height() / 2, 270, 90);
            addPoints(path, {r.bottomLeft(), r.topLeft()});
        } else {
            addArc(path, {r.center().x(), r.bottom() - r.width() / 2}, r.width() / 2, 0, 180);
            addPoints(path, {r.topLeft(), r.topRight()});
        }
        fillArrow(painter, path, Part::IncrementLine, across());
        drawTriangle(painter, r, 1);
        if (horizontal())
            drawSeparator(painter, {r.left() + 0.5, r.top()}, {r.left() + 0.5, r.bottom()});
        else
            drawSeparator(painter, {r.left(), r.top() + 0.5}, {r.right(), r.top() + 0.5});
    }

    void drawDecrement(QPainter& painter) const {
        const QRectF& r = decrement;
        const double across = horizontal() ? r.height() : r.width();
        const double radius = across / 2;
        QPainterPath path;
        if (horizontal() && together) {
            addArc(path, {r.right() - radius, r.center().y()}, radius, 270, 90);
            addPoints(path, {r.bottomLeft(), r.topLeft()});
        } else if (horizontal()) {
            addArc(path, {r.left() + radius, r.center().y()}, radius, 90, 270);
            addPoints(path, {r.topRight(), r.bottomRight()});
        } else if (together) {
            addArc(path, {r.center().x(), r.bottom() - radius}, radius, 0, 180);
            addPoints(path, {r.topLeft(), r.topRight()});
        } else {
            addArc(path, {r.center().x(), r.top() + radius}, radius, 180, 0);
            addPoints(path, {r.bottomRight(), r.bottomLeft()});
        }
        fillArrow(painter, path, Part::DecrementLine, this->across());
        drawTriangle(painter, r, -1);
        const double edge = together ? 0.5 : across - 0.5;
        if (horizontal())
            drawSeparator(painter, {r.left() + edge, r.top()}, {r.left() + edge, r.bottom()});
        else
            drawSeparator(painter, {r.left(), r.top() + edge}, {r.right(), r.top() + edge});
    }
};

// The expected drawing of a bar 15 thick that shows 60 of 160, scrolled to 40.
Drawing expectedDrawing(Qt::Orientation orientation, bool together, int length) {
    Drawing drawing;
    drawing.size = {15, length};
    drawing.together = together;
    const double near = !together ? 19 : orientation == Qt::Horizontal ? 6 : 4;
    if (length == 200) // 60 of 160 of the slot's 162, and 40 of 100 of what is left
        drawing.knob = {0, near + 41, 15, 60};
    if (length >= 38) {
        drawing.decrement = {0, together ? length - 30.0 : 0, 15, 15};
        drawing.increment = {0, length - 15.0, 15, 15};
    }
    if (orientation == Qt::Horizontal) {
        drawing.size.transpose();
        for (QRectF* r : {&drawing.knob, &drawing.decrement, &drawing.increment})
            *r = QRectF(r->y(), r->x(), r->height(), r->width());
    }
    return drawing;
}

QImage expectedImage(const Drawing& drawing, double scale = 1) {
    return offscreen::picture(drawing.size, scale, [&](QPainter& painter) { drawing.draw(painter); });
}

} // namespace

class VTBlackScrollerDrawingTest : public testing::Test {
protected:
    VTBlackScrollerDrawingTest() {
        VTBlackScroller::setArrowPositionSource([this] {
            ++reads;
            return setting;
        });
    }
    ~VTBlackScrollerDrawingTest() override { VTBlackScroller::setArrowPositionSource({}); }

    static void setUp(VTBlackScroller& scroller, int length) {
        scroller.setRange(0, 100);
        scroller.setPageStep(60);
        scroller.setValue(40);
        scroller.resize(scroller.orientation() == Qt::Horizontal ? QSize(length, 15) : QSize(15, length));
    }

    static QImage drawn(VTBlackScroller& scroller, Part hitPart = Part::None, double scale = 1) {
        return offscreen::picture(scroller.size(), scale,
                                  [&](QPainter& painter) { scroller.drawRect(painter, hitPart); });
    }

    std::optional<std::string> setting;
    int reads = 0;
};

TEST_F(VTBlackScrollerDrawingTest, EveryVariantInEveryStateAtEveryScale) {
    for (const double scale : {1.0, 2.0})
        for (const Qt::Orientation orientation : {Qt::Horizontal, Qt::Vertical})
            for (const char* position : {"DoubleMax", "Single"})
                for (const int length : {200, 67, 38, 37, 20})
                    for (const Part pushed : {Part::None, Part::DecrementLine, Part::IncrementLine,
                                              Part::Knob, Part::IncrementPage}) {
                        setting = position;
                        VTBlackScroller scroller(orientation);
                        setUp(scroller, length);
                        Drawing drawing = expectedDrawing(orientation, setting == "DoubleMax", length);
                        drawing.pushed = pushed == Part::Knob ? Part::None : pushed;
                        EXPECT_LE(offscreen::largestDifference(drawn(scroller, pushed, scale),
                                                               expectedImage(drawing, scale)),
                                  kTolerance)
                            << position << (orientation == Qt::Horizontal ? " horizontal " : " vertical ")
                            << length << ", pushed " << static_cast<int>(pushed) << ", scale " << scale;
                    }
}

TEST_F(VTBlackScrollerDrawingTest, TheToleranceTellsTheStatesApart) {
    const Drawing usual = expectedDrawing(Qt::Vertical, true, 200);
    auto difference = [&](const Drawing& other) {
        return offscreen::largestDifference(expectedImage(usual), expectedImage(other));
    };
    Drawing other = usual;
    other.pushed = Part::DecrementLine;
    EXPECT_GT(difference(other), kTolerance + 4);
    other = usual;
    other.together = false;
    EXPECT_GT(difference(other), kTolerance + 4);
    other = usual;
    other.knob.translate(0.25, 0);
    EXPECT_GT(difference(other), kTolerance + 4);
}

TEST_F(VTBlackScrollerDrawingTest, PaintingDrawsTheWholeScroller) {
    VTBlackScroller scroller;
    setUp(scroller, 200);
    const QImage painted = offscreen::picture(scroller.size(), 1, [&](QPainter& painter) {
        scroller.render(&painter, {}, {}, QWidget::DrawChildren);
    });
    EXPECT_EQ(painted, drawn(scroller));
}

TEST_F(VTBlackScrollerDrawingTest, TheBackgroundIsTranslucentBlackUnderTheTrack) {
    setting = "Single";
    VTBlackScroller scroller;
    setUp(scroller, 200);
    const QColor pixel = drawn(scroller).pixelColor(7, 150);
    EXPECT_EQ(pixel.alpha(), 236); // 0.7, and 0.75 of the rest
    EXPECT_NEAR(pixel.red(), 0.2075 * 0.75 / 0.925 * 255, 2) << "the middle of the track's gradient";
}

TEST_F(VTBlackScrollerDrawingTest, TheKnobsMiddleIsAQuarterPointBeforeTheMiddleOfItsRectangle) {
    setting = "Single";
    for (const Qt::Orientation orientation : {Qt::Horizontal, Qt::Vertical}) {
        VTBlackScroller scroller(orientation);
        setUp(scroller, 200);
        const QPoint middle = scroller.rectForPart(Part::Knob).center();
        // Four pixels per point show quarters.
        constexpr int kScale = 4;
        const QImage image = offscreen::picture(scroller.size(), kScale,
                                                [&](QPainter& painter) { scroller.drawKnob(painter); });
        int first = -1;
        int last = -1;
        for (int across = 0; across < 15 * kScale; ++across) {
            const QPoint point = orientation == Qt::Horizontal ? QPoint(middle.x() * kScale, across)
                                                               : QPoint(across, middle.y() * kScale);
            if (qAlpha(image.pixel(point)) > 128) {
                first = first < 0 ? across : first;
                last = across;
            }
        }
        // 13 points across, around 7.25.
        EXPECT_EQ(first, 3);
        EXPECT_EQ(last + 1, 55);
    }
}

TEST_F(VTBlackScrollerDrawingTest, UsablePartsAreStoredAtEachRedraw) {
    VTBlackScroller scroller;
    const std::pair<int, UsableParts> expectations[] = {
        {68, UsableParts::All},  {67, UsableParts::OnlyArrows}, {38, UsableParts::OnlyArrows},
        {37, UsableParts::None}, {200, UsableParts::All},
    };
    scroller.setRange(0, 1000);
    for (const auto& [length, parts] : expectations) {
        scroller.resize(15, length);
        drawn(scroller);
        EXPECT_EQ(scroller.usableParts(), parts) << length;
        EXPECT_EQ(scroller.rectForPart(Part::Knob).isEmpty(), parts != UsableParts::All) << length;
        EXPECT_EQ(scroller.rectForPart(Part::IncrementPage).isEmpty(), parts != UsableParts::All) << length;
        EXPECT_EQ(scroller.rectForPart(Part::IncrementLine).isEmpty(), parts == UsableParts::None) << length;
    }
}

TEST_F(VTBlackScrollerDrawingTest, TheArrowSettingIsReadAgainAtEachFullRedraw) {
    VTBlackScroller scroller;
    setUp(scroller, 200);
    EXPECT_EQ(scroller.arrowPosition(), "DoubleMax") << "absent";
    drawn(scroller);
    EXPECT_EQ(scroller.arrowPosition(), "DoubleMax");
    setting = "Single";
    EXPECT_EQ(scroller.arrowPosition(), "DoubleMax") << "not before the redraw";
    const int before = reads;
    drawn(scroller);
    EXPECT_EQ(reads, before + 1);
    EXPECT_EQ(scroller.arrowPosition(), "Single");
    EXPECT_EQ(scroller.rectForPart(Part::DecrementLine).top(), 0);
    setting = std::nullopt;
    drawn(scroller);
    EXPECT_EQ(scroller.arrowPosition(), "DoubleMax");
    EXPECT_EQ(scroller.rectForPart(Part::DecrementLine).top(), 170);
}

TEST_F(VTBlackScrollerDrawingTest, OnlyDoubleMaxPutsTheArrowsTogether) {
    for (const char* position : {"", "Single", "doublemax", "DoubleMin", "DoubleBoth", "DoubleMax "}) {
        setting = position;
        VTBlackScroller scroller;
        setUp(scroller, 200);
        EXPECT_EQ(scroller.rectForPart(Part::DecrementLine).top(), 0) << position;
    }
}

TEST_F(VTBlackScrollerDrawingTest, WithoutASourceTheArrowsAreTogether) {
    VTBlackScroller::setArrowPositionSource({});
    VTBlackScroller scroller;
    setUp(scroller, 200);
    EXPECT_LE(offscreen::largestDifference(drawn(scroller),
                                           expectedImage(expectedDrawing(Qt::Vertical, true, 200))),
              kTolerance);
}

TEST_F(VTBlackScrollerDrawingTest, ArrowsAreHighlightedByPartNumber) {
    VTBlackScroller scroller;
    setUp(scroller, 200);
    auto arrow = [&](int number, int part) {
        return offscreen::picture(scroller.size(), 1,
                                  [&](QPainter& painter) { scroller.drawArrow(number, part, painter); });
    };
    auto increment = [&](bool highlighted) {
        return offscreen::picture(scroller.size(), 1, [&](QPainter& painter) {
            scroller.drawIncrementArrow(highlighted, painter);
        });
    };
    auto decrement = [&](bool highlighted) {
        return offscreen::picture(scroller.size(), 1, [&](QPainter& painter) {
            scroller.drawDecrementArrow(highlighted, painter);
        });
    };
    ASSERT_NE(increment(true), increment(false));
    ASSERT_NE(decrement(true), decrement(false));
    for (const int part : {-2, -1, 0, 1, 2, 4, 5}) {
        EXPECT_EQ(arrow(0, part), increment(part != -1 && part != 1)) << part;
        EXPECT_EQ(arrow(1, part), decrement(part != -1 && part != 0)) << part;
        for (const int other : {-1, 2, 3})
            EXPECT_EQ(arrow(other, part), offscreen::picture(scroller.size(), 1, [](QPainter&) {}));
    }
}

TEST_F(VTBlackScrollerDrawingTest, TheTrackIgnoresItsHighlight) {
    VTBlackScroller scroller;
    setUp(scroller, 200);
    auto track = [&](bool highlight) {
        return offscreen::picture(scroller.size(), 1, [&](QPainter& painter) {
            scroller.drawKnobSlotInRect(scroller.rect(), highlight, painter);
        });
    };
    EXPECT_EQ(track(true), track(false));
}

TEST_F(VTBlackScrollerDrawingTest, TheSubclassesPaletteIsUsed) {
    class Solid : public VTBlackScroller {
    public:
        double scrollerAlphaValue() const override { return 1; }
    };
    Solid scroller;
    setUp(scroller, 200);
    EXPECT_EQ(drawn(scroller).pixelColor(3, 190).alpha(), 255);
    VTBlackScroller usual;
    setUp(usual, 200);
    EXPECT_LT(drawn(usual).pixelColor(3, 190).alpha(), 255);
}

TEST_F(VTBlackScrollerDrawingTest, TheTrianglesGrowWithTheUsersFont) {
    const offscreen::ScopedFontSize scope(24);
    setting = "Single";
    VTBlackScroller scroller;
    scroller.setRange(0, 100);
    scroller.resize(scroller.sizeHint().width(), 300);
    EXPECT_EQ(scroller.width(), 30);
    const QImage image = drawn(scroller);
    const QColor light(204, 204, 204);
    EXPECT_EQ(image.pixelColor(15, 15 - 3), light);
    EXPECT_EQ(image.pixelColor(15 - 6, 15 + 5), light);
    EXPECT_EQ(image.pixelColor(15 + 5, 15 + 5), light);
    EXPECT_NE(image.pixelColor(15 + 8, 15 + 5), light);
}

TEST_F(VTBlackScrollerDrawingTest, RightToLeftIsTheMirrorImage) {
    for (const char* position : {"DoubleMax", "Single"}) {
        setting = position;
        VTBlackScroller scroller(Qt::Horizontal);
        setUp(scroller, 200);
        const QImage usual = drawn(scroller);
        scroller.setLayoutDirection(Qt::RightToLeft);
        EXPECT_LE(offscreen::largestDifference(drawn(scroller), usual.mirrored(true, false)), 2);
        scroller.setInvertedAppearance(true);
        EXPECT_EQ(drawn(scroller), usual);
        VTBlackScroller upwards;
        setUp(upwards, 200);
        const QImage downwards = drawn(upwards);
        upwards.setLayoutDirection(Qt::RightToLeft);
        EXPECT_EQ(drawn(upwards), downwards);
        upwards.setInvertedAppearance(true);
        EXPECT_LE(offscreen::largestDifference(drawn(upwards), downwards.mirrored(false, true)), 2);
    }
}
