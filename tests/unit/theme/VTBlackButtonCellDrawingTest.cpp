// The button cell's drawing against drawings made here from the numbers of the geometry and the palette.

#include "InterfaceFont.h"
#include "OffscreenApplication.h"
#include "VTBlackButtonCell.h"

#include <QPainterPath>
#include <algorithm>
#include <cmath>
#include <gtest/gtest.h>
#include <vector>

namespace {

using ControlSize = ButtonCell::ControlSize;
using ImagePosition = ButtonCell::ImagePosition;
using Title = ButtonCell::AttributedTitle;

constexpr QSize kButtonPicture(130, 50);
// Colours are rounded in other places here.
constexpr int kButtonTolerance = 3;

// The capsule in this box, which is half a point lower than its inset frame.
QPainterPath capsuleIn(const QRectF& box) {
    QPainterPath path;
    path.addRoundedRect(box, box.height() / 2, box.height() / 2);
    return path;
}

struct Face {
    float top;
    float topBlue;
    float bottom;
    float alpha;
};
constexpr Face kNormal{0.251f, 0.255f, 0.118f, 0.6f};
constexpr Face kPushed{0.451f, 0.455f, 0.318f, 0.6f};
constexpr Face kDisabledFace{0.251f, 0.255f, 0.118f, 0.2f};

void drawReference(QPainter& painter, const QRectF& box, const Face& face, bool shadow) {
    painter.setRenderHint(QPainter::Antialiasing);
    const QPainterPath path = capsuleIn(box);
    const QPen dark(QColor::fromRgbF(0.141f, 0.141f, 0.141f, 0.5f), 1);
    if (shadow)
        theme::Shadow{theme::Colour::black(), 2, 0, -1}.draw(
            painter, box.adjusted(-1, -1, 1, 1), [&](QPainter& caster) { caster.strokePath(path, dark); });
    painter.strokePath(path, dark);
    QLinearGradient gradient(0, box.top(), 0, box.bottom());
    gradient.setColorAt(0, QColor::fromRgbF(face.top, face.top, face.topBlue, face.alpha));
    gradient.setColorAt(1, QColor::fromRgbF(face.bottom, face.bottom, face.bottom, face.alpha));
    painter.fillPath(path, gradient);
    painter.strokePath(path, QPen(QColor::fromRgbF(0.749f, 0.761f, 0.788f), 1));
}

// What the cell draws that fills the frame.
QImage drawn(const VTBlackButtonCell& cell, const QRectF& frame, double scale = 1) {
    return offscreen::picture(kButtonPicture, scale,
                              [&](QPainter& painter) { cell.drawRoundRectButtonInFrame(frame, painter); });
}

QImage reference(const QRectF& box, const Face& face, bool shadow, double scale = 1) {
    return offscreen::picture(kButtonPicture, scale,
                              [&](QPainter& painter) { drawReference(painter, box, face, shadow); });
}

// Remembers what it was asked to draw instead of drawing it.
class RecordingCell : public VTBlackButtonCell {
public:
    QRectF drawTitle(const Title& title, const QRectF& frame, QPainter&) const override {
        titles.emplace_back(title.text, frame);
        return frame;
    }
    void drawImage(const QPixmap& picture, const QRectF& frame, QPainter&) const override {
        images.emplace_back(picture.cacheKey(), frame);
    }
    mutable std::vector<std::pair<QString, QRectF>> titles;
    mutable std::vector<std::pair<qint64, QRectF>> images;
};

Title titled(const QString& text) {
    return {.text = text, .font = ButtonCell::titleFont(ControlSize::Regular)};
}

// What drawTitle paints into the 97 by 19 points at (1.5, 1).
constexpr QRectF kTitleFrame(1.5, 1, 97, 19);
constexpr QRectF kTextFrame(6.5, 1, 87, 17);

QImage titleDrawn(const VTBlackButtonCell& cell, const Title& title, QRectF* returned = nullptr) {
    return offscreen::picture(kButtonPicture, 1, [&](QPainter& painter) {
        const QRectF rectangle = cell.drawTitle(title, kTitleFrame, painter);
        if (returned)
            *returned = rectangle;
    });
}

QImage textReference(const QString& text, const QFont& font, const QColor& colour, const QRectF& frame,
                     Qt::Alignment alignment = Qt::AlignHCenter) {
    return offscreen::picture(kButtonPicture, 1, [&](QPainter& painter) {
        painter.setFont(font);
        painter.setPen(colour);
        painter.drawText(frame, static_cast<int>(alignment | Qt::AlignVCenter), text);
    });
}

} // namespace

