#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

namespace platform {

// Looks through a binary property list before libplist makes values of it. The file is a table of
// objects that refer to each other by number, and an object that is referred to several times becomes
// several values, so a small file can stand for a huge list; therefore every object is checked and
// measured once, with all that it refers to.
class BinaryPropertyListCheck {
public:
    // `file` outlives the check.
    explicit BinaryPropertyListCheck(std::string_view file) : file_(file) {}

    // Whether the file is sound and within the limits.
    bool accepts();

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

    std::string_view file_;
    std::size_t offsetSize_ = 0;
    std::size_t referenceSize_ = 0;
    std::uint64_t rootIndex_ = 0;
    std::size_t tableStart_ = 0;
    std::vector<Extent> extents_; // one per object
};

} // namespace platform
