#include "UserDefaults.h"

#include "FakeUserDefaults.h"

#include <gtest/gtest.h>
#include <limits>

using platform::PropertyList;

namespace {

class UserDefaultsTest : public testing::Test {
protected:
    std::int64_t integer(const PropertyList& value) {
        defaults_.setObject(value, "key");
        return defaults_.integerForKey("key");
    }
    std::optional<std::vector<std::string>> texts(const PropertyList& value) {
        defaults_.setObject(value, "key");
        return defaults_.stringArrayForKey("key");
    }

    FakeUserDefaults defaults_;
};

} // namespace

TEST_F(UserDefaultsTest, NumbersAndBooleansAreIntegers) {
    EXPECT_EQ(integer(3), 3);
    EXPECT_EQ(integer(-3), -3);
    EXPECT_EQ(integer(std::numeric_limits<std::int64_t>::min()), std::numeric_limits<std::int64_t>::min());
    EXPECT_EQ(integer(true), 1);
    EXPECT_EQ(integer(false), 0);
    EXPECT_EQ(integer(2.9), 2);
    EXPECT_EQ(integer(-2.9), -2);
}

TEST_F(UserDefaultsTest, TextIsAnIntegerAsFarAsItReadsAsOne) {
    EXPECT_EQ(integer("12"), 12);
    EXPECT_EQ(integer(" -12 apples"), -12);
    EXPECT_EQ(integer("1.9"), 1);
    EXPECT_EQ(integer("yes"), 0);
    EXPECT_EQ(integer(""), 0);
}

TEST_F(UserDefaultsTest, AnythingElseIsZero) {
    EXPECT_EQ(defaults_.integerForKey("missing"), 0);
    EXPECT_EQ(integer(PropertyList::Array{1}), 0);
    EXPECT_EQ(integer(PropertyList::Dictionary{{"a", 1}}), 0);
    EXPECT_EQ(integer(PropertyList::Data{"1"}), 0);
    EXPECT_EQ(integer(PropertyList::Date{1}), 0);
    EXPECT_EQ(integer(1e300), 0);
    EXPECT_EQ(integer(std::numeric_limits<double>::quiet_NaN()), 0);
    EXPECT_EQ(integer(std::numeric_limits<double>::infinity()), 0);
}

TEST_F(UserDefaultsTest, AnArrayOfTextsIsAStringArray) {
    using Texts = std::vector<std::string>;
    EXPECT_EQ(texts(PropertyList::Array{"a", "b", "a"}), (Texts{"a", "b", "a"}));
    EXPECT_EQ(texts(PropertyList::Array{}), Texts{});
}

TEST_F(UserDefaultsTest, AStringArrayThatHoldsAnythingElseIsAbsent) {
    EXPECT_EQ(defaults_.stringArrayForKey("missing"), std::nullopt);
    EXPECT_EQ(texts(PropertyList::Array{"a", 1}), std::nullopt);
    EXPECT_EQ(texts(PropertyList::Array{PropertyList::Array{"a"}}), std::nullopt);
    EXPECT_EQ(texts("a"), std::nullopt);
    EXPECT_EQ(texts(1), std::nullopt);
    EXPECT_EQ(texts(PropertyList::Dictionary{{"a", "b"}}), std::nullopt);
}
