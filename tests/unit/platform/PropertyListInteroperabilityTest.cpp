#include "PropertyListSerialization.h"

#include <cstdlib>
#include <gtest/gtest.h>
#include <memory>
#include <plist/plist.h>

using namespace platform;

// Another implementation of the formats (libplist) reads what this one writes, and the other way round.

namespace {

using Node = std::unique_ptr<void, decltype(&plist_free)>;

Node foreignRead(const std::string& bytes) {
    plist_t node = nullptr;
    auto read = bytes.starts_with("bplist") ? plist_from_bin : plist_from_xml;
    read(bytes.data(), static_cast<std::uint32_t>(bytes.size()), &node);
    return {node, plist_free};
}

std::string foreignWrite(const Node& node, PropertyListFormat format) {
    char* bytes = nullptr;
    std::uint32_t length = 0;
    auto write = format == PropertyListFormat::Binary ? plist_to_bin : plist_to_xml;
    write(node.get(), &bytes, &length);
    std::string result(bytes, length);
    std::free(bytes);
    return result;
}

const PropertyList& everyKind() {
    static const PropertyList list(PropertyList::Dictionary{
        {"", ""},
        {"<key> & \"more\"", " a\tb\r\n<&> "},
        {"array", PropertyList::Array{1, "x", PropertyList::Array{}, PropertyList::Dictionary{{"a", true}}}},
        {"big", UINT64_MAX},
        {"data", PropertyList::Data{std::string("\x00\xFF\x80 A", 5)}},
        {"date", PropertyList::Date{789015845}},
        {"false", false},
        {"integers", PropertyList::Array{0, 1, -1, 255, 256, 65536, INT64_MIN, INT64_MAX}},
        {"reals", PropertyList::Array{0.1, -1.0 / 3.0, 1e300, 5e-324}},
        {"text of more than fifteen bytes", "ä€😀 and text of more than fifteen units"},
        {"uid", PropertyList::Uid{77}},
    });
    return list;
}

constexpr PropertyListFormat kFormats[] = {PropertyListFormat::Xml, PropertyListFormat::Binary};

} // namespace

TEST(PropertyListInteroperability, TheOtherReadsWhatThisWrites) {
    for (auto format : kFormats) {
        auto node = foreignRead(serializePropertyList(everyKind(), format));
        ASSERT_TRUE(node);
        EXPECT_EQ(plist_dict_get_size(node.get()), everyKind().dictionary()->size());

        auto at = [&](const char* key) { return plist_dict_get_item(node.get(), key); };
        std::uint64_t length = 0;
        EXPECT_STREQ(plist_get_string_ptr(at("<key> & \"more\""), &length), " a\tb\r\n<&> ");
        EXPECT_STREQ(plist_get_string_ptr(at("text of more than fifteen bytes"), &length),
                     "ä€😀 and text of more than fifteen units");
        EXPECT_STREQ(plist_get_string_ptr(at(""), &length), "");
        const char* data = plist_get_data_ptr(at("data"), &length);
        EXPECT_EQ(std::string(data, length), std::string("\x00\xFF\x80 A", 5));
        std::uint64_t integer = 0;
        plist_get_uint_val(plist_array_get_item(at("integers"), 6), &integer);
        EXPECT_EQ(static_cast<std::int64_t>(integer), INT64_MIN);
        plist_get_uint_val(at("big"), &integer);
        EXPECT_EQ(integer, UINT64_MAX);
        double real = 0;
        plist_get_real_val(plist_array_get_item(at("reals"), 1), &real);
        EXPECT_EQ(real, -1.0 / 3.0);
        std::int32_t seconds = 0;
        std::int32_t microseconds = 0;
        plist_get_date_val(at("date"), &seconds, &microseconds);
        EXPECT_EQ(seconds, 789015845);
    }
}

TEST(PropertyListInteroperability, WhatTheOtherWritesAgainIsTheSameList) {
    for (auto given : kFormats) {
        for (auto taken : kFormats) {
            auto node = foreignRead(serializePropertyList(everyKind(), given));
            ASSERT_TRUE(node);
            auto list = parsePropertyList(foreignWrite(node, taken));
            ASSERT_TRUE(list && list->dictionary());
            auto dictionary = *list->dictionary();
            if (given == PropertyListFormat::Xml) {
                // In XML a reference looks like a dictionary, and the other one takes it for that.
                dictionary.insert_or_assign("uid", PropertyList::Uid{77});
            }
            EXPECT_EQ(PropertyList(dictionary), everyKind());
        }
    }
}