TEST(VTBlackButtonCellDrawingTest, TheCapsuleOfEverySizeHasItsBox) {
    VTBlackButtonCell cell;
    EXPECT_EQ(cell.capsule({0, 0, 100, 22}).boundingRect(), QRectF(1.5, 0.5, 97, 19));
    cell.controlSize = ControlSize::Small;
    EXPECT_EQ(cell.capsule({0, 0, 100, 20}).boundingRect(), QRectF(1.5, 0.5, 97, 17));
    cell.controlSize = ControlSize::Mini;
    EXPECT_EQ(cell.capsule({0, 0, 100, 20}).boundingRect(), QRectF(1.5, 1.5, 97, 15));
    cell.controlSize = ControlSize::Large;
    EXPECT_EQ(cell.capsule({4, 3, 100, 20}).boundingRect(), QRectF(5.5, 3.5, 97, 20));
}

TEST(VTBlackButtonCellDrawingTest, TheCapsulesEndsAreHalfCircles) {
    const QPainterPath path = VTBlackButtonCell().capsule({0, 0, 100, 22});
    for (int percent = 0; percent <= 100; ++percent) {
        const QPointF point = path.pointAtPercent(percent / 100.0);
        const QPointF centre(std::clamp(point.x(), 11.0, 89.0), 10);
        EXPECT_NEAR(std::hypot(point.x() - centre.x(), point.y() - centre.y()), 9.5, 0.01) << percent;
    }
}

TEST(VTBlackButtonCellDrawingTest, EverySizeInEveryStateAtEveryScale) {
    struct Size {
        ControlSize size = ControlSize::Regular;
        QRectF frame;
        QRectF box;
    };
    const Size sizes[] = {
        {ControlSize::Regular, {0, 0, 100, 22}, {1.5, 0.5, 97, 19}},
        {ControlSize::Regular, {10, 7, 110, 32}, {11.5, 7.5, 107, 29}},
        {ControlSize::Small, {5, 4, 90, 20}, {6.5, 4.5, 87, 17}},
        {ControlSize::Mini, {5, 4, 80, 20}, {6.5, 5.5, 77, 15}},
        {ControlSize::Large, {8, 6, 100, 28}, {9.5, 6.5, 97, 28}},
    };
    struct State {
        bool enabled;
        bool highlighted;
        int state;
        unsigned showsStateBy;
        unsigned highlightsBy;
        Face face;
    };
    const State states[] = {
        {true, false, 0, 0, 14, kNormal},        // momentary
        {true, true, 0, 0, 14, kPushed},         //
        {true, false, 1, 0, 14, kNormal},        //
        {true, false, 0, 12, 12, kNormal},       // on or off
        {true, true, 0, 12, 12, kNormal},        //
        {true, false, 1, 12, 12, kPushed},       //
        {true, true, 1, 12, 12, kPushed},        //
        {true, false, 2, 12, 12, kNormal},       // mixed is not on
        {true, false, 1, 12, 14, kPushed},       // pushed on or off
        {true, true, 0, 12, 14, kNormal},        //
        {true, false, 1, 12, 6, kNormal},        // other masks
        {true, true, 0, 12, 6, kPushed},         //
        {true, false, 1, 14, 12, kNormal},       //
        {true, true, 0, 1, 3, kPushed},          //
        {false, false, 0, 0, 14, kDisabledFace}, // disabled
        {false, true, 1, 12, 12, kDisabledFace}, //
    };
    for (const double scale : {1.0, 2.0})
        for (const Size& size : sizes)
            for (const State& state : states) {
                VTBlackButtonCell cell;
                cell.controlSize = size.size;
                cell.isEnabled = state.enabled;
                cell.isHighlighted = state.highlighted;
                cell.state = state.state;
                cell.showsStateBy = state.showsStateBy;
                cell.highlightsBy = state.highlightsBy;
                const QImage expected = reference(size.box, state.face, state.enabled, scale);
                EXPECT_LE(offscreen::largestDifference(drawn(cell, size.frame, scale), expected),
                          kButtonTolerance)
                    << "scale " << scale << ", size " << static_cast<int>(size.size) << ", masks "
                    << state.showsStateBy << "/" << state.highlightsBy << ", state " << state.state
                    << (state.highlighted ? ", highlighted" : "") << (state.enabled ? "" : ", disabled");
            }
}

TEST(VTBlackButtonCellDrawingTest, TheToleranceTellsTheStatesApart) {
    const QRectF box(1.5, 0.5, 97, 19);
    const QImage normal = reference(box, kNormal, true);
    EXPECT_GT(offscreen::largestDifference(normal, reference(box, kPushed, true)), 20);
    EXPECT_GT(offscreen::largestDifference(normal, reference(box, kDisabledFace, true)), 20);
    EXPECT_GT(offscreen::largestDifference(normal, reference(box, kNormal, false)), 10);
    EXPECT_GT(offscreen::largestDifference(normal, reference(box.translated(0, 0.5), kNormal, true)), 20);
}

