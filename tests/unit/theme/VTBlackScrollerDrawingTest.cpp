// The scroller's drawing against drawings made here from the numbers of the geometry and the palette.

#include "ExpectedScroller.h"
#include "OffscreenApplication.h"
#include "VTBlackScroller.h"

#include <QTest>
#include <gtest/gtest.h>
#include <optional>
#include <string>

namespace {

using Part = VTBlackScroller::Part;
using UsableParts = VTBlackScroller::UsableParts;

// Curves are made of straight pieces here, whose ends the rasterizer rounds.
constexpr int kScrollerTolerance = 8;

// The expected drawing of a bar 15 thick that shows 60 of 160, scrolled to 40.
ExpectedScroller expectedDrawing(Qt::Orientation orientation, bool together, int length) {
    ExpectedScroller drawing;
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

QImage expectedImage(const ExpectedScroller& drawing, double scale = 1) {
    return offscreen::picture(drawing.size, scale, [&](QPainter& painter) { drawing.draw(painter); });
}

} // namespace

class VTBlackScrollerDrawingTest : public testing::Test {
public:
    VTBlackScrollerDrawingTest() {
        VTBlackScroller::setArrowPositionSource([this] {
            ++reads;
            return setting;
        });
    }
    void TearDown() override { VTBlackScroller::setArrowPositionSource({}); }

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
                        ExpectedScroller drawing =
                            expectedDrawing(orientation, setting == "DoubleMax", length);
                        drawing.pushed = pushed == Part::Knob ? Part::None : pushed;
                        EXPECT_LE(offscreen::largestDifference(drawn(scroller, pushed, scale),
                                                               expectedImage(drawing, scale)),
                                  kScrollerTolerance)
                            << position << (orientation == Qt::Horizontal ? " horizontal " : " vertical ")
                            << length << ", pushed " << static_cast<int>(pushed) << ", scale " << scale;
                    }
}

TEST_F(VTBlackScrollerDrawingTest, TheToleranceTellsTheStatesApart) {
    const ExpectedScroller usual = expectedDrawing(Qt::Vertical, true, 200);
    auto difference = [&](const ExpectedScroller& other) {
        return offscreen::largestDifference(expectedImage(usual), expectedImage(other));
    };
    ExpectedScroller other = usual;
    other.pushed = Part::DecrementLine;
    EXPECT_GT(difference(other), kScrollerTolerance + 4);
    other = usual;
    other.together = false;
    EXPECT_GT(difference(other), kScrollerTolerance + 4);
    other = usual;
    other.knob.translate(0.25, 0);
    EXPECT_GT(difference(other), kScrollerTolerance + 4);
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
              kScrollerTolerance);
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
