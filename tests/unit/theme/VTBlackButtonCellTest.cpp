#include "VTBlackButtonCell.h"

#include <gtest/gtest.h>
#include <iomanip>
#include <vector>

using theme::Colour;
using theme::Gradient;
using Kind = theme::Colour::Kind;

namespace {

// Every entry once more, told apart by kind and written as single-precision values.
Colour device(float red, float green, float blue, float alpha) {
    return {Kind::DeviceRGB, red, green, blue, alpha, {}};
}
Colour grey(float value, float alpha) {
    return device(value, value, value, alpha);
}
Colour calibrated(float value, float alpha) {
    return {Kind::CalibratedRGB, value, value, value, alpha, {}};
}
Colour calibratedGrey(float value, float alpha) {
    return {Kind::CalibratedWhite, value, value, value, alpha, {}};
}
Colour named(std::string_view name, double value) {
    return {Kind::Named, value, value, value, 1, name};
}

constexpr float kAlpha = 0.6f;
constexpr float kDisabled = 0.2f;

struct ColourEntry {
    const char* name;
    Colour (VTBlackButtonCell::*operation)() const;
    Colour expected;
};

const std::vector<ColourEntry>& colourEntries() {
    static const Colour white = named("whiteColor", 1);
    using Cell = VTBlackButtonCell;
    static const std::vector<ColourEntry> entries{
        {"sliderTrackColor", &Cell::sliderTrackColor, grey(0.318f, kAlpha)},
        {"disabledSliderTrackColor", &Cell::disabledSliderTrackColor, grey(0.318f, kDisabled)},
        {"textFillColor", &Cell::textFillColor, grey(0.224f, 0.95f)},
        {"selectionHighlightActiveColor", &Cell::selectionHighlightActiveColor,
         named("darkGrayColor", 1.0 / 3)},
        {"selectionHighlightInActiveColor", &Cell::selectionHighlightInActiveColor,
         named("darkGrayColor", 1.0 / 3)},
        {"selectionTextActiveColor", &Cell::selectionTextActiveColor, white},
        {"selectionTextInActiveColor", &Cell::selectionTextInActiveColor, white},
        {"placeholderTextColor", &Cell::placeholderTextColor, named("grayColor", 0.5)},
        {"tokenFillNormal", &Cell::tokenFillNormal, device(0.249f, 0.261f, 0.288f, 1)},
        {"tokenFillHighlight", &Cell::tokenFillHighlight, device(0.449f, 0.461f, 0.488f, 1)},
        {"tokenBorder", &Cell::tokenBorder, white},
        {"tokenTextColor", &Cell::tokenTextColor, white},
        {"cellHighlightColor", &Cell::cellHighlightColor, device(0.549f, 0.561f, 0.588f, 1)},
        {"cellSelectedTextColor", &Cell::cellSelectedTextColor, named("blackColor", 0)},
        {"cellEditingFillColor", &Cell::cellEditingFillColor, grey(0.141f, kAlpha)},
        {"tableBackgroundColor", &Cell::tableBackgroundColor, calibrated(0, 0)},
        {"tableHeaderCellBorderColor", &Cell::tableHeaderCellBorderColor, device(0.349f, 0.361f, 0.388f, 1)},
        {"normalSolidFill", &Cell::normalSolidFill, grey(0.141f, kAlpha)},
        {"disabledNormalSolidFill", &Cell::disabledNormalSolidFill, grey(0.141f, kDisabled)},
        {"pushedSolidFill", &Cell::pushedSolidFill, grey(0.941f, kAlpha)},
        {"highlightSolidFill", &Cell::highlightSolidFill, grey(0.941f, kAlpha)},
        {"strokeColor", &Cell::strokeColor, device(0.749f, 0.761f, 0.788f, 1)},
        {"disabledStrokeColor", &Cell::disabledStrokeColor, device(0.749f, 0.761f, 0.788f, kDisabled)},
        {"darkStrokeColor", &Cell::darkStrokeColor, grey(0.141f, 0.5f)},
        {"textColor", &Cell::textColor, white},
        {"disabledTextColor", &Cell::disabledTextColor, grey(1, kDisabled)},
    };
    return entries;
}

Gradient dark(float alpha) {
    return {device(0.251f, 0.251f, 0.255f, alpha), grey(0.118f, alpha)};
}
Gradient light(float alpha) {
    return {device(0.451f, 0.451f, 0.455f, alpha), grey(0.318f, alpha)};
}
Gradient darkComplex(float alpha) {
    return Gradient({{device(0.324f, 0.331f, 0.347f, alpha), 0.0},
                     {device(0.245f, 0.253f, 0.269f, alpha), 0.5},
                     {device(0.206f, 0.214f, 0.233f, alpha), 0.5},
                     {device(0.139f, 0.147f, 0.167f, alpha), 1.0}});
}
Gradient lightComplex(float alpha) {
    return Gradient({{device(0.524f, 0.531f, 0.547f, alpha), 0.0},
                     {device(0.445f, 0.453f, 0.469f, alpha), 0.5},
                     {device(0.406f, 0.414f, 0.433f, alpha), 0.5},
                     {device(0.339f, 0.347f, 0.367f, alpha), 1.0}});
}

struct GradientEntry {
    const char* name;
    Gradient (VTBlackButtonCell::*operation)() const;
    Gradient expected;
};

const std::vector<GradientEntry>& gradientEntries() {
    using Cell = VTBlackButtonCell;
    static const std::vector<GradientEntry> entries{
        {"knobColor", &Cell::knobColor, dark(1)},
        {"highlightKnobColor", &Cell::highlightKnobColor, light(1)},
        {"disabledKnobColor", &Cell::disabledKnobColor, dark(1)},
        {"progressTrackGradient",
         &Cell::progressTrackGradient,
         {calibrated(0.125f, 1), calibrated(0.208f, 1)}},
        {"tableHeaderCellNormalFill", &Cell::tableHeaderCellNormalFill, dark(1)},
        {"tableHeaderCellPushedFill", &Cell::tableHeaderCellPushedFill, light(1)},
        {"tableHeaderCellSelectedFill",
         &Cell::tableHeaderCellSelectedFill,
         {device(0.651f, 0.651f, 0.655f, 1), grey(0.518f, 1)}},
        {"normalGradient", &Cell::normalGradient, dark(kAlpha)},
        {"disabledNormalGradient", &Cell::disabledNormalGradient, dark(kDisabled)},
        {"pushedGradient", &Cell::pushedGradient, light(kAlpha)},
        {"highlightGradient", &Cell::highlightGradient, light(kAlpha)},
        {"normalComplexGradient", &Cell::normalComplexGradient, darkComplex(kAlpha)},
        {"disabledNormalComplexGradient", &Cell::disabledNormalComplexGradient, darkComplex(kDisabled)},
        {"pushedComplexGradient", &Cell::pushedComplexGradient, lightComplex(kAlpha)},
        {"highlightComplexGradient", &Cell::highlightComplexGradient, lightComplex(kAlpha)},
    };
    return entries;
}

class ThinCell : public VTBlackButtonCell {
public:
    double alphaValue() const override { return 0.25; }
};

class FaintCell : public VTBlackButtonCell {
public:
    double disabledAlphaValue() const override { return 0.125; }
};

// The value with another transparency where it had this one.
Colour withAlpha(Colour colour, double from, double to) {
    if (colour.kind != Kind::Named && colour.alpha == from)
        colour.alpha = to;
    return colour;
}

void expectEveryEntry(const VTBlackButtonCell& cell, double from, double to) {
    for (const ColourEntry& entry : colourEntries())
        EXPECT_EQ((cell.*entry.operation)(), withAlpha(entry.expected, from, to)) << entry.name;
    for (const GradientEntry& entry : gradientEntries()) {
        Gradient expected = entry.expected;
        for (Gradient::Stop& stop : expected.stops)
            stop.colour = withAlpha(stop.colour, from, to);
        EXPECT_EQ((cell.*entry.operation)(), expected) << entry.name;
    }
}

} // namespace

