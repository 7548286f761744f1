#include "ScrollerLayout.h"

#include <gtest/gtest.h>
#include <limits>

namespace {

using Part = ScrollerLayout::Part;
using UsableParts = ScrollerLayout::UsableParts;

constexpr int kThickness = 15;

// A bar that shows 60 of 160, scrolled to 40.
ScrollerLayout vertical(int length, bool arrowsTogether = true) {
    return {{kThickness, length}, arrowsTogether, 0, 100, 60, 40};
}
ScrollerLayout horizontal(int length, bool arrowsTogether = true) {
    ScrollerLayout layout = vertical(length, arrowsTogether);
    layout.size.transpose();
    return layout;
}

UsableParts usable(int thickness, int length) {
    ScrollerLayout layout = vertical(length);
    layout.size.setWidth(thickness);
    layout.pageStep = 1; // the shortest knob
    return layout.usableParts();
}

} // namespace

TEST(ScrollerLayoutTest, HasThePlatformsNumbers) {
    EXPECT_EQ(static_cast<int>(Part::Knob), 2);
    EXPECT_EQ(static_cast<int>(Part::DecrementLine), 4);
    EXPECT_EQ(static_cast<int>(Part::IncrementLine), 5);
}

TEST(ScrollerLayoutTest, TheLongerSideSaysWhichWayItRuns) {
    EXPECT_FALSE(vertical(100).isHorizontal());
    EXPECT_TRUE(horizontal(100).isHorizontal());
    EXPECT_FALSE((ScrollerLayout{{20, 20}}).isHorizontal()) << "not wider than tall";
    EXPECT_TRUE((ScrollerLayout{{21, 20}}).isHorizontal());
    EXPECT_EQ(horizontal(100).length(), 100);
    EXPECT_EQ(horizontal(100).thickness(), 15);
    EXPECT_EQ(vertical(100).length(), 100);
    EXPECT_EQ(vertical(100).thickness(), 15);
}

TEST(ScrollerLayoutTest, ArrowsTogetherAreAtTheFarEnd) {
    EXPECT_EQ(vertical(200).rectForPart(Part::DecrementLine), QRect(0, 170, 15, 15));
    EXPECT_EQ(vertical(200).rectForPart(Part::IncrementLine), QRect(0, 185, 15, 15));
    EXPECT_EQ(horizontal(200).rectForPart(Part::DecrementLine), QRect(170, 0, 15, 15));
    EXPECT_EQ(horizontal(200).rectForPart(Part::IncrementLine), QRect(185, 0, 15, 15));
}

TEST(ScrollerLayoutTest, OtherwiseThereIsOneAtEachEnd) {
    EXPECT_EQ(vertical(200, false).rectForPart(Part::DecrementLine), QRect(0, 0, 15, 15));
    EXPECT_EQ(vertical(200, false).rectForPart(Part::IncrementLine), QRect(0, 185, 15, 15));
    EXPECT_EQ(horizontal(200, false).rectForPart(Part::DecrementLine), QRect(0, 0, 15, 15));
    EXPECT_EQ(horizontal(200, false).rectForPart(Part::IncrementLine), QRect(185, 0, 15, 15));
}

TEST(ScrollerLayoutTest, TheKnobIsToItsSlotAsThePageIsToEverything) {
    EXPECT_EQ(vertical(200).rectForPart(Part::KnobSlot), QRect(0, 4, 15, 162));
    EXPECT_EQ(vertical(200).rectForPart(Part::Knob), QRect(0, 4 + 41, 15, 60));
    EXPECT_EQ(vertical(200, false).rectForPart(Part::KnobSlot), QRect(0, 19, 15, 162));
    EXPECT_EQ(vertical(200, false).rectForPart(Part::Knob), QRect(0, 19 + 41, 15, 60));
    EXPECT_EQ(horizontal(200).rectForPart(Part::Knob), QRect(6 + 41, 0, 60, 15)) << "the cap reaches further";
    EXPECT_EQ(horizontal(200, false).rectForPart(Part::Knob), QRect(19 + 41, 0, 60, 15));
}

