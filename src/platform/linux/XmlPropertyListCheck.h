#pragma once

#include <cstddef>
#include <optional>
#include <string_view>

namespace platform {

// Looks through an XML property list in one strict pass before libplist, which is lenient and in places
// slow, makes values of it: what is not exactly one value inside one <plist>, spelt as it should be and
// seen by libplist as it stands here, is refused. Time grows with the text alone.
class XmlPropertyListCheck {
public:
    // `document` is UTF-8, without zero bytes and byte-order mark, and outlives the check.
    explicit XmlPropertyListCheck(std::string_view document) : rest_(document) {}

    // Whether the document is sound and within the limits.
    bool accepts();

private:
    struct Tag {
        std::string_view name;
        bool isEmpty = false; // <name/>
    };

    // Here, so that the comparison is made for the length of each token: most of the time goes into it.
    bool take(std::string_view token) {
        if (!rest_.starts_with(token)) {
            return false;
        }
        rest_.remove_prefix(token.size());
        return true;
    }
    bool takePast(std::string_view terminator);
    void takeSpace();
    bool takeMiscellany(); // white space, comments and processing instructions
    bool takeInstruction();
    bool takeDocumentType();
    bool takeAttributes();
    std::optional<Tag> takeStartTag();
    bool takeEndTag(std::string_view name); // behind its "</"

    bool checkValue(std::size_t depth);
    bool checkDictionary(const Tag& tag, std::size_t depth);
    bool checkArray(const Tag& tag, std::size_t depth);
    bool checkText(const Tag& tag);
    bool checkReferences(std::string_view characters);
    bool checkScalar(const Tag& tag);
    bool addEffort(std::size_t amount);

    std::string_view rest_; // what has not been looked at
    std::size_t nodes_ = 0;
    std::size_t effort_ = 0;
};

} // namespace platform
