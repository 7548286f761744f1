#include "PropertyListSerialization.h"

#include "Exception.h"
#include "TestSandbox.h"

#include <clocale>
#include <cmath>
#include <filesystem>
#include <gtest/gtest.h>
#include <limits>
#include <sys/stat.h>

using namespace platform;

namespace {

constexpr PropertyListFormat kFormats[] = {PropertyListFormat::Xml, PropertyListFormat::Binary};

void expectRoundTrip(const PropertyList& list) {
    for (auto format : kFormats) {
        auto bytes = serializePropertyList(list, format);
        EXPECT_EQ(parsePropertyList(bytes), list) << bytes.substr(0, 2000);
    }
}

void expectRefusal(const PropertyList& list, PropertyListFormat format) {
    try {
        serializePropertyList(list, format);
        ADD_FAILURE() << "was written";
    } catch (const Exception& exception) {
        EXPECT_EQ(exception.name(), "NSInvalidArgumentException");
        EXPECT_FALSE(exception.reason().empty());
    }
}

void expectRefusal(const PropertyList& list) {
    for (auto format : kFormats) {
        expectRefusal(list, format);
    }
}

PropertyList nested(std::size_t depth) {
    PropertyList list(true);
    for (std::size_t i = 1; i < depth; ++i) {
        PropertyList::Array array;
        array.push_back(std::move(list));
        list = std::move(array);
    }
    return list;
}

PropertyList::Array copies(const PropertyList& value, std::size_t count) {
    return PropertyList::Array(count, value);
}

} // namespace

TEST(PropertyListSerialization, XmlIsLaidOutAsOnTheFirstPlatform) {
    PropertyList list(
        PropertyList::Dictionary{{"a & b", "<text>"},
                                 {"array", PropertyList::Array{1, -2, UINT64_MAX, 1.5, true, false}},
                                 {"data", PropertyList::Data{std::string(52, 'A')}},
                                 {"date", PropertyList::Date{0}},
                                 {"empty", PropertyList::Array{}},
                                 {"none", PropertyList::Dictionary{}},
                                 {"uid", PropertyList::Uid{3}}});
    EXPECT_EQ(serializePropertyList(list, PropertyListFormat::Xml), R"(<?xml version="1.0" encoding="UTF-8"?>
<!DOCTYPE plist PUBLIC "-//Apple//DTD PLIST 1.0//EN" "http://www.apple.com/DTDs/PropertyList-1.0.dtd">
<plist version="1.0">
<dict>
	<key>a &amp; b</key>
	<string>&lt;text&gt;</string>
	<key>array</key>
	<array>
		<integer>1</integer>
		<integer>-2</integer>
		<integer>18446744073709551615</integer>
		<real>1.5</real>
		<true/>
		<false/>
	</array>
	<key>data</key>
	<data>
	QUFBQUFBQUFBQUFBQUFBQUFBQUFBQUFBQUFBQUFBQUFBQUFBQUFBQUFBQUFBQUFBQUFB
	QQ==
	</data>
	<key>date</key>
	<date>2001-01-01T00:00:00Z</date>
	<key>empty</key>
	<array/>
	<key>none</key>
	<dict/>
	<key>uid</key>
	<dict>
		<key>CF$UID</key>
		<integer>3</integer>
	</dict>
</dict>
</plist>
)");
}