TEST(VTBlackButtonCellDrawingTest, LinesFallOnWholePixels) {
    const QImage image = drawn(VTBlackButtonCell(), {0, 0, 100, 22});
    const QColor line(191, 194, 201);
    EXPECT_EQ(image.pixelColor(50, 0), line);
    EXPECT_EQ(image.pixelColor(50, 19), line);
    EXPECT_LT(image.pixelColor(50, 1).alpha(), 200);
    EXPECT_LT(image.pixelColor(50, 18).alpha(), 200);
}

TEST(VTBlackButtonCellDrawingTest, TheShadowFallsDownwardsAndOnlyWhenEnabled) {
    VTBlackButtonCell cell;
    const QRectF frame(10, 10, 100, 22);
    const QImage enabled = drawn(cell, frame);
    const int below = qAlpha(enabled.pixel(60, 30));
    EXPECT_GT(below, 15);
    EXPECT_GT(below, qAlpha(enabled.pixel(60, 9)));
    EXPECT_EQ(enabled.pixelColor(60, 30).red(), 0);
    cell.isEnabled = false;
    const QImage disabled = drawn(cell, frame);
    for (int y : {8, 9, 30, 31, 32})
        EXPECT_EQ(qAlpha(disabled.pixel(60, y)), 0) << y;
    EXPECT_EQ(disabled.pixelColor(60, 10), QColor(191, 194, 201)) << "the line does not dim";
    EXPECT_EQ(qAlpha(disabled.pixel(60, 20)), 51);
}

TEST(VTBlackButtonCellDrawingTest, TheSubclassesPaletteIsUsed) {
    class Solid : public VTBlackButtonCell {
    public:
        double alphaValue() const override { return 1; }
    };
    Face solid = kNormal;
    solid.alpha = 1;
    EXPECT_LE(offscreen::largestDifference(drawn(Solid(), {0, 0, 100, 22}),
                                           reference({1.5, 0.5, 97, 19}, solid, true)),
              kButtonTolerance);
}

TEST(VTBlackButtonCellDrawingTest, TheWholeButtonHasItsNaturalHeightFromTheFramesOrigin) {
    VTBlackButtonCell cell;
    cell.attributedTitle = titled("");
    ASSERT_EQ(cell.cellSize().height(), 22);
    for (const double height : {10.0, 22.0, 40.0}) {
        const QImage image = offscreen::picture(kButtonPicture, 1, [&](QPainter& painter) {
            cell.drawWithFrame({7, 5, 100, height}, painter);
        });
        EXPECT_LE(offscreen::largestDifference(image, reference({8.5, 5.5, 97, 19}, kNormal, true)),
                  kButtonTolerance)
            << height;
    }
}

TEST(VTBlackButtonCellDrawingTest, TitleAndImageGetTheirRectangles) {
    RecordingCell cell;
    cell.attributedTitle = titled("Purgel");
    cell.image = QPixmap(8, 8);
    struct Expectation {
        ImagePosition position;
        bool title;
        bool image;
    };
    for (const Expectation& expected : {Expectation{ImagePosition::NoImage, true, false},
                                        {ImagePosition::ImageOnly, false, true},
                                        {ImagePosition::Left, true, true},
                                        {ImagePosition::Right, true, true},
                                        {ImagePosition::Below, true, true},
                                        {ImagePosition::Above, true, true},
                                        {ImagePosition::Overlaps, true, true}}) {
        cell.imagePosition = expected.position;
        cell.titles.clear();
        cell.images.clear();
        drawn(cell, {10, 20, 100, 22});
        ASSERT_EQ(cell.titles.size(), expected.title ? 1U : 0U);
        ASSERT_EQ(cell.images.size(), expected.image ? 1U : 0U);
        if (expected.title) {
            EXPECT_EQ(cell.titles[0].first, "Purgel");
            EXPECT_EQ(cell.titles[0].second, QRectF(11.5, 21, 97, 19));
        }
        if (expected.image) {
            EXPECT_EQ(cell.images[0].first, cell.image.cacheKey());
            EXPECT_EQ(cell.images[0].second, QRectF(11.5, 20, 97, 19));
        }
    }
    cell.controlSize = ControlSize::Mini;
    drawn(cell, {10, 20, 100, 22});
    EXPECT_EQ(cell.titles.back().second, QRectF(11.5, 22, 97, 17));
    EXPECT_EQ(cell.images.back().second, QRectF(11.5, 21, 97, 17));
}

