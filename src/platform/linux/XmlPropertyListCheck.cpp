#include "XmlPropertyListCheck.h"

#include "PropertyListSerialization.h"
#include "XmlScalars.h"

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <unicode/utf.h>

namespace platform {

namespace {

constexpr std::uint32_t kLargestCodePoint = 0x10FFFF;

// libplist moves the whole rest of a text for every reference in it, and may compare a key with all
// keys before it. The sum over the document, a unit being a cache line moved or compared, keeps the worst
// of files to a few seconds; 10,000 keys in one dictionary reach it.
constexpr std::size_t kMaximumEffort = 50'000'000;
constexpr std::size_t kCacheLine = 64;

bool isLetter(char character) {
    return (character >= 'a' && character <= 'z') || (character >= 'A' && character <= 'Z');
}

// Whether `name`, the text between "&" and ";", stands for a character.
bool isReference(std::string_view name) {
    if (!name.starts_with('#')) {
        return name == "amp" || name == "lt" || name == "gt" || name == "quot" || name == "apos";
    }
    bool hexadecimal = name.starts_with("#x");
    name.remove_prefix(hexadecimal ? 2 : 1);
    std::uint32_t number = 0;
    auto result = std::from_chars(name.data(), name.data() + name.size(), number, hexadecimal ? 16 : 10);
    return result.ec == std::errc() && result.ptr == name.data() + name.size() && number != 0 &&
           number <= kLargestCodePoint && !U_IS_SURROGATE(number);
}

} // namespace

bool XmlPropertyListCheck::accepts() {
    if (!takeMiscellany() || !takeDocumentType() || !takeMiscellany()) {
        return false;
    }
    auto root = takeStartTag();
    return root && root->name == "plist" && !root->isEmpty && takeMiscellany() && checkValue(1) &&
           takeMiscellany() && take("</") && takeEndTag("plist") && takeMiscellany() && rest_.empty();
}

bool XmlPropertyListCheck::takePast(std::string_view terminator) {
    auto found = rest_.find(terminator);
    if (found == rest_.npos) {
        return false;
    }
    rest_.remove_prefix(found + terminator.size());
    return true;
}

void XmlPropertyListCheck::takeSpace() {
    while (!rest_.empty() && isXmlSpace(rest_.front())) {
        rest_.remove_prefix(1);
    }
}

bool XmlPropertyListCheck::takeMiscellany() {
    for (;;) {
        takeSpace();
        if (take("<!--")) {
            if (!takePast("-->")) {
                return false;
            }
        } else if (take("<?")) {
            if (!takeInstruction()) {
                return false;
            }
        } else {
            return true;
        }
    }
}

// With an open quotation in it, libplist would look for the end elsewhere.
bool XmlPropertyListCheck::takeInstruction() {
    const auto start = rest_;
    if (!takePast("?>")) {
        return false;
    }
    auto instruction = start.substr(0, start.size() - rest_.size());
    return std::count(instruction.begin(), instruction.end(), '"') % 2 == 0;
}

// A document type may name its definition, but not bring one along: that is where entities come from.
// Only double quotes hide a ">" from libplist.
bool XmlPropertyListCheck::takeDocumentType() {
    if (!take("<!DOCTYPE")) {
        return true;
    }
    for (;;) {
        auto found = rest_.find_first_of("\"[<>");
        if (found == rest_.npos) {
            return false;
        }
        char character = rest_[found];
        rest_.remove_prefix(found + 1);
        if (character == '>') {
            return true;
        }
        if (character != '"' || !takePast("\"")) {
            return false;
        }
    }
}

bool XmlPropertyListCheck::takeAttributes() {
    while (!rest_.empty() && isXmlSpace(rest_.front())) {
        takeSpace();
        auto length = rest_.find_first_of("= \t\r\n<>/\"'");
        if (length == 0) {
            return true;
        }
        rest_.remove_prefix(std::min(length, rest_.size()));
        takeSpace();
        if (!take("=")) {
            return false;
        }
        takeSpace();
        if (!rest_.starts_with('"') && !rest_.starts_with('\'')) {
            return false;
        }
        // None of these inside, where libplist may take them for the end of the tag.
        auto end = rest_.find_first_of("\"'<>", 1);
        if (end == rest_.npos || rest_[end] != rest_.front()) {
            return false;
        }
        rest_.remove_prefix(end + 1);
    }
    return true;
}

std::optional<XmlPropertyListCheck::Tag> XmlPropertyListCheck::takeStartTag() {
    if (!take("<")) {
        return std::nullopt;
    }
    std::size_t length = 0;
    while (length < rest_.size() && isLetter(rest_[length])) {
        ++length;
    }
    Tag tag{.name = rest_.substr(0, length)};
    rest_.remove_prefix(length);
    if (!takeAttributes()) {
        return std::nullopt;
    }
    tag.isEmpty = take("/");
    return take(">") ? std::optional(tag) : std::nullopt;
}

bool XmlPropertyListCheck::takeEndTag(std::string_view name) {
    if (!take(name)) {
        return false;
    }
    takeSpace();
    return take(">");
}

bool XmlPropertyListCheck::checkValue(std::size_t depth) {
    auto tag = takeStartTag();
    if (!tag || depth > kPropertyListMaximumDepth || ++nodes_ > kPropertyListMaximumNodes) {
        return false;
    }
    if (tag->name == "dict") {
        return checkDictionary(*tag, depth);
    }
    if (tag->name == "array") {
        return checkArray(*tag, depth);
    }
    return tag->name == "string" ? checkText(*tag) : checkScalar(*tag);
}

bool XmlPropertyListCheck::checkDictionary(const Tag& tag, std::size_t depth) {
    for (std::size_t keys = 0; !tag.isEmpty; ++keys) {
        if (!takeMiscellany()) {
            return false;
        }
        if (take("</")) {
            return takeEndTag(tag.name);
        }
        const auto before = rest_.size();
        auto keyTag = takeStartTag();
        if (!keyTag || keyTag->name != "key" || !checkText(*keyTag) ||
            !addEffort(keys * (1 + (before - rest_.size()) / kCacheLine)) || !takeMiscellany() ||
            !checkValue(depth + 1)) {
            return false;
        }
    }
    return true;
}

bool XmlPropertyListCheck::checkArray(const Tag& tag, std::size_t depth) {
    while (!tag.isEmpty) {
        if (!takeMiscellany()) {
            return false;
        }
        if (take("</")) {
            return takeEndTag(tag.name);
        }
        if (!checkValue(depth + 1)) {
            return false;
        }
    }
    return true;
}

bool XmlPropertyListCheck::checkText(const Tag& tag) {
    while (!tag.isEmpty) {
        auto characters = rest_.substr(0, rest_.find('<'));
        if (!checkReferences(characters)) {
            return false;
        }
        rest_.remove_prefix(characters.size());
        if (take("</")) {
            return takeEndTag(tag.name);
        }
        if (!(take("<![CDATA[") ? takePast("]]>") : take("<!--") && takePast("-->"))) {
            return false;
        }
    }
    return true;
}

bool XmlPropertyListCheck::checkReferences(std::string_view characters) {
    for (;;) {
        auto ampersand = characters.find('&');
        if (ampersand == characters.npos) {
            return true;
        }
        characters.remove_prefix(ampersand + 1);
        // Looked for no further than the longest name goes: "#1114111".
        constexpr std::size_t kLongestReference = 9;
        auto semicolon = characters.substr(0, kLongestReference).find(';');
        if (semicolon == characters.npos || !isReference(characters.substr(0, semicolon)) ||
            !addEffort(characters.size() / kCacheLine)) {
            return false;
        }
        characters.remove_prefix(semicolon + 1);
    }
}

// Plain text only: libplist knows no references here, and loses what stands behind a comment.
bool XmlPropertyListCheck::checkScalar(const Tag& tag) {
    std::string_view text;
    if (!tag.isEmpty) {
        text = rest_.substr(0, rest_.find('<'));
        rest_.remove_prefix(text.size());
        if (!take("</") || !takeEndTag(tag.name)) {
            return false;
        }
    }
    if (tag.name == "true" || tag.name == "false") {
        return std::all_of(text.begin(), text.end(), isXmlSpace);
    }
    return (tag.name == "integer" && isXmlInteger(text)) || (tag.name == "real" && isXmlReal(text)) ||
           (tag.name == "date" && isXmlDate(text)) || (tag.name == "data" && isXmlData(text));
}

bool XmlPropertyListCheck::addEffort(std::size_t amount) {
    effort_ += amount;
    return effort_ <= kMaximumEffort;
}

} // namespace platform
