#pragma once

#include "PropertyList.h"

#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace platform {

// Writes a property list in the binary format. A text that occurs several times, as keys do, is
// written once.
class BinaryPropertyListWriter {
public:
    // `list` outlives the call, is within the reader's limits of nodes and depth, and all its texts are
    // UTF-8. Throws `Exception` ("NSInvalidArgumentException") for a date that is no finite number and
    // when the file would be larger than the reader accepts.
    std::string write(const PropertyList& list);

private:
    using Index = std::uint32_t;

    struct Object {
        const PropertyList* value; // null for a text
        std::string_view text;
        std::vector<Index> references; // keys, then values
    };

    Index add(const PropertyList& list);
    Index addText(std::string_view text);

    void writeObject(const Object& object);
    void writeText(std::string_view text);
    void writeInteger(std::int64_t value);
    void writeReferences(unsigned marker, std::size_t count, const Object& object);
    void writeMarker(unsigned marker, std::size_t count);
    void writeNumber(std::uint64_t value, std::size_t size); // big-endian

    std::vector<Object> objects_;
    std::map<std::string_view, Index> texts_;
    std::size_t referenceSize_ = 1;
    std::string file_;
};

} // namespace platform
