#include "PropertyListSerialization.h"

#include <cmath>
#include <gtest/gtest.h>
#include <limits>

using namespace platform;

namespace {

std::optional<PropertyList> parsed(std::string_view value) {
    return parsePropertyList("<plist version=\"1.0\">" + std::string(value) + "</plist>");
}

std::string repetition(std::string_view text, std::size_t count) {
    std::string result;
    result.reserve(text.size() * count);
    for (std::size_t i = 0; i < count; ++i) {
        result += text;
    }
    return result;
}

constexpr std::string_view kInfo = R"(<?xml version="1.0" encoding="UTF-8"?>
<!DOCTYPE plist PUBLIC "-//Apple//DTD PLIST 1.0//EN" "http://www.apple.com/DTDs/PropertyList-1.0.dtd">
<plist version="1.0">
<dict>
	<key>CFBundleIdentifier</key>
	<string>com.vantorel.Example</string>
	<key>CFBundleName</key>
	<string>Größe &amp; Maß</string>
	<key>LSUIElement</key>
	<true/>
	<key>Numbers</key>
	<array>
		<integer>1</integer>
		<real>1.5</real>
	</array>
</dict>
</plist>
)";

const PropertyList& infoList() {
    static const PropertyList list(PropertyList::Dictionary{{"CFBundleIdentifier", "com.vantorel.Example"},
                                                            {"CFBundleName", "Größe & Maß"},
                                                            {"LSUIElement", true},
                                                            {"Numbers", PropertyList::Array{1, 1.5}}});
    return list;
}

} // namespace

TEST(PlainXmlPropertyList, ReadsAnInfoDictionary) {
    EXPECT_EQ(parsePropertyList(kInfo), infoList());
}

TEST(PlainXmlPropertyList, PassesOverAByteOrderMark) {
    EXPECT_EQ(parsePropertyList("\xEF\xBB\xBF" + std::string(kInfo)), infoList());
}

TEST(PlainXmlPropertyList, LineBreaksMayBeOfAnyKind) {
    std::string text;
    for (char character : kInfo) {
        text += character == '\n' ? "\r\n" : std::string(1, character);
    }
    EXPECT_EQ(parsePropertyList(text), infoList());
}

TEST(PlainXmlPropertyList, ReadsEveryKind) {
    EXPECT_EQ(parsed("<string>abc</string>"), PropertyList("abc"));
    EXPECT_EQ(parsed("<string/>"), PropertyList(""));
    EXPECT_EQ(parsed("<string></string>"), PropertyList(""));
    EXPECT_EQ(parsed("<integer>-5</integer>"), PropertyList(-5));
    EXPECT_EQ(parsed("<real>0.5</real>"), PropertyList(0.5));
    EXPECT_EQ(parsed("<true/>"), PropertyList(true));
    EXPECT_EQ(parsed("<false></false>"), PropertyList(false));
    EXPECT_EQ(parsed("<true> </true>"), PropertyList(true));
    EXPECT_EQ(parsed("<date>2001-01-01T00:00:10Z</date>"), PropertyList(PropertyList::Date{10}));
    EXPECT_EQ(parsed("<data>QUJD</data>"), PropertyList(PropertyList::Data{"ABC"}));
    EXPECT_EQ(parsed("<data/>"), PropertyList(PropertyList::Data{}));
    EXPECT_EQ(parsed("<array/>"), PropertyList(PropertyList::Array{}));
    EXPECT_EQ(parsed("<array></array>"), PropertyList(PropertyList::Array{}));
    EXPECT_EQ(parsed("<dict/>"), PropertyList(PropertyList::Dictionary{}));
    EXPECT_EQ(parsed("<dict>\n</dict>"), PropertyList(PropertyList::Dictionary{}));
    EXPECT_EQ(parsed("<dict><key/><dict><key>a</key><array><dict/></array></dict></dict>"),
              PropertyList(PropertyList::Dictionary{
                  {"", PropertyList::Dictionary{{"a", PropertyList::Array{PropertyList::Dictionary{}}}}}}));
}