TEST(ScrollerLayoutTest, TheKnobReachesBothEndsOfItsSlot) {
    for (const bool together : {true, false})
        for (ScrollerLayout layout : {vertical(200, together), horizontal(200, together)}) {
            layout.position = layout.minimum;
            EXPECT_EQ(layout.rectForPart(Part::Knob).topLeft(), layout.rectForPart(Part::KnobSlot).topLeft());
            layout.position = layout.maximum;
            EXPECT_EQ(layout.rectForPart(Part::Knob).bottomRight(),
                      layout.rectForPart(Part::KnobSlot).bottomRight());
        }
}

TEST(ScrollerLayoutTest, TheKnobHasAShortestAndALongestLength) {
    ScrollerLayout layout = vertical(200);
    layout.maximum = 1'000'000;
    EXPECT_EQ(layout.rectForPart(Part::Knob).height(), 30);
    layout.maximum = 0;
    layout.position = 0;
    EXPECT_EQ(layout.rectForPart(Part::Knob), layout.rectForPart(Part::KnobSlot)) << "nothing to scroll";
    layout.pageStep = 0;
    EXPECT_EQ(layout.rectForPart(Part::Knob), layout.rectForPart(Part::KnobSlot));
}

TEST(ScrollerLayoutTest, TheLargestRangeDoesNotOverflow) {
    ScrollerLayout layout = vertical(200);
    layout.minimum = std::numeric_limits<int>::min();
    layout.maximum = std::numeric_limits<int>::max();
    layout.pageStep = std::numeric_limits<int>::max();
    layout.position = 0;
    const QRect knob = layout.rectForPart(Part::Knob);
    EXPECT_NEAR(knob.height(), 54, 1); // a third
    EXPECT_NEAR(knob.top(), 4 + 54, 1);
}

TEST(ScrollerLayoutTest, ThePagesAreWhatTheKnobLeavesOfTheTrack) {
    EXPECT_EQ(vertical(200).rectForPart(Part::DecrementPage), QRect(0, 0, 15, 45));
    EXPECT_EQ(vertical(200).rectForPart(Part::IncrementPage), QRect(0, 105, 15, 65));
    EXPECT_EQ(horizontal(200, false).rectForPart(Part::DecrementPage), QRect(15, 0, 45, 15));
    EXPECT_EQ(horizontal(200, false).rectForPart(Part::IncrementPage), QRect(120, 0, 65, 15));
    EXPECT_TRUE(vertical(200).rectForPart(Part::None).isEmpty());
}

TEST(ScrollerLayoutTest, PartsAreShownAsTheLengthAllows) {
    // Two arrows and half a thickness, and a knob of two thicknesses.
    EXPECT_EQ(usable(16, 72), UsableParts::All);
    EXPECT_EQ(usable(16, 71), UsableParts::OnlyArrows);
    EXPECT_EQ(usable(16, 40), UsableParts::OnlyArrows);
    EXPECT_EQ(usable(16, 39), UsableParts::None);
    // With half pixels.
    EXPECT_EQ(usable(15, 68), UsableParts::All);
    EXPECT_EQ(usable(15, 67), UsableParts::OnlyArrows);
    EXPECT_EQ(usable(15, 38), UsableParts::OnlyArrows);
    EXPECT_EQ(usable(15, 37), UsableParts::None);
    EXPECT_EQ(horizontal(67).usableParts(), UsableParts::OnlyArrows);
    EXPECT_EQ(horizontal(68).usableParts(), UsableParts::All);
    EXPECT_EQ(horizontal(37, false).usableParts(), UsableParts::None);
}

TEST(ScrollerLayoutTest, ALongKnobNeverDrivesItselfOut) {
    for (const bool together : {true, false})
        for (int length = 68; length < 300; ++length) {
            ScrollerLayout layout = vertical(length, together);
            layout.maximum = 1;
            layout.position = 1;
            layout.pageStep = 10'000;
            EXPECT_EQ(layout.usableParts(), UsableParts::All) << length;
            EXPECT_FALSE(layout.rectForPart(Part::Knob).intersects(layout.rectForPart(Part::DecrementLine)));
            EXPECT_FALSE(layout.rectForPart(Part::Knob).intersects(layout.rectForPart(Part::IncrementLine)));
        }
}

TEST(ScrollerLayoutTest, KnowsTheShortestBarWithAllParts) {
    for (const int thickness : {15, 16, 19, 30}) {
        EXPECT_EQ(usable(thickness, ScrollerLayout::minimumLength(thickness)), UsableParts::All);
        EXPECT_NE(usable(thickness, ScrollerLayout::minimumLength(thickness) - 1), UsableParts::All);
    }
}