TEST(PropertyListSerialization, TextSurvives) {
    for (const char* text : {"", " ", "  two  ", "\n", "\r", "a\r\nb\rc", "\t", "<>&\"'", "&amp;", "]]>",
                             "<![CDATA[x]]>", "<!-- x -->", "ä€😀", "\x7F\u0085", "\u00A0\u2028\uFEFF\uFFFD",
                             "A\u0308", "exactly fourteen", "exactly fiftee"}) {
        expectRoundTrip(text);
        expectRoundTrip(PropertyList::Dictionary{{text, text}});
    }
    expectRoundTrip(std::string(100'000, 'x'));
    std::string wide;
    for (int i = 0; i < 70'000; ++i) {
        wide += "ä";
    }
    expectRoundTrip(wide);
}

TEST(PropertyListSerialization, CharactersUnknownToXmlAreForBinaryOnly) {
    for (const char* text : {"\x01\x1F", "\uFFFE", "\uFFFF"}) {
        for (const PropertyList& list :
             {PropertyList(text), PropertyList(PropertyList::Dictionary{{text, 1}})}) {
            EXPECT_EQ(parsePropertyList(serializePropertyList(list, PropertyListFormat::Binary)), list);
            expectRefusal(list, PropertyListFormat::Xml);
        }
    }
}

TEST(PropertyListSerialization, NumbersSurvive) {
    for (std::int64_t value :
         {INT64_MIN, INT64_MIN + 1, std::int64_t{-4294967297}, std::int64_t{-1}, std::int64_t{0},
          std::int64_t{1}, std::int64_t{255}, std::int64_t{256}, std::int64_t{65535}, std::int64_t{65536},
          std::int64_t{4294967295}, std::int64_t{4294967296}, INT64_MAX}) {
        expectRoundTrip(value);
    }
    expectRoundTrip(std::uint64_t{1} << 63);
    expectRoundTrip(UINT64_MAX);
    for (double value :
         {0.0, 1.0, 0.1, 1.0 / 3.0, -123456.789, 1e300, 5e-324, std::numeric_limits<double>::max(),
          std::numeric_limits<double>::infinity(), -std::numeric_limits<double>::infinity()}) {
        expectRoundTrip(value);
    }
    EXPECT_TRUE(
        std::signbit(*parsePropertyList(serializePropertyList(-0.0, PropertyListFormat::Binary))->real()));
    EXPECT_EQ(parsePropertyList(serializePropertyList(-0.0, PropertyListFormat::Xml)), PropertyList(0.0));
    for (auto format : kFormats) {
        auto list = parsePropertyList(serializePropertyList(std::nan(""), format));
        ASSERT_TRUE(list && list->real());
        EXPECT_TRUE(std::isnan(*list->real()));
    }
    for (std::uint64_t value :
         {std::uint64_t{0}, std::uint64_t{255}, std::uint64_t{65536}, std::uint64_t{UINT32_MAX}}) {
        expectRoundTrip(PropertyList::Uid{value});
    }
    expectRefusal(PropertyList::Uid{std::uint64_t{UINT32_MAX} + 1});
}

TEST(PropertyListSerialization, SmallUnsignedNumbersComeBackSigned) {
    for (auto format : kFormats) {
        EXPECT_EQ(parsePropertyList(serializePropertyList(std::uint64_t{5}, format)), PropertyList(5));
    }
}

TEST(PropertyListSerialization, DatesSurviveToTheSecondOrWhole) {
    for (double seconds : {0.0, 1.0, -1.0, 789015845.0, -978307200.0, 3316976896.0, -31588531200.0,
                           -31588531201.0, -63113904000.0, -63145526400.0, 252423993599.0}) {
        expectRoundTrip(PropertyList::Date{seconds});
    }
    PropertyList fraction(PropertyList::Date{789015845.123456789});
    EXPECT_EQ(parsePropertyList(serializePropertyList(fraction, PropertyListFormat::Binary)), fraction);
    EXPECT_EQ(parsePropertyList(serializePropertyList(fraction, PropertyListFormat::Xml)),
              PropertyList(PropertyList::Date{789015845}));
    EXPECT_EQ(parsePropertyList(serializePropertyList(PropertyList::Date{-0.001}, PropertyListFormat::Xml)),
              PropertyList(PropertyList::Date{-1}));
    for (double seconds : {252423993600.0, -63145526400.5, 1e300, -1e300}) {
        expectRefusal(PropertyList::Date{seconds}, PropertyListFormat::Xml);
    }
    for (double seconds : {-0.5, -63114076800.25, 1e300}) {
        PropertyList list(PropertyList::Date{seconds});
        EXPECT_EQ(parsePropertyList(serializePropertyList(list, PropertyListFormat::Binary)), list);
    }
    expectRefusal(PropertyList::Date{std::nan("")});
    expectRefusal(PropertyList::Date{std::numeric_limits<double>::infinity()});
}

TEST(PropertyListSerialization, EveryOtherKindSurvives) {
    expectRoundTrip(true);
    expectRoundTrip(false);
    for (std::size_t length : {0U, 1U, 2U, 3U, 14U, 15U, 16U, 51U, 52U, 300U, 70'000U}) {
        std::string bytes;
        for (std::size_t i = 0; i < length; ++i) {
            bytes += static_cast<char>(i * 7);
        }
        expectRoundTrip(PropertyList::Data{bytes});
    }
    for (std::size_t count : {0U, 1U, 14U, 15U, 16U, 255U, 256U, 257U, 4'999U}) {
        expectRoundTrip(copies("x", count));
        expectRoundTrip(copies(PropertyList::Dictionary{{"a", 1}, {"b", PropertyList::Array{}}}, count / 4));
        PropertyList::Dictionary dictionary;
        for (std::size_t i = 0; i < count; ++i) {
            dictionary.emplace("key " + std::to_string(i), static_cast<std::int64_t>(i));
        }
        expectRoundTrip(dictionary);
    }
}

TEST(PropertyListSerialization, TextWithAZeroByteIsRefused) {
    expectRefusal(std::string("a\0b", 3));
    expectRefusal(PropertyList::Dictionary{{std::string("\0", 1), 1}});
}

// Qt sets the locale of the user, in which a comma may stand for the point.
TEST(PropertyListSerialization, TheLocaleChangesNoNumber) {
    const char* name = nullptr;
    for (const char* candidate : {"de_DE.UTF-8", "fr_FR.UTF-8", "es_ES.UTF-8", "ru_RU.UTF-8"}) {
        name = name ? name : std::setlocale(LC_ALL, candidate);
    }
    if (!name) {
        GTEST_SKIP() << "no locale with a decimal comma is installed";
    }
    auto written = serializePropertyList(1.5, PropertyListFormat::Xml);
    auto read = parsePropertyList("<plist><real>1.5</real></plist>");
    std::setlocale(LC_ALL, "C");
    EXPECT_NE(written.find("<real>1.5</real>"), std::string::npos) << written;
    EXPECT_EQ(read, PropertyList(1.5));
}

TEST(PropertyListSerialization, TextThatIsNotUtf8IsRefused) {
    expectRefusal("\xFF");
    expectRefusal(PropertyList::Dictionary{{"\xC3", 1}});
    expectRefusal(PropertyList::Array{"\xED\xA0\x80"});
}

TEST(PropertyListSerialization, WhatIsTooDeepIsRefused) {
    expectRoundTrip(nested(kPropertyListMaximumDepth));
    expectRefusal(nested(kPropertyListMaximumDepth + 1));
    // Never destroyed: that alone would take more stack than there is.
    static const auto* const bottomless = new PropertyList(nested(100'000));
    expectRefusal(*bottomless);
}

TEST(PropertyListSerialization, WhatXmlSpellsDeeperIsStillReadBack) {
    PropertyList list(PropertyList::Uid{1});
    for (std::size_t i = 2; i < kPropertyListMaximumDepth; ++i) {
        list = PropertyList::Array{list};
    }
    expectRoundTrip(list);
    list = PropertyList::Array{list};
    expectRefusal(list, PropertyListFormat::Xml);
    EXPECT_EQ(parsePropertyList(serializePropertyList(list, PropertyListFormat::Binary)), list);
}

TEST(PropertyListSerialization, WhatIsTooLargeIsRefused) {
    expectRoundTrip(copies("x", kPropertyListMaximumWrittenNodes - 1));
    expectRefusal(copies("x", kPropertyListMaximumWrittenNodes), PropertyListFormat::Binary);
    const PropertyList most = copies(true, kPropertyListMaximumNodes - 1);
    EXPECT_EQ(parsePropertyList(serializePropertyList(most, PropertyListFormat::Xml)), most);
    expectRefusal(copies(true, kPropertyListMaximumNodes), PropertyListFormat::Xml);
    PropertyList::Dictionary dictionary; // counts itself and, for each entry, key and value
    for (std::size_t i = 0; i < kPropertyListMaximumWrittenNodes / 2; ++i) {
        dictionary.emplace(std::to_string(i), true);
    }
    expectRefusal(dictionary, PropertyListFormat::Binary);
    dictionary.erase("0");
    expectRoundTrip(dictionary);
    expectRefusal(std::string(kPropertyListMaximumBytes + 1, 'x'));
    expectRefusal(PropertyList::Data{std::string(kPropertyListMaximumBytes + 1, 'x')});
    // Shared in the file, but not once it is read.
    expectRefusal(copies(std::string(1 << 20, 'x'), 5));
    // Small enough as a list, but not as a file.
    expectRefusal(std::string(kPropertyListMaximumBytes / 4, '<'), PropertyListFormat::Xml);
    expectRefusal(PropertyList::Data{std::string(kPropertyListMaximumBytes / 4 * 3, 'x')},
                  PropertyListFormat::Xml);
    expectRefusal(PropertyList::Data{std::string(kPropertyListMaximumBytes, 'x')});
}

TEST(PropertyListSerialization, XmlThatWasReadCanBeWrittenAgain) {
    for (const char* value :
         {"<string>a&#13;b</string>", "<string>a\r\nb</string>", "<date>0000-12-30T00:00:00Z</date>",
          "<date>0001-01-01T00:00:00Z</date>", "<date>9999-12-31T23:59:59Z</date>", "<real>+infinity</real>",
          "<integer>0xFFFFFFFFFFFFFFFF</integer>", "<dict><key>CF$UID</key><integer>7</integer></dict>"}) {
        const auto list =
            parsePropertyList(std::string("<plist><dict><key>&#13;</key>") + value + "</dict></plist>");
        ASSERT_TRUE(list) << value;
        EXPECT_EQ(parsePropertyList(serializePropertyList(*list, PropertyListFormat::Xml)), list) << value;
    }
}

TEST(PropertyListSerialization, WhatFitsOnlyWithoutIndentationIsWrittenWithoutIt) {
    std::string file =
        "<plist><dict><key>data</key><data>" + std::string(4'000, 'A') + "</data><key>watchlist</key><array>";
    while (file.size() < kPropertyListMaximumBytes - 1'000) {
        file += "<dict><key>a</key><true/><key>b</key><array><string>ccccccccccccccc</string></array></dict>";
    }
    file += "</array></dict></plist>";
    const auto list = parsePropertyList(file);
    ASSERT_TRUE(list);
    const auto bytes = serializePropertyList(*list, PropertyListFormat::Xml);
    EXPECT_EQ(bytes.find('\t'), bytes.npos);
    EXPECT_EQ(parsePropertyList(bytes), list);
}

TEST(PropertyListSerialization, KeysThatNobodyKnowsAreKept) {
    const std::string foreign =
        "<plist><dict><key>watchlist</key><array/><key>x</key><dict><key>y</key><data>QUI=</data></dict>"
        "<key>z</key><date>2020-01-01T00:00:00Z</date></dict></plist>";
    auto list = parsePropertyList(foreign);
    ASSERT_TRUE(list && list->dictionary());
    auto changed = *list->dictionary();
    changed.insert_or_assign("watchlist", PropertyList::Array{"new"});
    for (auto format : kFormats) {
        auto again = parsePropertyList(serializePropertyList(changed, format));
        ASSERT_TRUE(again && again->dictionary());
        EXPECT_EQ(again->dictionary()->at("x"),
                  PropertyList(PropertyList::Dictionary{{"y", PropertyList::Data{"AB"}}}));
        EXPECT_EQ(again->dictionary()->at("z"), list->dictionary()->at("z"));
        EXPECT_EQ(again->dictionary()->at("watchlist"), PropertyList(PropertyList::Array{"new"}));
    }
}

TEST(DictionaryWithContentsOfFile, ReadsBothFormats) {
    PropertyList::Dictionary dictionary{{"a", 1}, {"b", "ä"}};
    auto path = sandbox::folder() + "/file.plist";
    for (auto format : kFormats) {
        sandbox::writeFile(path, serializePropertyList(dictionary, format));
        EXPECT_EQ(dictionaryWithContentsOfFile(path), dictionary);
    }
    std::filesystem::create_symlink(path, sandbox::folder() + "/link.plist");
    EXPECT_EQ(dictionaryWithContentsOfFile(sandbox::folder() + "/link.plist"), dictionary);
}

TEST(DictionaryWithContentsOfFile, IsAbsentForEverythingElse) {
    auto path = sandbox::folder() + "/file.plist";
    EXPECT_FALSE(dictionaryWithContentsOfFile(path));
    EXPECT_FALSE(dictionaryWithContentsOfFile(""));
    EXPECT_FALSE(dictionaryWithContentsOfFile(sandbox::folder()));
    EXPECT_FALSE(dictionaryWithContentsOfFile("/dev/zero"));
    EXPECT_FALSE(dictionaryWithContentsOfFile("/dev/null"));
    std::filesystem::create_symlink("/nonexistent", sandbox::folder() + "/dangling");
    EXPECT_FALSE(dictionaryWithContentsOfFile(sandbox::folder() + "/dangling"));
    ASSERT_EQ(mkfifo((sandbox::folder() + "/fifo").c_str(), 0600), 0);
    EXPECT_FALSE(dictionaryWithContentsOfFile(sandbox::folder() + "/fifo"));
    for (std::string_view text :
         {"", "x", "<plist><array/></plist>", "<plist><string>a</string></plist>", "<plist><dict>"}) {
        sandbox::writeFile(path, text);
        EXPECT_FALSE(dictionaryWithContentsOfFile(path)) << text;
    }
    sandbox::writeFile(path, "<plist><dict/></plist>");
    ASSERT_TRUE(dictionaryWithContentsOfFile(path));
    std::filesystem::resize_file(path, std::size_t{100} << 20);
    EXPECT_FALSE(dictionaryWithContentsOfFile(path));
}