TEST(PlainXmlPropertyList, ReadsObjectReferencesOfKeyedArchives) {
    EXPECT_EQ(parsed("<dict><key>CF$UID</key><integer>7</integer></dict>"),
              PropertyList(PropertyList::Uid{7}));
    EXPECT_EQ(parsed("<dict><key>CF$UID</key><integer>4294967295</integer></dict>"),
              PropertyList(PropertyList::Uid{UINT32_MAX}));
    for (const char* value :
         {"<integer>-1</integer>", "<integer>4294967296</integer>", "<integer>18446744073709551615</integer>",
          "<string>7</string>", "<integer>7</integer><key>b</key><true/>"}) {
        auto list = parsed("<dict><key>CF$UID</key>" + std::string(value) + "</dict>");
        ASSERT_TRUE(list) << value;
        EXPECT_TRUE(list->dictionary()) << value;
    }
}

TEST(PlainXmlPropertyList, TheLastOfTwoEqualKeysHolds) {
    EXPECT_EQ(parsed("<dict><key>a</key><integer>1</integer><key>a</key><integer>2</integer></dict>"),
              PropertyList(PropertyList::Dictionary{{"a", 2}}));
}

TEST(PlainXmlPropertyList, TextIsKeptAsItStands) {
    EXPECT_EQ(parsed("<string> a\r\n\tb </string>"), PropertyList(" a\r\n\tb "));
    EXPECT_EQ(parsed("<string>a\rb\n\nc&#13;&#10;</string>"), PropertyList("a\rb\n\nc\r\n"));
    EXPECT_EQ(parsed("<string>]]&gt;<![CDATA[]]]]><![CDATA[>]]></string>"), PropertyList("]]>]]>"));
    EXPECT_EQ(parsed("<dict><key> a </key><string/></dict>"),
              PropertyList(PropertyList::Dictionary{{" a ", ""}}));
}

TEST(PlainXmlPropertyList, ReferencesStandForCharacters) {
    EXPECT_EQ(parsed("<string>&amp;&lt;&gt;&quot;&apos;</string>"), PropertyList("&<>\"'"));
    EXPECT_EQ(parsed("<string>&amp;amp;</string>"), PropertyList("&amp;"));
    EXPECT_EQ(parsed("<string>&#65;&#x42;&#xe4;&#x20AC;&#128512;&#x10FFFF;</string>"),
              PropertyList("AB\u00E4\u20AC\U0001F600\U0010FFFF"));
    EXPECT_EQ(parsed("<dict><key>a&amp;b</key><true/></dict>"),
              PropertyList(PropertyList::Dictionary{{"a&b", true}}));
    EXPECT_EQ(parsed("<integer>&#49;</integer>"), PropertyList(1));
}

TEST(PlainXmlPropertyList, ReferencesThatStandForNothingAreDamage) {
    for (const char* reference :
         {"&", "&;", "&x", "&foo;", "&ampx;", "&amp", "&AMP;", "& amp;", "&#;", "&#x;", "&#0;", "&#xD800;",
          "&#x110000;", "&#-5;", "&#6a;", "&#xG;", "&#99999999999999;", "&#4294967361;"}) {
        EXPECT_EQ(parsed("<string>a" + std::string(reference) + "</string>"), std::nullopt) << reference;
        EXPECT_EQ(parsed("<dict><key>" + std::string(reference) + "</key><true/></dict>"), std::nullopt)
            << reference;
    }
}

TEST(PlainXmlPropertyList, CommentsAndSectionsMayStandInText) {
    EXPECT_EQ(parsed("<string>a<!-- <x> & -->b<![CDATA[<&amp;>]]>c</string>"), PropertyList("ab<&amp;>c"));
    EXPECT_EQ(parsed("<string>a<?x?>b</string>"), PropertyList("ab"));
    EXPECT_EQ(parsed("<string><![CDATA[]]></string>"), PropertyList(""));
    EXPECT_EQ(parsed("<integer>1<!-- x -->2</integer>"), PropertyList(12));
    EXPECT_EQ(parsed("<data>QUJD<!-- x -->REVG</data>"), PropertyList(PropertyList::Data{"ABCDEF"}));
    for (const char* text : {"<!-- a", "<![CDATA[a", "<![CDATA[a]]", "<![cdata[a]]>", "<!x>", "]]>",
                             "<!-- -- -->", "<b/>", "<b>x</b>"}) {
        EXPECT_EQ(parsed("<string>" + std::string(text) + "</string>"), std::nullopt) << text;
    }
}

