#include "PropertyListSerialization.h"

#include <cstdint>
#include <gtest/gtest.h>
#include <vector>

using namespace platform;

namespace {

std::string bigEndian(std::uint64_t value, std::size_t size) {
    std::string bytes;
    for (std::size_t i = size; i-- > 0;) {
        bytes += i < 8 ? static_cast<char>(value >> (8 * i) & 0xFF) : '\0';
    }
    return bytes;
}

// A file put together by hand, right or wrong.
struct BinaryFile {
    std::vector<std::string> objects;
    std::size_t offsetSize = 4;
    std::size_t referenceSize = 1;
    std::uint64_t root = 0;
    std::optional<std::uint64_t> objectCount = {};
    std::optional<std::uint64_t> tableStart = {};

    std::string bytes() const {
        std::string file = "bplist00";
        std::string table;
        for (const auto& object : objects) {
            table += bigEndian(file.size(), offsetSize);
            file += object;
        }
        auto start = file.size();
        return file + table + std::string(6, '\0') + bigEndian(offsetSize, 1) + bigEndian(referenceSize, 1) +
               bigEndian(objectCount.value_or(objects.size()), 8) + bigEndian(root, 8) +
               bigEndian(tableStart.value_or(start), 8);
    }
    std::optional<PropertyList> parsed() const { return parsePropertyList(bytes()); }
};

std::optional<PropertyList> single(const std::string& object) {
    return BinaryFile{.objects = {object}}.parsed();
}

std::string counted(unsigned marker, std::uint64_t count) {
    return bigEndian(marker | 0x0F, 1) + "\x13" + bigEndian(count, 8);
}

// Each level refers ten times to the next.
BinaryFile tenfold(std::size_t levels) {
    BinaryFile file;
    for (std::size_t i = 0; i < levels; ++i) {
        file.objects.push_back("\xAA" + std::string(10, static_cast<char>(i + 1)));
    }
    file.objects.push_back("\x09");
    return file;
}

BinaryFile nested(std::size_t depth) {
    BinaryFile file{.objects = {}, .referenceSize = 3};
    for (std::size_t i = 1; i < depth; ++i) {
        file.objects.push_back("\xA1" + bigEndian(i, 3));
    }
    file.objects.push_back("\x09");
    return file;
}

// Holds every kind; made by another writer.
std::string foreignFile() {
    static constexpr std::string_view kHex =
        "62706c6973743030de0102030405060708090a0b0c0d0e0f131415161718191a1b111c1d1e55617272617953626967546461"
        "74615464"
        "617465546469637453696e74536d696e536e6567526e6f547265616c547465787453756964547769646553796573a3101112"
        "10015570"
        "6c61696ea0140000000000000000ffffffffffffffff430001ff3341c783b692800000d0100513800000000000000013ffff"
        "ffffffff"
        "fffb08233ff80000000000008007680047007200fc00df00650020d83dde000908252b2f34393e42464a4d52575b6064686a"
        "70718286"
        "8f90929ba4a5aeb0c10000000000000101000000000000001f000000000000000000000000000000c2";
    std::string bytes;
    for (std::size_t i = 0; i < kHex.size(); i += 2) {
        bytes += static_cast<char>(std::stoi(std::string(kHex.substr(i, 2)), nullptr, 16));
    }
    return bytes;
}

} // namespace

TEST(BinaryPropertyListCheck, ReadsEveryKindOfAForeignFile) {
    EXPECT_EQ(parsePropertyList(foreignFile()),
              PropertyList(
                  PropertyList::Dictionary{{"text", "plain"},
                                           {"wide", "Grüße 😀"},
                                           {"yes", true},
                                           {"no", false},
                                           {"int", 5},
                                           {"neg", -5},
                                           {"big", UINT64_MAX},
                                           {"min", INT64_MIN},
                                           {"real", 1.5},
                                           {"date", PropertyList::Date{789015845}},
                                           {"data", PropertyList::Data{std::string("\x00\x01\xFF", 3)}},
                                           {"array", PropertyList::Array{1, "plain", PropertyList::Array{}}},
                                           {"dict", PropertyList::Dictionary{}},
                                           {"uid", PropertyList::Uid{7}}}));
}

