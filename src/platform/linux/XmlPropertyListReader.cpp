#include "XmlPropertyListReader.h"

#include "PropertyListSerialization.h"
#include "XmlScalars.h"

#include <algorithm>
#include <charconv>
#include <unicode/utf.h>

namespace platform {

namespace {

constexpr std::uint32_t kLargestCodePoint = 0x10FFFF;

bool isLetter(char character) {
    return (character >= 'a' && character <= 'z') || (character >= 'A' && character <= 'Z');
}

void appendCodePoint(std::string& text, UChar32 codePoint) {
    char bytes[U8_MAX_LENGTH];
    int length = 0;
    U8_APPEND_UNSAFE(bytes, length, codePoint);
    text.append(bytes, static_cast<std::size_t>(length));
}

// What a reference stands for: `name` is the text between "&" and ";".
bool appendReference(std::string& text, std::string_view name) {
    static constexpr struct {
        std::string_view name;
        char character;
    } kPredefined[] = {{"amp", '&'}, {"lt", '<'}, {"gt", '>'}, {"quot", '"'}, {"apos", '\''}};
    for (const auto& entity : kPredefined) {
        if (name == entity.name) {
            text += entity.character;
            return true;
        }
    }
    if (!name.starts_with('#')) {
        return false;
    }
    bool hexadecimal = name.starts_with("#x");
    name.remove_prefix(hexadecimal ? 2 : 1);
    std::uint32_t number = 0;
    auto result = std::from_chars(name.data(), name.data() + name.size(), number, hexadecimal ? 16 : 10);
    auto codePoint = static_cast<UChar32>(number);
    if (result.ec != std::errc() || result.ptr != name.data() + name.size() || number == 0 ||
        number > kLargestCodePoint || U_IS_SURROGATE(codePoint)) {
        return false;
    }
    appendCodePoint(text, codePoint);
    return true;
}

// Character data up to the next tag, references replaced.
bool appendCharacters(std::string& text, std::string_view characters) {
    for (;;) {
        auto ampersand = characters.find('&');
        text += characters.substr(0, ampersand);
        if (ampersand == characters.npos) {
            return true;
        }
        characters.remove_prefix(ampersand + 1);
        // Looked for no further than the longest name goes: "#1114111", with room for leading zeros.
        constexpr std::size_t kLongestReference = 16;
        auto semicolon = characters.substr(0, kLongestReference).find(';');
        if (semicolon == characters.npos || !appendReference(text, characters.substr(0, semicolon))) {
            return false;
        }
        characters.remove_prefix(semicolon + 1);
    }
}

// Keyed archives write an object reference as a dictionary of this one entry.
std::optional<PropertyList::Uid> objectReference(const PropertyList::Dictionary& dictionary) {
    if (dictionary.size() != 1 || dictionary.begin()->first != "CF$UID") {
        return std::nullopt;
    }
    const auto& value = dictionary.begin()->second.value();
    if (const auto* number = std::get_if<std::int64_t>(&value); number && *number >= 0) {
        return PropertyList::Uid{static_cast<std::uint64_t>(*number)};
    }
    if (const auto* number = std::get_if<std::uint64_t>(&value)) {
        return PropertyList::Uid{*number};
    }
    return std::nullopt;
}

template <typename Value>
std::optional<PropertyList> asPropertyList(std::optional<Value> value) {
    return value ? std::optional<PropertyList>(std::move(*value)) : std::nullopt;
}

} // namespace

std::optional<PropertyList> XmlPropertyListReader::read() {
    if (!takeMiscellany() || !takeDocumentType() || !takeMiscellany()) {
        return std::nullopt;
    }
    auto root = takeStartTag();
    if (!root || root->name != "plist" || root->isEmpty || !takeMiscellany()) {
        return std::nullopt;
    }
    auto value = readValue(1);
    if (!value || !takeMiscellany() || !take("</") || !takeEndTag("plist") || !takeMiscellany() ||
        !rest_.empty()) {
        return std::nullopt;
    }
    return value;
}

bool XmlPropertyListReader::take(std::string_view token) {
    if (!rest_.starts_with(token)) {
        return false;
    }
    rest_.remove_prefix(token.size());
    return true;
}

bool XmlPropertyListReader::takePast(std::string_view terminator) {
    auto found = rest_.find(terminator);
    if (found == rest_.npos) {
        return false;
    }
    rest_.remove_prefix(found + terminator.size());
    return true;
}

void XmlPropertyListReader::takeSpace() {
    while (!rest_.empty() && isXmlSpace(rest_.front())) {
        rest_.remove_prefix(1);
    }
}

bool XmlPropertyListReader::takeMiscellany() {
    for (;;) {
        takeSpace();
        if (take("<!--")) {
            if (!takePast("-->")) {
                return false;
            }
        } else if (take("<?")) {
            if (!takePast("?>")) {
                return false;
            }
        } else {
            return true;
        }
    }
}

// A document type may name its definition, but not bring one along: that is where entities come from.
bool XmlPropertyListReader::takeDocumentType() {
    if (!take("<!DOCTYPE")) {
        return true;
    }
    for (;;) {
        auto found = rest_.find_first_of("\"'[<>");
        if (found == rest_.npos) {
            return false;
        }
        char character = rest_[found];
        rest_.remove_prefix(found + 1);
        if (character == '>') {
            return true;
        }
        if (character == '[' || character == '<' || !takePast({&character, 1})) {
            return false;
        }
    }
}

bool XmlPropertyListReader::takeAttributes() {
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
        bool isClosed = take("\"") ? takePast("\"") : take("'") && takePast("'");
        if (!isClosed) {
            return false;
        }
    }
    return true;
}