TEST(VTBlackButtonCellDrawingTest, TheTitleIsDrawnInItsOwnAttributesButTheThemesColour) {
    VTBlackButtonCell cell;
    Title title = titled("Purgel");
    title.foregroundColor = Qt::red;
    QRectF returned;
    EXPECT_EQ(offscreen::largestDifference(titleDrawn(cell, title, &returned),
                                           textReference("Purgel", title.font, Qt::white, kTextFrame)),
              0);
    EXPECT_EQ(returned, kTextFrame);
    EXPECT_EQ(title.foregroundColor, QColor(Qt::red)) << "the cell works on a copy";

    title.font = InterfaceFont::bold(10);
    title.alignment = Qt::AlignLeft;
    EXPECT_EQ(
        offscreen::largestDifference(titleDrawn(cell, title), textReference("Purgel", title.font, Qt::white,
                                                                            kTextFrame, Qt::AlignLeft)),
        0);

    cell.isEnabled = false;
    QColor dim(Qt::white);
    dim.setAlphaF(0.2f);
    EXPECT_EQ(
        offscreen::largestDifference(titleDrawn(cell, title, &returned),
                                     textReference("Purgel", title.font, dim, kTextFrame, Qt::AlignLeft)),
        0);
    EXPECT_EQ(returned, kTextFrame);
}

TEST(VTBlackButtonCellDrawingTest, AWholeButtonShowsItsTitle) {
    VTBlackButtonCell cell;
    cell.attributedTitle = titled("Purgel");
    const QImage expected = offscreen::picture(kButtonPicture, 1, [&](QPainter& painter) {
        drawReference(painter, {1.5, 0.5, 97, 19}, kNormal, true);
        painter.setPen(Qt::white);
        painter.setFont(cell.attributedTitle.font);
        painter.drawText(QRectF(6.5, 1, 87, 17), Qt::AlignCenter, "Purgel");
    });
    EXPECT_LE(offscreen::largestDifference(drawn(cell, {0, 0, 100, 22}), expected), kButtonTolerance);
}

TEST(VTBlackButtonCellDrawingTest, AnEmptyTitleIsNotDrawnButReturnsTheRectangle) {
    QRectF returned;
    const QImage image = titleDrawn(VTBlackButtonCell(), titled(""), &returned);
    EXPECT_EQ(returned, kTextFrame);
    EXPECT_EQ(offscreen::largestDifference(image, offscreen::picture(kButtonPicture, 1, [](QPainter&) {})),
              0);
}

TEST(VTBlackButtonCellDrawingTest, TheAlternateTitleShowsForItsMasks) {
    struct Expectation {
        unsigned showsStateBy;
        unsigned highlightsBy;
        int state;
        bool highlighted;
        bool alternate;
    };
    const Expectation expectations[] = {
        {0, 1, 0, true, true},  {0, 1, 1, true, true},   {0, 1, 1, false, false}, {0, 3, 0, true, false},
        {1, 1, 0, true, false}, {1, 3, 1, false, true},  {1, 3, 1, true, true},   {1, 3, 0, true, false},
        {1, 3, 2, true, false}, {1, 1, 1, false, false}, {0, 3, 1, false, false}, {12, 12, 1, true, false},
    };
    Title alternate = titled("Stop");
    alternate.font.setItalic(true);
    alternate.alignment = Qt::AlignRight;
    alternate.foregroundColor = Qt::green;
    const Title title = titled("Purgel");
    const QImage usual = textReference("Purgel", title.font, Qt::white, kTextFrame);
    const QImage other = textReference("Stop", alternate.font, Qt::white, kTextFrame, Qt::AlignRight);
    for (const Expectation& expected : expectations) {
        VTBlackButtonCell cell;
        cell.showsStateBy = expected.showsStateBy;
        cell.highlightsBy = expected.highlightsBy;
        cell.isHighlighted = expected.highlighted;
        cell.state = expected.state;
        EXPECT_EQ(offscreen::largestDifference(titleDrawn(cell, title), usual), 0) << "without one";
        cell.attributedAlternateTitle = alternate;
        EXPECT_EQ(offscreen::largestDifference(titleDrawn(cell, title), expected.alternate ? other : usual),
                  0)
            << expected.showsStateBy << "/" << expected.highlightsBy << ", highlighted "
            << expected.highlighted << ", state " << expected.state;
    }
}

TEST(VTBlackButtonCellDrawingTest, AnEmptyAlternateTitleLeavesNothing) {
    VTBlackButtonCell cell;
    cell.showsStateBy = 1;
    cell.highlightsBy = 3;
    cell.state = 1;
    cell.attributedAlternateTitle = titled("");
    QRectF returned;
    const QImage image = titleDrawn(cell, titled("Purgel"), &returned);
    EXPECT_EQ(offscreen::largestDifference(image, offscreen::picture(kButtonPicture, 1, [](QPainter&) {})),
              0);
    EXPECT_EQ(returned, kTextFrame);
}
