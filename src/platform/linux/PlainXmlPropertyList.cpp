#include "PlainXmlPropertyList.h"

#include "PropertyListSerialization.h"
#include "XmlScalars.h"

#include <algorithm>
#include <expat.h>
#include <memory>
#include <type_traits>
#include <vector>

namespace platform {

namespace {

class PlainXml {
public:
    explicit PlainXml(std::string_view document) : document_(document) {}

    std::optional<std::string> write() {
        XML_SetUserData(parser_.get(), this);
        XML_SetStartDoctypeDeclHandler(parser_.get(), documentType);
        XML_SetSkippedEntityHandler(parser_.get(), unknownEntity);
        XML_SetElementHandler(parser_.get(), elementStart, elementEnd);
        XML_SetCharacterDataHandler(parser_.get(), characters);
        auto status =
            XML_Parse(parser_.get(), document_.data(), static_cast<int>(document_.size()), XML_TRUE);
        return status == XML_STATUS_OK ? std::optional(std::move(plain_)) : std::nullopt;
    }

private:
    struct Element {
        std::string_view name;
        std::size_t children = 0;

        bool isContainer() const { return name == "dict" || name == "array" || name == "plist"; }
    };

    // --- What the parser calls

    static PlainXml& self(void* user) { return *static_cast<PlainXml*>(user); }

    // A document type may name its definition, but not bring one along: that is where entities come from.
    static void documentType(void* user, const char*, const char*, const char*, int hasDefinitions) {
        self(user).require(hasDefinitions == 0);
    }
    static void unknownEntity(void* user, const char*, int) { self(user).require(false); }
    static void elementStart(void* user, const char* name, const char**) {
        self(user).require(self(user).open(name));
    }
    static void elementEnd(void* user, const char*) { self(user).require(self(user).close()); }
    static void characters(void* user, const char* text, int length) {
        self(user).require(self(user).add({text, static_cast<std::size_t>(length)}));
    }

    void require(bool condition) {
        if (!condition) {
            XML_StopParser(parser_.get(), XML_FALSE);
        }
    }

    // --- The elements

    bool open(std::string_view name) {
        static constexpr std::string_view kNames[] = {"dict", "array", "key",  "string", "integer",
                                                      "real", "date",  "data", "true",   "false"};
        if (open_.empty()) {
            open_.push_back({"plist"});
            plain_ = "<plist>";
            return name == "plist";
        }
        const auto* known = std::ranges::find(kNames, name);
        if (known == std::end(kNames) || open_.size() > kPropertyListMaximumDepth || !fits(*known)) {
            return false;
        }
        ++open_.back().children;
        open_.push_back({*known});
        text_.clear();
        if (*known == "dict") {
            plain_ += "<dict><key></key><array>";
        } else if (*known == "array") {
            plain_ += "<array>";
        }
        return *known == "key" || ++values_ <= kPropertyListMaximumNodes;
    }

    // Whether an element may stand at this place of the open one.
    bool fits(std::string_view name) const {
        const auto& parent = open_.back();
        if (parent.name == "dict") {
            return (name == "key") == (parent.children % 2 == 0);
        }
        return name != "key" && (parent.name == "array" || (parent.name == "plist" && parent.children == 0));
    }

    bool close() {
        const auto element = open_.back();
        open_.pop_back();
        if (element.name == "plist") {
            plain_ += "</plist>";
            return element.children == 1;
        }
        if (element.name == "dict") {
            plain_ += "</array></dict>";
            return element.children % 2 == 0;
        }
        if (element.name == "array") {
            plain_ += "</array>";
            return true;
        }
        if (element.name == "true" || element.name == "false") {
            plain_.append("<").append(element.name).append("/>");
            return std::ranges::all_of(text_, isXmlSpace);
        }
        if (element.name == "key" || element.name == "string") {
            writeText();
            return true;
        }
        auto scalar = element.name == "integer" ? plainInteger(text_)
                      : element.name == "real"  ? plainReal(text_)
                      : element.name == "date"  ? plainDate(text_)
                                                : plainData(text_);
        plain_.append("<").append(element.name).append(">").append(scalar.value_or(""));
        plain_.append("</").append(element.name).append(">");
        return scalar.has_value();
    }

    bool add(std::string_view text) {
        if (open_.back().isContainer()) {
            return std::ranges::all_of(text, isXmlSpace);
        }
        if (text == "\n") { // stands for any kind of line break; texts keep their own
            auto start = static_cast<std::size_t>(XML_GetCurrentByteIndex(parser_.get()));
            auto length = static_cast<std::size_t>(XML_GetCurrentByteCount(parser_.get()));
            auto written = document_.substr(start, length);
            text = written.starts_with('\r') ? written : text;
        }
        text_ += text;
        return true;
    }

    // As sections, since libplist moves the whole rest of a text for every reference in it.
    void writeText() {
        plain_ += "<string>";
        for (char character : text_) {
            if (character == '<' || character == '&') {
                plain_.append("<![CDATA[").append(1, character).append("]]>");
            } else {
                plain_ += character;
            }
        }
        plain_ += "</string>";
    }

    std::string_view document_;
    std::unique_ptr<std::remove_pointer_t<XML_Parser>, decltype(&XML_ParserFree)> parser_{
        XML_ParserCreate("UTF-8"), XML_ParserFree};
    std::vector<Element> open_;
    std::string text_; // of the open key or scalar
    std::size_t values_ = 0;
    std::string plain_;
};

} // namespace

std::optional<std::string> plainXmlPropertyList(std::string_view document) {
    return PlainXml(document).write();
}

} // namespace platform
