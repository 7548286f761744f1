#include "VTLaunchApp.h"

#include <gtest/gtest.h>
#include <thread>

namespace {

std::weak_ordering compareNames(const char* a, const char* b) {
    VTLaunchApp left;
    VTLaunchApp right;
    left.setTitle(a);
    right.setTitle(b);
    return left.nameCompare(right);
}

} // namespace

TEST(VTLaunchApp, StartsEmpty) {
    VTLaunchApp app;
    EXPECT_EQ(app.title(), std::nullopt);
    EXPECT_EQ(app.description(), std::nullopt);
    EXPECT_EQ(app.groupName(), std::nullopt);
    EXPECT_EQ(app.bundleID(), std::nullopt);
    EXPECT_EQ(app.appPath(), std::nullopt);
    EXPECT_EQ(app.icon(), nullptr);
    EXPECT_FALSE(app.hasDuplicate());
}

TEST(VTLaunchApp, TitlesThatDifferInCaseAreTheSame) {
    EXPECT_EQ(compareNames("Purgel", "pURGEL"), std::weak_ordering::equivalent);
    EXPECT_EQ(compareNames("ÄÖÜ", "äöü"), std::weak_ordering::equivalent);
    EXPECT_EQ(compareNames("ΣΙΓΜΑ", "σιγμα"), std::weak_ordering::equivalent);
    EXPECT_EQ(compareNames("Straße", "STRASSE"), std::weak_ordering::equivalent);
    EXPECT_EQ(compareNames("\u00C9", "e\u0301"), std::weak_ordering::equivalent); // composed or not
}

TEST(VTLaunchApp, TitlesAreOrderedWithoutLocaleOrNumbers) {
    EXPECT_EQ(compareNames("a", "B"), std::weak_ordering::less);
    EXPECT_EQ(compareNames("Tool 10", "tool 9"), std::weak_ordering::less);
    EXPECT_EQ(compareNames("z", "ä"), std::weak_ordering::greater); // an a with a mark
    EXPECT_EQ(compareNames("Tool", "Tool 2"), std::weak_ordering::less);
}

TEST(VTLaunchApp, GroupsCompareAlone) {
    VTLaunchApp a;
    VTLaunchApp b;
    a.setTitle("Z");
    a.setGroupName("Kelvandor");
    b.setTitle("A");
    b.setGroupName("KELVANDOR");
    EXPECT_EQ(a.groupCompare(b), std::weak_ordering::equivalent);
    b.setGroupName("Ostendel");
    EXPECT_EQ(a.groupCompare(b), std::weak_ordering::less);
}

TEST(VTLaunchApp, ToolsWithoutAGroupComeLast) {
    VTLaunchApp grouped;
    VTLaunchApp plain;
    VTLaunchApp other;
    grouped.setGroupName("Zz");
    EXPECT_EQ(grouped.groupCompare(plain), std::weak_ordering::less);
    EXPECT_EQ(plain.groupCompare(grouped), std::weak_ordering::greater);
    EXPECT_EQ(plain.groupCompare(other), std::weak_ordering::equivalent);
}

// For the thread sanitizer, and for torn values.
TEST(VTLaunchApp, FieldsMayBeSetWhileTheyAreRead) {
    VTLaunchApp app;
    const std::string one(200, '1');
    const std::string two(200, '2');
    app.setTitle(one);
    std::jthread writer([&](const std::stop_token& stop) {
        for (bool first = true; !stop.stop_requested(); first = !first) {
            app.setTitle(first ? one : two);
            app.setHasDuplicate(first);
        }
    });
    for (int i = 0; i < 10'000; ++i) {
        auto title = app.title();
        ASSERT_TRUE(title == one || title == two);
        (void)app.hasDuplicate();
    }
}
