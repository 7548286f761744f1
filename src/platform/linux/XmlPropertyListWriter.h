#pragma once

#include "PropertyList.h"

#include <cstddef>
#include <string>
#include <string_view>

namespace platform {

// Writes a property list as XML, laid out as the first platform lays it out: one value a line, tabs for
// the depth, dictionaries in key order.
class XmlPropertyListWriter {
public:
    // `list` is within the reader's limits of nodes and depth, and all its texts are UTF-8. Throws
    // `Exception` ("NSInvalidArgumentException") for a text with a zero byte and for a date before year
    // 0 or after 9999, which XML cannot tell, and when the file would be larger than the reader accepts.
    std::string write(const PropertyList& list);

private:
    void writeValue(const PropertyList& list, std::size_t depth);
    void writeDictionary(const PropertyList::Dictionary& dictionary, std::size_t depth);
    void writeArray(const PropertyList::Array& array, std::size_t depth);
    void writeData(std::string_view bytes, std::size_t depth);
    void writeLine(std::size_t depth, std::string_view text);
    void writeText(std::size_t depth, std::string_view tag, std::string_view text);

    std::string xml_;
};

} // namespace platform