TEST(PlainXmlPropertyList, CommentsInstructionsAndAttributesArePassedOver) {
    EXPECT_EQ(
        parsePropertyList(
            "<?xml version='1.0'?><!-- a --><?b \"?><!DOCTYPE plist><!-- c \" -->\n"
            "<plist  version = '1.0' x=\"&lt;'>\"\t><!-- d --><dict id='1'><!-- e --><key a=''>k</key ><?f?>"
            "<true /><!-- g --></dict\n><!-- h --></plist\n> <!-- i --> "),
        PropertyList(PropertyList::Dictionary{{"k", true}}));
}

TEST(PlainXmlPropertyList, WhatIsNotOneValueInOneRootIsDamaged) {
    for (const char* text : {"",
                             " ",
                             "<",
                             "plain text",
                             "{\"json\": true}",
                             "<html><body>404</body></html>",
                             "<dict/>",
                             "<plist/>",
                             "<plist></plist>",
                             "<plist><!-- a --></plist>",
                             "<plist><true/><true/></plist>",
                             "<plist><true/>",
                             "<plist><true/></dict>",
                             "<plist><true/></plist>x",
                             "<plist><true/></plist><plist><true/></plist>",
                             "x<plist><true/></plist>",
                             "<PLIST><true/></PLIST>",
                             "<list><true/></plist>",
                             "<plist><plist><true/></plist></plist>",
                             "<plist>x<true/></plist>",
                             "<plist><true/>x</plist>",
                             "<plist a><true/></plist>",
                             "<plist a=b><true/></plist>",
                             "<plist a='b><true/></plist>",
                             "<plist a='b'c='d'><true/></plist>",
                             "<plist/ ><true/></plist>",
                             "< plist><true/></plist>",
                             "<plist><true/></ plist>",
                             "<plist><true/></plist",
                             "<!-- a",
                             "<?xml",
                             "<!DOCTYPE plist",
                             "<!DOCTYPE a><!DOCTYPE b><plist><true/></plist>"}) {
        EXPECT_EQ(parsePropertyList(text), std::nullopt) << text;
    }
}

TEST(PlainXmlPropertyList, UnbalancedAndUnknownElementsAreDamage) {
    for (const char* text : {"<dict><key>a</key></dict>",
                             "<dict><true/></dict>",
                             "<dict><string>a</string><true/></dict>",
                             "<dict><key>a</key><key>b</key><true/></dict>",
                             "<dict>x</dict>",
                             "<dict><key>a</key>x<true/></dict>",
                             "<dict><key>a</key><true/></array>",
                             "<array><true/></dict>",
                             "<array><true/>",
                             "<array>x</array>",
                             "<array><key>a</key></array>",
                             "<string>a</key>",
                             "<string>a",
                             "<true>x</true>",
                             "<true></false>",
                             "<number>1</number>",
                             "<null/>",
                             "<set/>",
                             "<String>a</String>",
                             "<string1>a</string1>",
                             "</string>",
                             "<key>a</key>",
                             "<integer/>",
                             "<integer>x</integer>",
                             "<real/>",
                             "<real>x</real>",
                             "<date/>",
                             "<date>x</date>",
                             "<data>x</data>"}) {
        EXPECT_EQ(parsed(text), std::nullopt) << text;
    }
}

TEST(PlainXmlPropertyList, ADocumentTypeBringsNoDefinitions) {
    for (const char* text :
         {"<!DOCTYPE plist [<!ENTITY a 'b'>]>", "<!DOCTYPE plist []>", "<!DOCTYPE plist [[>",
          "<!DOCTYPE plist <x>", "<!ENTITY a 'b'>", "<!DOCTYPE plist \"a>", "<!DOCTYPE plist 'a>"}) {
        EXPECT_EQ(parsePropertyList(std::string(text) + "<plist><true/></plist>"), std::nullopt) << text;
    }
    std::string bomb = "<!DOCTYPE plist [<!ENTITY a0 'ha'>";
    for (int i = 1; i < 30; ++i) {
        bomb += "<!ENTITY a" + std::to_string(i) + " '&a" + std::to_string(i - 1) + ";&a" +
                std::to_string(i - 1) + ";'>";
    }
    EXPECT_EQ(parsePropertyList(bomb + "]><plist><string>&a29;</string></plist>"), std::nullopt);
    EXPECT_EQ(parsePropertyList("<!DOCTYPE plist SYSTEM \"[>\"><plist><true/></plist>"), PropertyList(true));
}

