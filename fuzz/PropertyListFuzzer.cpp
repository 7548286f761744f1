#include "Exception.h"
#include "PropertyListSerialization.h"

#include <cstdint>
#include <cstdio>
#include <cstdlib>

using namespace platform;

namespace {

void require(bool condition, const char* what) {
    if (!condition) {
        std::fprintf(stderr, "%s\n", what);
        std::abort();
    }
}

// What can be written can be read back, and is the same then.
void expectStableRoundTrip(const PropertyList& list, PropertyListFormat format) {
    std::string bytes;
    try {
        bytes = serializePropertyList(list, format);
    } catch (const Exception& exception) {
        require(exception.name() == "NSInvalidArgumentException", "an exception of another name");
        return;
    }
    auto again = parsePropertyList(bytes);
    require(again.has_value(), "what was written cannot be read");
    // Equal data share their bytes in a binary file by chance, so there the values count; one that holds
    // a NaN is not even equal to itself.
    bool isSame = format == PropertyListFormat::Xml ? serializePropertyList(*again, format) == bytes
                                                    : *again == list || list != list;
    require(isSame, "what was written reads as something else");
}

} // namespace

// NOLINTNEXTLINE(readability-identifier-naming): the name is libFuzzer's.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    auto list = parsePropertyList({reinterpret_cast<const char*>(data), size});
    if (list) {
        expectStableRoundTrip(*list, PropertyListFormat::Xml);
        expectStableRoundTrip(*list, PropertyListFormat::Binary);
    }
    return 0;
}