std::optional<XmlPropertyListReader::Tag> XmlPropertyListReader::takeStartTag() {
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

bool XmlPropertyListReader::takeEndTag(std::string_view name) {
    if (!take(name)) {
        return false;
    }
    takeSpace();
    return take(">");
}

std::optional<PropertyList> XmlPropertyListReader::readValue(std::size_t depth) {
    auto tag = takeStartTag();
    if (!tag || depth > kPropertyListMaximumDepth || ++nodes_ > kPropertyListMaximumNodes) {
        return std::nullopt;
    }
    if (tag->name == "dict") {
        return readDictionary(*tag, depth);
    }
    if (tag->name == "array") {
        return readArray(*tag, depth);
    }
    auto text = readText(*tag);
    if (!text) {
        return std::nullopt;
    }
    if (tag->name == "string") {
        return PropertyList(std::move(*text));
    }
    if (tag->name == "true" || tag->name == "false") {
        return std::all_of(text->begin(), text->end(), isXmlSpace)
                   ? std::optional<PropertyList>(tag->name == "true")
                   : std::nullopt;
    }
    if (tag->name == "integer") {
        return integerFromXml(*text);
    }
    if (tag->name == "real") {
        return asPropertyList(realFromXml(*text));
    }
    if (tag->name == "date") {
        return asPropertyList(dateFromXml(*text));
    }
    if (tag->name == "data") {
        return asPropertyList(dataFromXml(*text));
    }
    return std::nullopt;
}

std::optional<PropertyList> XmlPropertyListReader::readDictionary(const Tag& tag, std::size_t depth) {
    PropertyList::Dictionary dictionary;
    while (!tag.isEmpty) {
        if (!takeMiscellany()) {
            return std::nullopt;
        }
        if (take("</")) {
            if (!takeEndTag(tag.name)) {
                return std::nullopt;
            }
            break;
        }
        auto keyTag = takeStartTag();
        if (!keyTag || keyTag->name != "key") {
            return std::nullopt;
        }
        auto key = readText(*keyTag);
        if (!key || !takeMiscellany()) {
            return std::nullopt;
        }
        auto value = readValue(depth + 1);
        if (!value) {
            return std::nullopt;
        }
        dictionary.insert_or_assign(std::move(*key), std::move(*value));
    }
    if (auto reference = objectReference(dictionary)) {
        return PropertyList(*reference);
    }
    return PropertyList(std::move(dictionary));
}

std::optional<PropertyList> XmlPropertyListReader::readArray(const Tag& tag, std::size_t depth) {
    PropertyList::Array array;
    while (!tag.isEmpty) {
        if (!takeMiscellany()) {
            return std::nullopt;
        }
        if (take("</")) {
            if (!takeEndTag(tag.name)) {
                return std::nullopt;
            }
            break;
        }
        auto value = readValue(depth + 1);
        if (!value) {
            return std::nullopt;
        }
        array.push_back(std::move(*value));
    }
    return PropertyList(std::move(array));
}

std::optional<std::string> XmlPropertyListReader::readText(const Tag& tag) {
    std::string text;
    while (!tag.isEmpty) {
        auto length = rest_.find('<');
        if (length == rest_.npos || !appendCharacters(text, rest_.substr(0, length))) {
            return std::nullopt;
        }
        rest_.remove_prefix(length);
        if (take("</")) {
            if (!takeEndTag(tag.name)) {
                return std::nullopt;
            }
            break;
        }
        if (take("<![CDATA[")) {
            auto section = rest_.substr(0, rest_.find("]]>"));
            text += section;
            rest_.remove_prefix(section.size());
            if (!take("]]>")) {
                return std::nullopt;
            }
        } else if (!take("<!--") || !takePast("-->")) {
            return std::nullopt;
        }
    }
    return text;
}

} // namespace platform
