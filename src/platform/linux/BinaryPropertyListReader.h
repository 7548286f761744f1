#pragma once

#include "PropertyList.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

namespace platform {

// Reads a binary property list: a table of objects that refer to each other by number. An object that
// is referred to several times becomes several values, so a small file can stand for a huge list;
// therefore every object is checked and measured once, and values are made only when all of it is
// sound and within the limits.
class BinaryPropertyListReader {
public:
    // `file` outlives the reader.
    explicit BinaryPropertyListReader(std::string_view file) : file_(file) {}

    // Absent when the file is damaged or beyond the reader's limits.
    std::optional<PropertyList> read();

private:
    enum class Kind : std::uint8_t {
        Boolean = 0x0,
        Integer = 0x1,
        Real = 0x2,
        Date = 0x3,
        Data = 0x4,
        Ascii = 0x5,
        Utf16 = 0x6,
        Uid = 0x8,
        Array = 0xA,
        Dictionary = 0xD,
    };

    struct Object {
        Kind kind;
        std::uint8_t detail;   // the marker's low half
        std::uint64_t count;   // elements, for what has any
        std::string_view body; // the bytes behind marker and count
    };

    // What an object is once everything it refers to is written out below it.
    struct Extent {
        enum class State : std::uint8_t { Unknown, Measuring, Known };
        State state = State::Unknown;
        bool isText = false;
        std::uint16_t height = 1;
        std::uint32_t nodes = 1; // keys not counted
        std::uint32_t bytes = 0; // of texts and data
    };

    bool readTrailer();
    std::optional<Object> objectAt(std::uint64_t index) const;
    std::uint64_t reference(const Object& object, std::uint64_t position) const;

    bool measure(std::uint64_t index, std::size_t depth);
    bool measureScalar(const Object& object, Extent& extent) const;
    bool measureReferences(const Object& object, std::size_t depth, Extent& extent);

    PropertyList build(std::uint64_t index) const; // only what has been measured
    static PropertyList buildInteger(std::string_view body);

    std::string_view file_;
    std::size_t offsetSize_ = 0;
    std::size_t referenceSize_ = 0;
    std::uint64_t rootIndex_ = 0;
    std::size_t tableStart_ = 0;
    std::vector<Extent> extents_; // one per object
};

} // namespace platform