namespace theme {
// So that a failing comparison shows both values.
static std::ostream& operator<<(std::ostream& stream, const Colour& colour) {
    return stream << std::setprecision(17) << "kind " << static_cast<int>(colour.kind) << " (" << colour.red
                  << ", " << colour.green << ", " << colour.blue << ", " << colour.alpha << ") "
                  << colour.name;
}
static std::ostream& operator<<(std::ostream& stream, const Gradient& gradient) {
    for (const Gradient::Stop& stop : gradient.stops)
        stream << stop.colour << " at " << stop.location << "; ";
    return stream;
}
} // namespace theme

TEST(VTBlackButtonCellTest, EveryEntryHasItsValueAndKind) {
    const VTBlackButtonCell cell;
    expectEveryEntry(cell, 0, 0);
    EXPECT_EQ(cell.alphaValue(), double{kAlpha});
    EXPECT_EQ(cell.disabledAlphaValue(), double{kDisabled});
    EXPECT_EQ(cell.dropShadow(), (theme::Shadow{named("blackColor", 0), 2, 0, -1}));
    EXPECT_EQ(cell.focusRing(), (theme::Shadow{named("whiteColor", 1), 3, 0, 0}));
}

TEST(VTBlackButtonCellTest, ConstantsHaveSinglePrecision) {
    const VTBlackButtonCell cell;
    EXPECT_EQ(cell.alphaValue(), 0.60000002384185791);
    EXPECT_NE(cell.alphaValue(), 0.6);
    EXPECT_EQ(cell.sliderTrackColor().red, 0.31799998879432678);
}

TEST(VTBlackButtonCellTest, AlternatingRowColours) {
    const auto colours = VTBlackButtonCell().cellAlternatingRowColors();
    EXPECT_EQ(colours[0], calibratedGrey(0.16f, 0.86f));
    EXPECT_EQ(colours[1], calibratedGrey(0.15f, 0.8f));
    EXPECT_NEAR(colours[0].red - colours[1].red, 0.01, 1e-7);
    EXPECT_NEAR(colours[0].alpha - colours[1].alpha, 0.06, 1e-7);
}

TEST(VTBlackButtonCellTest, StateVariantsEqualTheirOriginals) {
    const VTBlackButtonCell cell;
    EXPECT_EQ(cell.disabledKnobColor(), cell.knobColor());
    EXPECT_EQ(cell.highlightGradient(), cell.pushedGradient());
    EXPECT_EQ(cell.highlightComplexGradient(), cell.pushedComplexGradient());
    EXPECT_EQ(cell.highlightSolidFill(), cell.pushedSolidFill());
}

TEST(VTBlackButtonCellTest, ASubclassChangesEveryEntryThatUsesItsTransparency) {
    expectEveryEntry(ThinCell(), kAlpha, 0.25);
    expectEveryEntry(FaintCell(), kDisabled, 0.125);
}

TEST(VTBlackButtonCellTest, TheTableBackgroundShowsWhatLiesBehind) {
    EXPECT_EQ(VTBlackButtonCell().tableBackgroundColor().toQColor().alpha(), 0);
}
