#include "PropertyList.h"

#include <gtest/gtest.h>

using platform::PropertyList;

TEST(PropertyList, AccessorsAnswerForTheirKindOnly) {
    PropertyList text("abc");
    EXPECT_EQ(*text.string(), "abc");
    EXPECT_EQ(text.integer(), nullptr);
    EXPECT_EQ(text.boolean(), nullptr);
    EXPECT_EQ(text.real(), nullptr);
    EXPECT_EQ(text.array(), nullptr);
    EXPECT_EQ(text.dictionary(), nullptr);

    EXPECT_EQ(*PropertyList(true).boolean(), true);
    EXPECT_EQ(PropertyList(true).integer(), nullptr);
    EXPECT_EQ(*PropertyList(7).integer(), 7);
    EXPECT_EQ(PropertyList(7).boolean(), nullptr);
    EXPECT_EQ(PropertyList(7).real(), nullptr);
    EXPECT_EQ(*PropertyList(1.5).real(), 1.5);
    EXPECT_EQ(PropertyList(std::uint64_t{7}).integer(), nullptr);
    EXPECT_EQ(PropertyList(PropertyList::Array{1, 2}).array()->size(), 2U);
    EXPECT_EQ(PropertyList(PropertyList::Dictionary{{"a", 1}}).dictionary()->size(), 1U);
}

TEST(PropertyList, KindsAreNotEqualToEachOther) {
    EXPECT_NE(PropertyList(1), PropertyList(true));
    EXPECT_NE(PropertyList(1), PropertyList(1.0));
    EXPECT_NE(PropertyList(1), PropertyList(std::uint64_t{1}));
    EXPECT_NE(PropertyList("a"), PropertyList(PropertyList::Data{"a"}));
    EXPECT_NE(PropertyList(1.0), PropertyList(PropertyList::Date{1.0}));
    EXPECT_EQ(PropertyList("a"), PropertyList(std::string("a")));
}

TEST(PropertyList, ATakenValueIsTheWholeValue) {
    PropertyList list(PropertyList::Dictionary{{"a", PropertyList::Array{1, "x"}}});
    auto dictionary = std::get<PropertyList::Dictionary>(std::move(list).takeValue());
    EXPECT_EQ(dictionary, (PropertyList::Dictionary{{"a", PropertyList::Array{1, "x"}}}));
}

TEST(PropertyList, StringForKeyIsAbsentForEverythingButText) {
    PropertyList::Dictionary dictionary{
        {"text", "abc"}, {"empty", ""}, {"number", 1}, {"data", PropertyList::Data{"x"}}};
    EXPECT_EQ(platform::stringForKey(dictionary, "text"), "abc");
    EXPECT_EQ(platform::stringForKey(dictionary, "empty"), "");
    EXPECT_EQ(platform::stringForKey(dictionary, "number"), std::nullopt);
    EXPECT_EQ(platform::stringForKey(dictionary, "data"), std::nullopt);
    EXPECT_EQ(platform::stringForKey(dictionary, "missing"), std::nullopt);
}