TEST(PlainXmlPropertyList, TextThatIsNotUtf8IsDamage) {
    for (std::string_view text :
         {"\xFF", "\xC3", "\xC0\x80", "\xED\xA0\x80", "\xF4\x90\x80\x80", "a\xE2\x82"}) {
        EXPECT_EQ(parsed("<string>" + std::string(text) + "</string>"), std::nullopt);
        EXPECT_EQ(parsed("<!-- " + std::string(text) + " --><true/>"), std::nullopt);
    }
    EXPECT_EQ(parsed(std::string_view("<string>a\0b</string>", 20)), std::nullopt);
    std::string wide("\xFF\xFE");
    for (char character : kInfo) {
        wide += {character, '\0'};
    }
    EXPECT_EQ(parsePropertyList(wide), std::nullopt);
}

TEST(PlainXmlPropertyList, CharactersUnknownToXmlAreDamage) {
    for (const char* text : {"\x01", "\x1B", "\xEF\xBF\xBF", "&#1;"}) {
        EXPECT_EQ(parsed("<string>" + std::string(text) + "</string>"), std::nullopt);
    }
}

// A document type that only names its definition leaves open what that may define.
TEST(PlainXmlPropertyList, EntitiesDefinedElsewhereAreDamage) {
    for (const char* element : {"<string>&a;</string>", "<array>&a;</array>", "<integer>1&a;</integer>"}) {
        EXPECT_EQ(
            parsePropertyList("<!DOCTYPE plist SYSTEM \"a.dtd\"><plist>" + std::string(element) + "</plist>"),
            std::nullopt)
            << element;
    }
}

TEST(PlainXmlPropertyList, NumbersAreReadAsTheyAreSpelt) {
    EXPECT_EQ(parsed("<integer> \n-5 \n</integer>"), PropertyList(-5));
    EXPECT_EQ(parsed("<integer>+42</integer>"), PropertyList(42));
    EXPECT_EQ(parsed("<integer>-0</integer>"), PropertyList(0));
    EXPECT_EQ(parsed("<integer>010</integer>"), PropertyList(10));
    EXPECT_EQ(parsed("<integer>-0x10</integer>"), PropertyList(-16));
    EXPECT_EQ(parsed("<integer>-9223372036854775808</integer>"), PropertyList(INT64_MIN));
    EXPECT_EQ(parsed("<integer>9223372036854775807</integer>"), PropertyList(INT64_MAX));
    EXPECT_EQ(parsed("<integer>9223372036854775808</integer>"), PropertyList(std::uint64_t{1} << 63));
    EXPECT_EQ(parsed("<integer>18446744073709551615</integer>"), PropertyList(UINT64_MAX));
    EXPECT_EQ(parsed("<real> +0.1 </real>"), PropertyList(0.1));
    EXPECT_EQ(parsed("<real>1E-3</real>"), PropertyList(0.001));
    EXPECT_EQ(parsed("<real>-Inf</real>"), PropertyList(-std::numeric_limits<double>::infinity()));
    auto notANumber = parsed("<real>NaN</real>");
    ASSERT_TRUE(notANumber && notANumber->real());
    EXPECT_TRUE(std::isnan(*notANumber->real()));
    EXPECT_EQ(parsed("<data>\n\tQU\n\tJDRA=\r\n=</data>"), PropertyList(PropertyList::Data{"ABCD"}));
}

TEST(PlainXmlPropertyList, DatesOfAnyYearAreRead) {
    auto seconds = [](std::string_view text) {
        auto list = parsed("<date>" + std::string(text) + "</date>");
        const auto* date = list ? std::get_if<PropertyList::Date>(&list->value()) : nullptr;
        return date ? date->secondsSinceReferenceDate : std::nan("");
    };
    EXPECT_EQ(seconds(" 2001-01-01T00:00:01Z\n"), 1);
    EXPECT_EQ(seconds("2000-12-31T23:59:59Z"), -1);
    EXPECT_EQ(seconds("1970-01-01T00:00:00Z"), -978307200);
    EXPECT_EQ(seconds("2024-02-29T12:30:45Z"), 730902645);
    EXPECT_EQ(seconds("2106-02-07T06:28:16Z"), 3316660096); // 2^32 since 1970
    EXPECT_EQ(seconds("0001-01-01T00:00:00Z"), -63113904000);
    EXPECT_EQ(seconds("0000-12-30T00:00:00Z"), -63114076800); // the first platform's distant past
    EXPECT_EQ(seconds("9999-12-31T23:59:59Z"), 252423993599);
}

