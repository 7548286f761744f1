#include "BinaryPropertyListWriter.h"

#include "Exception.h"
#include "PropertyListSerialization.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <unicode/ustring.h>

namespace platform {

namespace {

enum Marker : unsigned {
    kFalse = 0x08,
    kTrue = 0x09,
    kInteger = 0x10,
    kReal = 0x23,
    kDate = 0x33,
    kData = 0x40,
    kAscii = 0x50,
    kUtf16 = 0x60,
    kUid = 0x80,
    kArray = 0xA0,
    kDictionary = 0xD0,
};

// The power of two that counts bytes enough for the value.
std::size_t sizeFor(std::uint64_t value) {
    std::size_t size = 1;
    while (size < 8 && value >> (8 * size) != 0) {
        size *= 2;
    }
    return size;
}

std::u16string utf16(std::string_view text) {
    std::u16string units(text.size(), u'\0');
    int32_t length = 0;
    UErrorCode status = U_ZERO_ERROR;
    u_strFromUTF8(units.data(), static_cast<int32_t>(units.size()), &length, text.data(),
                  static_cast<int32_t>(text.size()), &status);
    units.resize(static_cast<std::size_t>(length));
    return units;
}

} // namespace

std::string BinaryPropertyListWriter::write(const PropertyList& list) {
    add(list);
    referenceSize_ = sizeFor(objects_.size() - 1);
    file_ = "bplist00";
    std::vector<std::size_t> offsets;
    offsets.reserve(objects_.size());
    for (const auto& object : objects_) {
        offsets.push_back(file_.size());
        writeObject(object);
    }
    const std::size_t tableStart = file_.size();
    const std::size_t offsetSize = sizeFor(tableStart);
    for (auto offset : offsets) {
        writeNumber(offset, offsetSize);
    }
    file_.append(6, '\0');
    writeNumber(offsetSize, 1);
    writeNumber(referenceSize_, 1);
    writeNumber(objects_.size(), 8);
    writeNumber(0, 8); // the root is the first object
    writeNumber(tableStart, 8);
    if (file_.size() > kPropertyListMaximumBytes) {
        throw Exception("NSInvalidArgumentException", "The property list is too large for one file");
    }
    return std::move(file_);
}

BinaryPropertyListWriter::Index BinaryPropertyListWriter::add(const PropertyList& list) {
    if (const auto* text = list.string()) {
        return addText(*text);
    }
    auto index = static_cast<Index>(objects_.size());
    objects_.push_back({.value = &list, .text = {}, .references = {}});
    std::vector<Index> references;
    if (const auto* array = list.array()) {
        references.reserve(array->size());
        for (const auto& value : *array) {
            references.push_back(add(value));
        }
    } else if (const auto* dictionary = list.dictionary()) {
        references.reserve(2 * dictionary->size());
        for (const auto& entry : *dictionary) {
            references.push_back(addText(entry.first));
        }
        for (const auto& entry : *dictionary) {
            references.push_back(add(entry.second));
        }
    }
    objects_[index].references = std::move(references);
    return index;
}

BinaryPropertyListWriter::Index BinaryPropertyListWriter::addText(std::string_view text) {
    auto [found, isNew] = texts_.try_emplace(text, static_cast<Index>(objects_.size()));
    if (isNew) {
        objects_.push_back({.value = nullptr, .text = text, .references = {}});
    }
    return found->second;
}

void BinaryPropertyListWriter::writeObject(const Object& object) {
    if (!object.value) {
        writeText(object.text);
        return;
    }
    struct Visitor {
        BinaryPropertyListWriter& writer;
        const Object& object;

        void operator()(bool value) const { writer.writeNumber(value ? kTrue : kFalse, 1); }
        void operator()(std::int64_t value) const { writer.writeInteger(value); }
        void operator()(std::uint64_t value) const {
            if (value >> 63 == 0) {
                writer.writeInteger(static_cast<std::int64_t>(value));
                return;
            }
            writer.writeNumber(kInteger | 4, 1); // sixteen bytes, or it would read as negative
            writer.writeNumber(0, 8);
            writer.writeNumber(value, 8);
        }
        void operator()(double value) const {
            writer.writeNumber(kReal, 1);
            writer.writeNumber(std::bit_cast<std::uint64_t>(value), 8);
        }
        void operator()(const std::string& value) const { writer.writeText(value); }
        void operator()(PropertyList::Date value) const {
            if (!std::isfinite(value.secondsSinceReferenceDate)) {
                throw Exception("NSInvalidArgumentException", "The date is no finite number");
            }
            writer.writeNumber(kDate, 1);
            writer.writeNumber(std::bit_cast<std::uint64_t>(value.secondsSinceReferenceDate), 8);
        }
        void operator()(const PropertyList::Data& value) const {
            writer.writeMarker(kData, value.bytes.size());
            writer.file_ += value.bytes;
        }
        void operator()(PropertyList::Uid value) const {
            auto size = sizeFor(value.value);
            writer.writeNumber(kUid | (size - 1), 1);
            writer.writeNumber(value.value, size);
        }
        void operator()(const PropertyList::Array& value) const {
            writer.writeReferences(kArray, value.size(), object);
        }
        void operator()(const PropertyList::Dictionary& value) const {
            writer.writeReferences(kDictionary, value.size(), object);
        }
    };
    std::visit(Visitor{*this, object}, object.value->value());
}

void BinaryPropertyListWriter::writeText(std::string_view text) {
    bool isAscii = std::none_of(text.begin(), text.end(),
                                [](char byte) { return static_cast<unsigned char>(byte) >= 0x80; });
    if (isAscii) {
        writeMarker(kAscii, text.size());
        file_ += text;
        return;
    }
    auto units = utf16(text);
    writeMarker(kUtf16, units.size());
    for (char16_t unit : units) {
        writeNumber(unit, 2);
    }
}

void BinaryPropertyListWriter::writeInteger(std::int64_t value) {
    auto bits = static_cast<std::uint64_t>(value);
    auto size = sizeFor(bits); // eight for a negative value: only then the sign is read
    writeNumber(kInteger | static_cast<unsigned>(std::countr_zero(size)), 1);
    writeNumber(bits, size);
}

void BinaryPropertyListWriter::writeReferences(unsigned marker, std::size_t count, const Object& object) {
    writeMarker(marker, count);
    for (auto index : object.references) {
        writeNumber(index, referenceSize_);
    }
}

void BinaryPropertyListWriter::writeMarker(unsigned marker, std::size_t count) {
    constexpr std::size_t kCountFollows = 15;
    writeNumber(marker | std::min(count, kCountFollows), 1);
    if (count >= kCountFollows) {
        writeInteger(static_cast<std::int64_t>(count));
    }
}

void BinaryPropertyListWriter::writeNumber(std::uint64_t value, std::size_t size) {
    for (std::size_t i = size; i-- > 0;) {
        file_ += static_cast<char>(value >> (8 * i) & 0xFF);
    }
}

} // namespace platform
