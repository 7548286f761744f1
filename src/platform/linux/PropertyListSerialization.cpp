#include "PropertyListSerialization.h"

#include "BinaryPropertyListReader.h"
#include "BinaryPropertyListWriter.h"
#include "Exception.h"
#include "Platform.h"
#include "Text.h"
#include "XmlPropertyListReader.h"
#include "XmlPropertyListWriter.h"

namespace platform {

namespace {

// Walks a list before it is written and throws for what the reader would not take back.
class WriteCheck {
public:
    void check(const PropertyList& list, std::size_t depth) {
        count(depth);
        if (const auto* text = list.string()) {
            checkText(*text);
        } else if (const auto* data = std::get_if<PropertyList::Data>(&list.value())) {
            checkSize(data->bytes);
        } else if (std::holds_alternative<PropertyList::Uid>(list.value())) {
            count(depth + 1); // XML spells it as a dictionary with a number
        } else if (const auto* array = list.array()) {
            for (const auto& value : *array) {
                check(value, depth + 1);
            }
        } else if (const auto* dictionary = list.dictionary()) {
            for (const auto& [key, value] : *dictionary) {
                checkText(key);
                check(value, depth + 1);
            }
        }
    }

private:
    [[noreturn]] static void fail(const char* reason) {
        throw Exception("NSInvalidArgumentException", reason);
    }

    void count(std::size_t depth) {
        if (depth > kPropertyListMaximumDepth) {
            fail("The property list is nested too deeply");
        }
        if (++nodes_ > kPropertyListMaximumNodes) {
            fail("The property list has too many values");
        }
    }

    void checkText(const std::string& text) {
        checkSize(text);
        if (!isValidUtf8(text)) {
            fail("The property list holds text that is not UTF-8");
        }
    }

    void checkSize(const std::string& bytes) {
        bytes_ += bytes.size();
        if (bytes_ > kPropertyListMaximumBytes) {
            fail("The property list is too large for one file");
        }
    }

    std::size_t nodes_ = 0;
    std::size_t bytes_ = 0; // of texts and data
};

} // namespace

std::optional<PropertyList> parsePropertyList(std::string_view bytes) {
    constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
    if (bytes.size() > kPropertyListMaximumBytes) {
        return std::nullopt;
    }
    if (bytes.starts_with("bplist")) {
        return BinaryPropertyListReader(bytes).read();
    }
    if (bytes.starts_with(kByteOrderMark)) {
        bytes.remove_prefix(kByteOrderMark.size());
    }
    if (bytes.find('\0') != bytes.npos || !isValidUtf8(bytes)) {
        return std::nullopt;
    }
    return XmlPropertyListReader(bytes).read();
}

std::string serializePropertyList(const PropertyList& list, PropertyListFormat format) {
    WriteCheck().check(list, 1);
    return format == PropertyListFormat::Xml ? XmlPropertyListWriter().write(list)
                                             : BinaryPropertyListWriter().write(list);
}

std::optional<PropertyList::Dictionary> dictionaryWithContentsOfFile(const std::string& path) {
    auto contents = current().fileManager->contents(path, kPropertyListMaximumBytes);
    if (!contents.bytes) {
        return std::nullopt;
    }
    auto list = parsePropertyList(*contents.bytes);
    if (!list || !list->dictionary()) {
        return std::nullopt;
    }
    return std::get<PropertyList::Dictionary>(std::move(*list).takeValue());
}

} // namespace platform