TEST(PlainXmlPropertyList, EveryTruncationIsDamage) {
    const auto end = kInfo.find_last_of('>');
    for (std::size_t length = 0; length <= end; ++length) {
        ASSERT_EQ(parsePropertyList(kInfo.substr(0, length)), std::nullopt) << length;
    }
}

TEST(PlainXmlPropertyList, DepthIsBounded) {
    auto nested = [](std::string_view open, std::string_view close, std::size_t depth) {
        return parsed(repetition(open, depth - 1) + "<true/>" + repetition(close, depth - 1));
    };
    EXPECT_TRUE(nested("<array>", "</array>", kPropertyListMaximumDepth));
    EXPECT_FALSE(nested("<array>", "</array>", kPropertyListMaximumDepth + 1));
    EXPECT_TRUE(nested("<dict><key/>", "</dict>", kPropertyListMaximumDepth));
    EXPECT_FALSE(nested("<dict><key/>", "</dict>", kPropertyListMaximumDepth + 1));
    EXPECT_FALSE(nested("<array>", "</array>", 100'000));
    EXPECT_FALSE(nested("<dict><key/>", "</dict>", 100'000));
    EXPECT_FALSE(parsed(repetition("<array>", 100'000)));
}

TEST(PlainXmlPropertyList, TheNumberOfValuesIsBounded) {
    EXPECT_TRUE(parsed("<array>" + repetition("<true/>", kPropertyListMaximumNodes - 1) + "</array>"));
    EXPECT_FALSE(parsed("<array>" + repetition("<true/>", kPropertyListMaximumNodes) + "</array>"));
}

TEST(PlainXmlPropertyList, TheSizeIsBounded) {
    auto padded = [](std::size_t size) {
        std::string head = "<plist><string>";
        std::string foot = "</string></plist>";
        return head + std::string(size - head.size() - foot.size(), 'x') + foot;
    };
    EXPECT_TRUE(parsePropertyList(padded(kPropertyListMaximumBytes)));
    EXPECT_FALSE(parsePropertyList(padded(kPropertyListMaximumBytes + 1)));
}

// What takes minutes and more in a reader that looks at anything twice.
TEST(PlainXmlPropertyList, BigFilesOfOneThingAreReadInOnePass) {
    auto entities = parsed("<string>" + repetition("&amp;", 500'000) + "</string>");
    ASSERT_TRUE(entities && entities->string());
    EXPECT_EQ(entities->string()->size(), 500'000U);
    EXPECT_FALSE(parsed("<string>" + repetition("&", 1'000'000)));
    EXPECT_FALSE(parsed("<string>" + repetition("<", 1'000'000)));
    EXPECT_FALSE(parsed("<string>" + repetition("<![CDATA[", 200'000)));
    EXPECT_TRUE(parsed(repetition("<!---->", 200'000) + "<true/>"));
    EXPECT_FALSE(parsed(repetition("<!--", 500'000)));
    EXPECT_FALSE(parsePropertyList("<plist " + repetition("a='' ", 300'000)));
    EXPECT_FALSE(parsePropertyList("<!DOCTYPE " + repetition("'' ", 500'000)));
    std::string keys;
    for (int i = 0; i < 50'000; ++i) {
        keys += "<key>" + std::to_string(i) + "</key><true/>";
    }
    auto dictionary = parsed("<dict>" + keys + "</dict>");
    ASSERT_TRUE(dictionary && dictionary->dictionary());
    EXPECT_EQ(dictionary->dictionary()->size(), 50'000U);
}

// "Ab" and "BA" are the same to a hash that multiplies by 33, as libplist's does.
TEST(PlainXmlPropertyList, KeysOfOneHashAreReadInOnePass) {
    constexpr int kCount = 40'000;
    std::string keys;
    for (int i = 0; i < kCount; ++i) {
        keys += "<key>";
        for (int bit = 0; bit < 16; ++bit) {
            keys += (i >> bit & 1) != 0 ? "Ab" : "BA";
        }
        keys += "</key><true/>";
    }
    auto dictionary = parsed("<dict>" + keys + "</dict>");
    ASSERT_TRUE(dictionary && dictionary->dictionary());
    EXPECT_EQ(dictionary->dictionary()->size(), std::size_t{kCount});
}
