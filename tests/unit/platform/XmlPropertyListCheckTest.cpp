#include "PropertyListSerialization.h"

#include <gtest/gtest.h>
#include <limits>

using namespace platform;

namespace {

std::optional<PropertyList> parsed(std::string_view value) {
    return parsePropertyList("<plist version=\"1.0\">" + std::string(value) + "</plist>");
}

std::string repeated(std::string_view text, std::size_t count) {
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

TEST(XmlPropertyListCheck, ReadsAnInfoDictionary) {
    EXPECT_EQ(parsePropertyList(kInfo), infoList());
}

TEST(XmlPropertyListCheck, PassesOverAByteOrderMark) {
    EXPECT_EQ(parsePropertyList("\xEF\xBB\xBF" + std::string(kInfo)), infoList());
}

TEST(XmlPropertyListCheck, LineBreaksMayBeOfAnyKind) {
    std::string text;
    for (char character : kInfo) {
        text += character == '\n' ? "\r\n" : std::string(1, character);
    }
    EXPECT_EQ(parsePropertyList(text), infoList());
}

TEST(XmlPropertyListCheck, ReadsEveryKind) {
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
    EXPECT_EQ(parsed("<dict><key></key><dict><key>a</key><array><dict/></array></dict></dict>"),
              PropertyList(PropertyList::Dictionary{
                  {"", PropertyList::Dictionary{{"a", PropertyList::Array{PropertyList::Dictionary{}}}}}}));
}

TEST(XmlPropertyListCheck, ReadsObjectReferencesOfKeyedArchives) {
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

TEST(XmlPropertyListCheck, TheLastOfTwoEqualKeysHolds) {
    EXPECT_EQ(parsed("<dict><key>a</key><integer>1</integer><key>a</key><integer>2</integer></dict>"),
              PropertyList(PropertyList::Dictionary{{"a", 2}}));
}

TEST(XmlPropertyListCheck, TextIsKeptAsItStands) {
    EXPECT_EQ(parsed("<string> a\r\n\tb </string>"), PropertyList(" a\r\n\tb "));
    EXPECT_EQ(parsed("<string>\x01\x1B]]></string>"), PropertyList("\x01\x1B]]>"));
    EXPECT_EQ(parsed("<dict><key> a </key><string/></dict>"),
              PropertyList(PropertyList::Dictionary{{" a ", ""}}));
}

TEST(XmlPropertyListCheck, ReferencesStandForCharacters) {
    EXPECT_EQ(parsed("<string>&amp;&lt;&gt;&quot;&apos;</string>"), PropertyList("&<>\"'"));
    EXPECT_EQ(parsed("<string>&amp;amp;</string>"), PropertyList("&amp;"));
    EXPECT_EQ(parsed("<string>&#65;&#x42;&#xe4;&#x20AC;&#128512;&#x10FFFF;</string>"),
              PropertyList("AB\u00E4\u20AC\U0001F600\U0010FFFF"));
    EXPECT_EQ(parsed("<dict><key>a&amp;b</key><true/></dict>"),
              PropertyList(PropertyList::Dictionary{{"a&b", true}}));
}

TEST(XmlPropertyListCheck, ReferencesThatStandForNothingAreDamage) {
    for (const char* reference :
         {"&", "&;", "&x", "&foo;", "&ampx;", "&amp", "&AMP;", "& amp;", "&#;", "&#x;", "&#0;", "&#xD800;",
          "&#x110000;", "&#-5;", "&#6a;", "&#xG;", "&#99999999999999;", "&#4294967361;", "&#00000065;"}) {
        EXPECT_EQ(parsed("<string>a" + std::string(reference) + "</string>"), std::nullopt) << reference;
        EXPECT_EQ(parsed("<dict><key>" + std::string(reference) + "</key><true/></dict>"), std::nullopt)
            << reference;
    }
}

TEST(XmlPropertyListCheck, CommentsAndSectionsMayStandInText) {
    EXPECT_EQ(parsed("<string>a<!-- <x> & -->b<![CDATA[<&amp;>]]>c</string>"), PropertyList("ab<&amp;>c"));
    EXPECT_EQ(parsed("<string><![CDATA[]]></string>"), PropertyList(""));
    EXPECT_EQ(parsed("<string>a<![CDATA[b]]><![CDATA[]]>&amp;<!----></string>"), PropertyList("ab&"));
    for (const char* text :
         {"<!-- a", "<![CDATA[a", "<![CDATA[a]]", "<![cdata[a]]>", "<!x>", "<?x?>", "<b/>", "<b>x</b>"}) {
        EXPECT_EQ(parsed("<string>" + std::string(text) + "</string>"), std::nullopt) << text;
    }
}

// libplist would make something else of them.
TEST(XmlPropertyListCheck, NumbersDatesAndDataArePlainText) {
    for (const char* text :
         {"<integer>&#49;</integer>", "<integer>1<!-- x -->2</integer>", "<integer><![CDATA[1]]></integer>",
          "<real>&#49;</real>", "<date>&#50;001-01-01T00:00:00Z</date>",
          "<date>2001<!-- x -->-01-01T00:00:00Z</date>", "<data>&#65;QID</data>",
          "<data>QUJD<!-- x -->REVG</data>", "<true><!-- x --></true>"}) {
        EXPECT_EQ(parsed(text), std::nullopt) << text;
    }
}

TEST(XmlPropertyListCheck, NumbersAreReadAsTheyAreSpelt) {
    EXPECT_EQ(parsed("<integer> \n-5 \n</integer>"), PropertyList(-5));
    EXPECT_EQ(parsed("<integer>+42</integer>"), PropertyList(42));
    EXPECT_EQ(parsed("<integer>-0x10</integer>"), PropertyList(-16));
    EXPECT_EQ(parsed("<integer>0XFF</integer>"), PropertyList(255));
    EXPECT_EQ(parsed("<integer>-9223372036854775808</integer>"), PropertyList(INT64_MIN));
    EXPECT_EQ(parsed("<integer>9223372036854775807</integer>"), PropertyList(INT64_MAX));
    EXPECT_EQ(parsed("<integer>9223372036854775808</integer>"), PropertyList(std::uint64_t{1} << 63));
    EXPECT_EQ(parsed("<integer>18446744073709551615</integer>"), PropertyList(UINT64_MAX));
    EXPECT_EQ(parsed("<real> +0.1 </real>"), PropertyList(0.1));
    EXPECT_EQ(parsed("<real>-infinity</real>"), PropertyList(-std::numeric_limits<double>::infinity()));
    EXPECT_EQ(parsed("<date> 1904-01-01T00:00:00Z\n</date>"), PropertyList(PropertyList::Date{-3061152000}));
    EXPECT_EQ(parsed("<date>0001-01-01T00:00:00Z</date>"), PropertyList(PropertyList::Date{-63113904000}));
    EXPECT_EQ(parsed("<date>2106-02-07T06:28:16Z</date>"), PropertyList(PropertyList::Date{3316660096}));
    EXPECT_EQ(parsed("<data>\n\tQU\n\tJDRA=\r\n=</data>"), PropertyList(PropertyList::Data{"ABCD"}));
}

TEST(XmlPropertyListCheck, CommentsInstructionsAndAttributesArePassedOver) {
    EXPECT_EQ(
        parsePropertyList(
            "<!-- a --><?xml version='1.0'?><!-- b --><!DOCTYPE plist><!-- c -->\n"
            "<plist  version = '1.0' x=\"a/\"\t><!-- d --><dict id='1'><!-- e --><key a=''>k</key ><?f?>"
            "<true /><!-- g --></dict\n><!-- h --></plist\n> <!-- i --> "),
        PropertyList(PropertyList::Dictionary{{"k", true}}));
}

TEST(XmlPropertyListCheck, WhatIsNotOneValueInOneRootIsDamaged) {
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
                             "<plist a='>'><true/></plist>",
                             "<plist a=\"<\"><true/></plist>",
                             "<plist a='\"'><true/></plist>",
                             "<?x \" ?><plist><true/></plist><!-- \" ?> -->",
                             "<plist><dict><key/><true/></dict></plist>",
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

TEST(XmlPropertyListCheck, UnbalancedAndUnknownElementsAreDamage) {
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

TEST(XmlPropertyListCheck, ADocumentTypeBringsNoDefinitions) {
    for (const char* text :
         {"<!DOCTYPE plist [<!ENTITY a 'b'>]>", "<!DOCTYPE plist []>", "<!DOCTYPE plist <x>",
          "<!ENTITY a 'b'>", "<!DOCTYPE plist \"a>", "<!DOCTYPE plist '>'>"}) {
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

TEST(XmlPropertyListCheck, TextThatIsNotUtf8IsDamage) {
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

TEST(XmlPropertyListCheck, EveryTruncationIsDamage) {
    const auto end = kInfo.find_last_of('>');
    for (std::size_t length = 0; length <= end; ++length) {
        ASSERT_EQ(parsePropertyList(kInfo.substr(0, length)), std::nullopt) << length;
    }
}

TEST(XmlPropertyListCheck, DepthIsBounded) {
    auto nested = [](std::string_view open, std::string_view close, std::size_t depth) {
        return parsed(repeated(open, depth - 1) + "<true/>" + repeated(close, depth - 1));
    };
    EXPECT_TRUE(nested("<array>", "</array>", kPropertyListMaximumDepth));
    EXPECT_FALSE(nested("<array>", "</array>", kPropertyListMaximumDepth + 1));
    EXPECT_TRUE(nested("<dict><key></key>", "</dict>", kPropertyListMaximumDepth));
    EXPECT_FALSE(nested("<dict><key></key>", "</dict>", kPropertyListMaximumDepth + 1));
    EXPECT_FALSE(nested("<array>", "</array>", 100'000));
    EXPECT_FALSE(nested("<dict><key></key>", "</dict>", 100'000));
    EXPECT_FALSE(parsed(repeated("<array>", 100'000)));
}

TEST(XmlPropertyListCheck, TheNumberOfValuesIsBounded) {
    EXPECT_TRUE(parsed("<array>" + repeated("<true/>", kPropertyListMaximumNodes - 1) + "</array>"));
    EXPECT_FALSE(parsed("<array>" + repeated("<true/>", kPropertyListMaximumNodes) + "</array>"));
}

TEST(XmlPropertyListCheck, TheSizeIsBounded) {
    auto padded = [](std::size_t size) {
        std::string head = "<plist><string>";
        std::string foot = "</string></plist>";
        return head + std::string(size - head.size() - foot.size(), 'x') + foot;
    };
    EXPECT_TRUE(parsePropertyList(padded(kPropertyListMaximumBytes)));
    EXPECT_FALSE(parsePropertyList(padded(kPropertyListMaximumBytes + 1)));
}

// What takes minutes and more in a reader that looks at anything twice.
TEST(XmlPropertyListCheck, BigFilesOfOneThingAreLookedAtOnce) {
    EXPECT_FALSE(parsed("<string>" + repeated("&", 1'000'000)));
    EXPECT_FALSE(parsed("<string>" + repeated("<", 1'000'000)));
    EXPECT_FALSE(parsed("<string>" + repeated("<![CDATA[", 200'000)));
    EXPECT_TRUE(parsed(repeated("<!---->", 200'000) + "<true/>"));
    EXPECT_FALSE(parsed(repeated("<!--", 500'000)));
    EXPECT_FALSE(parsePropertyList("<plist " + repeated("a='' ", 300'000)));
    EXPECT_FALSE(parsePropertyList("<!DOCTYPE " + repeated("'' ", 500'000)));
}

TEST(XmlPropertyListCheck, ReferencesInOneTextAreBounded) {
    auto text = parsed("<string>" + repeated("&amp;", 30'000) + "</string>");
    ASSERT_TRUE(text && text->string());
    EXPECT_EQ(text->string()->size(), 30'000U);
    EXPECT_FALSE(parsed("<string>" + repeated("&amp;", 200'000) + "</string>"));
    EXPECT_FALSE(parsed("<dict><key>" + repeated("&amp;", 200'000) + "</key><true/></dict>"));
    // However the same references are spread, short texts do not cost much.
    EXPECT_TRUE(parsed("<array>" + repeated("<string>&amp;&amp;</string>", 100'000) + "</array>"));
}

TEST(XmlPropertyListCheck, KeysOfOneDictionaryAreBounded) {
    auto withKeys = [](int count) {
        std::string keys;
        for (int i = 0; i < count; ++i) {
            keys += "<key>" + std::to_string(i) + "</key><true/>";
        }
        return parsed("<dict>" + keys + "</dict>");
    };
    auto list = withKeys(10'000);
    ASSERT_TRUE(list && list->dictionary());
    EXPECT_EQ(list->dictionary()->size(), 10'000U);
    EXPECT_FALSE(withKeys(10'002));
}
