#include "VTBlackScroller.h"

#include <gtest/gtest.h>

using theme::Colour;
using theme::Gradient;

namespace {

Colour device(float red, float green, float blue, double alpha) {
    return {Colour::Kind::DeviceRGB, red, green, blue, alpha, {}};
}
Colour grey(float value, double alpha) {
    return device(value, value, value, alpha);
}

class ThinScroller : public VTBlackScroller {
public:
    double scrollerAlphaValue() const override { return 0.125; }
};

void expectArrows(const VTBlackScroller& scroller, double alpha) {
    EXPECT_EQ(scroller.scrollerArrowNormalGradient(),
              Gradient(device(0.251f, 0.251f, 0.255f, alpha), grey(0.118f, alpha)));
    EXPECT_EQ(scroller.scrollerArrowPushedGradient(),
              Gradient(device(0.451f, 0.451f, 0.455f, alpha), grey(0.318f, alpha)));
}

} // namespace

TEST(VTBlackScrollerTest, EveryEntryHasItsValueAndKind) {
    const VTBlackScroller scroller;
    EXPECT_EQ(scroller.scrollerAlphaValue(), 0.5);
    EXPECT_EQ(scroller.arrowStroke(), grey(0.8f, 1));
    EXPECT_EQ(scroller.arrowStroke().red, 0.80000001192092896);
    EXPECT_EQ(scroller.scrollerStroke(), grey(0.259f, 1));
    EXPECT_EQ(scroller.scrollerKnobGradient(),
              Gradient(device(0.491f, 0.498f, 0.522f, 1), device(0.275f, 0.275f, 0.287f, 1)));
    EXPECT_EQ(scroller.scrollerTrackGradient(), Gradient(grey(0.137f, 0.75), grey(0.278f, 0.75)));
    expectArrows(scroller, 0.5);
}

TEST(VTBlackScrollerTest, ASubclassChangesTheTranslucentEntries) {
    const ThinScroller scroller;
    expectArrows(scroller, 0.125);
    EXPECT_EQ(scroller.scrollerTrackGradient(), Gradient(grey(0.137f, 0.75), grey(0.278f, 0.75)));
}