TEST(BinaryPropertyListCheck, EveryTruncationIsDamage) {
    const auto file = foreignFile();
    for (std::size_t length = 0; length < file.size(); ++length) {
        ASSERT_EQ(parsePropertyList(file.substr(0, length)), std::nullopt) << length;
    }
}

// Whatever a changed byte turns the file into: no crash, and what is read can be written again.
TEST(BinaryPropertyListCheck, SurvivesAnyChangeOfOneByte) {
    const auto file = foreignFile();
    std::size_t refused = 0;
    for (std::size_t position = 0; position < file.size(); ++position) {
        for (int step = 1; step < 256; step += 15) {
            auto changed = file;
            changed[position] = static_cast<char>(static_cast<unsigned char>(file[position]) + step);
            auto list = parsePropertyList(changed);
            refused += list ? 0 : 1;
            if (list) {
                EXPECT_NO_THROW(serializePropertyList(*list, PropertyListFormat::Binary));
            }
        }
    }
    EXPECT_GT(refused, 1'000U);
}

TEST(BinaryPropertyListCheck, IntegersOfEverySize) {
    EXPECT_EQ(single("\x10\xFF"), PropertyList(255));
    EXPECT_EQ(single("\x11\xFF\xFF"), PropertyList(65535));
    EXPECT_EQ(single("\x12\xFF\xFF\xFF\xFF"), PropertyList(std::int64_t{4294967295}));
    EXPECT_EQ(single("\x13" + std::string(8, '\xFF')), PropertyList(-1));
    EXPECT_EQ(single("\x14" + std::string(16, '\0')), PropertyList(0));
    EXPECT_EQ(single("\x14" + bigEndian(0, 8) + bigEndian(UINT64_MAX, 8)), PropertyList(UINT64_MAX));
    EXPECT_EQ(single("\x14" + std::string(16, '\xFF')), std::nullopt);           // libplist drops the sign
    EXPECT_EQ(single("\x14" + bigEndian(1, 8) + bigEndian(0, 8)), std::nullopt); // beyond 64 bits
    EXPECT_EQ(single("\x14" + bigEndian(UINT64_MAX, 8) + bigEndian(0, 8)), std::nullopt);
    EXPECT_EQ(single("\x15" + std::string(32, '\0')), std::nullopt);
    EXPECT_EQ(single("\x13\x01"), std::nullopt);
}

TEST(BinaryPropertyListCheck, OtherScalars) {
    EXPECT_EQ(single("\x08"), PropertyList(false));
    EXPECT_EQ(single("\x09"), PropertyList(true));
    EXPECT_EQ(single("\x22" + bigEndian(0x3FC00000, 4)), PropertyList(1.5));
    EXPECT_EQ(single("\x23" + bigEndian(0x3FF8000000000000, 8)), PropertyList(1.5));
    EXPECT_EQ(single("\x33" + bigEndian(0x3FF8000000000000, 8)), PropertyList(PropertyList::Date{1.5}));
    EXPECT_EQ(single("\x40"), PropertyList(PropertyList::Data{}));
    EXPECT_EQ(single("\x50"), PropertyList(""));
    EXPECT_EQ(single("\x53\xE2\x82\xAC"), PropertyList("€")); // UTF-8 where ASCII should be
    EXPECT_EQ(single(std::string("\x62\x20\xAC\x00\x41", 5)), PropertyList("€A"));
    EXPECT_EQ(single("\x80\x05"), PropertyList(PropertyList::Uid{5}));
    EXPECT_EQ(single("\x83" + bigEndian(UINT32_MAX, 4)), PropertyList(PropertyList::Uid{UINT32_MAX}));
    EXPECT_EQ(single("\x87" + bigEndian(7, 8)), PropertyList(PropertyList::Uid{7}));
    EXPECT_EQ(single(counted(0x50, 3) + "abc"), PropertyList("abc"));
}

TEST(BinaryPropertyListCheck, WhatIsNoValueIsDamage) {
    EXPECT_FALSE(single(std::string(1, '\0'))); // null
    EXPECT_FALSE(single("\x0F"));               // fill
    EXPECT_FALSE(single("\x60"));               // libplist knows no empty text of this kind
    EXPECT_FALSE(single(std::string("\x53"
                                    "a\0b",
                                    4)));
    EXPECT_FALSE(single(std::string("\x62\x00\x41\x00\x00", 5)));
    EXPECT_FALSE(single("\x87" + bigEndian(std::uint64_t{1} << 32, 8)));
    EXPECT_FALSE(single("\x21" + bigEndian(0, 2)));
    EXPECT_FALSE(single("\x24" + bigEndian(0, 16)));
    EXPECT_FALSE(single("\x32" + bigEndian(0, 4)));
    EXPECT_FALSE(single("\x33" + bigEndian(0x7FF8000000000000, 8))); // a date that is no number
    EXPECT_FALSE(single("\x33" + bigEndian(0x7FF0000000000000, 8)));
    EXPECT_FALSE(single("\x51\xFF"));
    EXPECT_FALSE(single("\x61\xD8\x3D"));         // half a surrogate pair
    EXPECT_FALSE(single("\x62\xDE\x00\xD8\x3D")); // and the halves swapped
    EXPECT_FALSE(single("\x70"));
    EXPECT_FALSE(single("\x88" + bigEndian(0, 9)));
    EXPECT_FALSE(single("\xC0")); // a set
    EXPECT_FALSE(single("\xF0"));
}

TEST(BinaryPropertyListCheck, CountsBeyondTheFileAreDamage) {
    for (unsigned marker : {0x40U, 0x50U, 0x60U, 0xA0U, 0xD0U}) {
        for (std::uint64_t count : {std::uint64_t{4}, std::uint64_t{1} << 32, std::uint64_t{1} << 61,
                                    std::uint64_t{1} << 63, UINT64_MAX}) {
            EXPECT_FALSE(single(counted(marker, count) + "abc")) << marker << " " << count;
        }
        EXPECT_FALSE(single(bigEndian(marker | 0x0F, 1)));              // no count
        EXPECT_FALSE(single(bigEndian(marker | 0x0F, 1) + "\x10"));     // half a count
        EXPECT_FALSE(single(bigEndian(marker | 0x0F, 1) + "\x51\x01")); // a count that is text
        EXPECT_FALSE(single(bigEndian(marker | 0x0F, 1) + "\x14" + std::string(16, '\0')));
    }
    EXPECT_FALSE(single("\x54"
                        "abc"));
}

TEST(BinaryPropertyListCheck, ATrailerThatLiesIsDamage) {
    const BinaryFile sound{.objects = {"\x09"}};
    ASSERT_TRUE(sound.parsed());
    auto with = [&](auto change) {
        auto file = sound;
        change(file);
        return file.parsed();
    };
    for (std::uint64_t count :
         {std::uint64_t{0}, std::uint64_t{2}, std::uint64_t{1} << 32, std::uint64_t{1} << 62, UINT64_MAX}) {
        EXPECT_FALSE(with([&](BinaryFile& file) { file.objectCount = count; })) << count;
    }
    for (std::uint64_t start :
         {std::uint64_t{0}, std::uint64_t{8}, std::uint64_t{14}, std::uint64_t{1} << 32, UINT64_MAX}) {
        EXPECT_FALSE(with([&](BinaryFile& file) { file.tableStart = start; })) << start;
    }
    EXPECT_FALSE(with([](BinaryFile& file) { file.root = 1; }));
    EXPECT_FALSE(with([](BinaryFile& file) { file.root = UINT64_MAX; }));
    EXPECT_FALSE(with([](BinaryFile& file) { file.offsetSize = 9; }));
    EXPECT_FALSE(with([](BinaryFile& file) { file.offsetSize = 255; }));
    EXPECT_FALSE(with([](BinaryFile& file) { file.referenceSize = 0; }));
    EXPECT_FALSE(with([](BinaryFile& file) { file.referenceSize = 9; }));
    EXPECT_FALSE(parsePropertyList("bplist01" + sound.bytes().substr(8)));
    EXPECT_FALSE(parsePropertyList("bplist00" + std::string(32, '\0')));
    EXPECT_FALSE(parsePropertyList("bplist00" + std::string(32, '\xFF')));
}

TEST(BinaryPropertyListCheck, OffsetsAndReferencesOfEverySize) {
    for (std::size_t size = 1; size <= 8; ++size) {
        BinaryFile file{.objects = {"\xD1" + bigEndian(1, size) + bigEndian(2, size),
                                    "\x51"
                                    "k",
                                    "\x09"},
                        .offsetSize = size,
                        .referenceSize = size};
        EXPECT_EQ(file.parsed(), PropertyList(PropertyList::Dictionary{{"k", true}})) << size;
    }
}

TEST(BinaryPropertyListCheck, ReferencesThatLeadNowhereAreDamage) {
    EXPECT_FALSE((BinaryFile{.objects = {"\xA1\x02", "\x09"}}.parsed()));
    EXPECT_FALSE((BinaryFile{.objects = {"\xA1\xFF", "\x09"}}.parsed()));
    auto bytes = BinaryFile{.objects = {"\xA1\x01", "\x09"}}.bytes();
    for (std::uint64_t offset : {0U, 7U, 11U, 0xFFFFFFFFU}) { // outside the objects
        auto changed = bytes;
        changed.replace(15, 4, bigEndian(offset, 4)); // the second entry of the table
        EXPECT_FALSE(parsePropertyList(changed)) << offset;
    }
}

TEST(BinaryPropertyListCheck, KeysAreText) {
    EXPECT_TRUE((BinaryFile{.objects = {"\xD1\x01\x02", "\x50", "\x09"}}.parsed()));
    for (const char* key : {"\x09", "\x10\x01", "\x41x", "\xA0", "\xD0", "\x80\x01"}) {
        EXPECT_FALSE((BinaryFile{.objects = {"\xD1\x01\x02", key, "\x09"}}.parsed())) << key;
    }
}

TEST(BinaryPropertyListCheck, AnObjectThatContainsItselfIsDamage) {
    EXPECT_FALSE((BinaryFile{.objects = {std::string("\xA1\x00", 2)}}.parsed()));
    EXPECT_FALSE((BinaryFile{.objects = {"\xA1\x01", std::string("\xA1\x00", 2)}}.parsed()));
    EXPECT_FALSE((BinaryFile{.objects = {std::string("\xD1\x01\x00", 3), "\x51k"}}.parsed()));
    EXPECT_FALSE((BinaryFile{.objects = {std::string("\xA2\x00\x00", 3)}}.parsed()));
}

TEST(BinaryPropertyListCheck, SharedObjectsCountAsOftenAsTheyAreReferredTo) {
    EXPECT_TRUE(tenfold(5).parsed());  // 111,111 values
    EXPECT_FALSE(tenfold(6).parsed()); // 1,111,111
    EXPECT_FALSE(tenfold(8).parsed());
    EXPECT_FALSE(tenfold(200).parsed()); // more than any number can count
}

TEST(BinaryPropertyListCheck, OneTextMayBeReferredToOften) {
    BinaryFile file{.objects = {counted(0xA0, 199'999) + std::string(199'999, '\x01'), "\x53"
                                                                                       "abc"}};
    auto list = file.parsed();
    ASSERT_TRUE(list && list->array());
    ASSERT_EQ(list->array()->size(), 199'999U);
    EXPECT_EQ(list->array()->back(), PropertyList("abc"));

    file.objects[1] = counted(0x50, 1000) + std::string(1000, 'x'); // 200 million bytes
    EXPECT_FALSE(file.parsed());
    file.objects[1] = counted(0x40, 1000) + std::string(1000, 'x');
    EXPECT_FALSE(file.parsed());
    file.objects[0] = counted(0xA0, 2'000'000) + std::string(2'000'000, '\x01');
    file.objects[1] = "\x09";
    EXPECT_FALSE(file.parsed());
}

TEST(BinaryPropertyListCheck, DepthIsBounded) {
    EXPECT_TRUE(nested(kPropertyListMaximumDepth).parsed());
    EXPECT_FALSE(nested(kPropertyListMaximumDepth + 1).parsed());
    EXPECT_FALSE(nested(100'000).parsed());
    // Also when the deep part was met before, closer to the root.
    auto file = nested(kPropertyListMaximumDepth - 1);
    auto root = file.objects.size();
    file.objects.push_back("\xA2" + bigEndian(0, 3) + bigEndian(root + 1, 3));
    file.objects.push_back("\xA1" + bigEndian(0, 3));
    file.root = root;
    EXPECT_FALSE(file.parsed());
    file.objects[root + 1] = "\xA1" + bigEndian(1, 3);
    EXPECT_TRUE(file.parsed());
}
