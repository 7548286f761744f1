#pragma once

#include "PropertyList.h"

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace platform {

// Reads an XML property list in one strict pass over its text: what is not exactly one value inside
// one <plist>, spelt as it should be, is damaged. Time and memory grow with the text alone: no entity
// can be defined, and nothing is looked at twice.
class XmlPropertyListReader {
public:
    // `document` is UTF-8, without a byte-order mark, and outlives the reader.
    explicit XmlPropertyListReader(std::string_view document) : rest_(document) {}

    // Absent when the document is damaged or beyond the reader's limits.
    std::optional<PropertyList> read();

private:
    struct Tag {
        std::string_view name;
        bool isEmpty = false; // <name/>
    };

    bool take(std::string_view token);
    bool takePast(std::string_view terminator);
    void takeSpace();
    bool takeMiscellany(); // white space, comments and processing instructions
    bool takeDocumentType();
    bool takeAttributes();
    std::optional<Tag> takeStartTag();
    bool takeEndTag(std::string_view name); // behind its "</"

    std::optional<PropertyList> readValue(std::size_t depth);
    std::optional<PropertyList> readDictionary(const Tag& tag, std::size_t depth);
    std::optional<PropertyList> readArray(const Tag& tag, std::size_t depth);
    std::optional<std::string> readText(const Tag& tag);

    std::string_view rest_; // what has not been read
    std::size_t nodes_ = 0;
};

} // namespace platform
