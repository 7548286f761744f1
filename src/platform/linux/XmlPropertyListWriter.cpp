#include "XmlPropertyListWriter.h"

#include "Exception.h"
#include "PropertyListSerialization.h"
#include "XmlScalars.h"

#include <algorithm>

namespace platform {

namespace {

constexpr std::string_view kHead = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
                                   "<!DOCTYPE plist PUBLIC \"-//Apple//DTD PLIST 1.0//EN\" "
                                   "\"http://www.apple.com/DTDs/PropertyList-1.0.dtd\">\n"
                                   "<plist version=\"1.0\">\n";
constexpr std::string_view kFoot = "</plist>\n";

std::string element(std::string_view tag, std::string_view content) {
    std::string text;
    text.reserve(2 * tag.size() + content.size() + 5);
    text.append("<").append(tag).append(">").append(content).append("</").append(tag).append(">");
    return text;
}

std::string escaped(std::string_view text) {
    std::string result;
    result.reserve(text.size());
    for (char character : text) {
        switch (character) {
        case '&':
            result += "&amp;";
            break;
        case '<':
            result += "&lt;";
            break;
        case '>':
            result += "&gt;";
            break;
        case '\r': // a raw one reads as a line feed elsewhere
            result += "&#13;";
            break;
        case '\0':
            throw Exception("NSInvalidArgumentException", "XML cannot hold a text with a zero byte");
        default:
            result += character;
        }
    }
    return result;
}

} // namespace

std::string XmlPropertyListWriter::write(const PropertyList& list) {
    xml_ = kHead;
    writeValue(list, 0);
    xml_ += kFoot;
    return std::move(xml_);
}

void XmlPropertyListWriter::writeValue(const PropertyList& list, std::size_t depth) {
    struct Visitor {
        XmlPropertyListWriter& writer;
        std::size_t depth;

        void operator()(bool value) const { writer.writeLine(depth, value ? "<true/>" : "<false/>"); }
        void operator()(std::int64_t value) const { integer(std::to_string(value), depth); }
        void operator()(std::uint64_t value) const { integer(std::to_string(value), depth); }
        void operator()(double value) const { writer.writeLine(depth, element("real", xmlFromReal(value))); }
        void operator()(const std::string& value) const { writer.writeText(depth, "string", value); }
        void operator()(PropertyList::Date value) const {
            writer.writeLine(depth, element("date", xmlFromDate(value)));
        }
        void operator()(const PropertyList::Data& value) const { writer.writeData(value.bytes, depth); }
        void operator()(PropertyList::Uid value) const {
            writer.writeLine(depth, "<dict>");
            writer.writeLine(depth + 1, "<key>CF$UID</key>");
            integer(std::to_string(value.value), depth + 1);
            writer.writeLine(depth, "</dict>");
        }
        void operator()(const PropertyList::Array& value) const { writer.writeArray(value, depth); }
        void operator()(const PropertyList::Dictionary& value) const { writer.writeDictionary(value, depth); }

        void integer(std::string_view digits, std::size_t level) const {
            writer.writeLine(level, element("integer", digits));
        }
    };
    std::visit(Visitor{*this, depth}, list.value());
}

void XmlPropertyListWriter::writeDictionary(const PropertyList::Dictionary& dictionary, std::size_t depth) {
    if (dictionary.empty()) {
        writeLine(depth, "<dict/>");
        return;
    }
    writeLine(depth, "<dict>");
    for (const auto& [key, value] : dictionary) {
        writeText(depth + 1, "key", key);
        writeValue(value, depth + 1);
    }
    writeLine(depth, "</dict>");
}

void XmlPropertyListWriter::writeArray(const PropertyList::Array& array, std::size_t depth) {
    if (array.empty()) {
        writeLine(depth, "<array/>");
        return;
    }
    writeLine(depth, "<array>");
    for (const auto& value : array) {
        writeValue(value, depth + 1);
    }
    writeLine(depth, "</array>");
}

void XmlPropertyListWriter::writeData(std::string_view bytes, std::size_t depth) {
    constexpr std::size_t kBytesInLine = 51; // 68 characters
    writeLine(depth, "<data>");
    std::string line;
    for (std::size_t start = 0; start < bytes.size(); start += kBytesInLine) {
        line.clear();
        appendBase64(line, bytes.substr(start, kBytesInLine));
        writeLine(depth, line);
    }
    writeLine(depth, "</data>");
}

void XmlPropertyListWriter::writeText(std::size_t depth, std::string_view tag, std::string_view text) {
    writeLine(depth, element(tag, escaped(text)));
}

// Every line passes here, so a file that grows too large is noticed before it fills the memory.
void XmlPropertyListWriter::writeLine(std::size_t depth, std::string_view text) {
    xml_.append(depth, '\t').append(text).append("\n");
    if (xml_.size() > kPropertyListMaximumBytes - kFoot.size()) {
        throw Exception("NSInvalidArgumentException", "The property list is too large for one file");
    }
}

} // namespace platform
