#include "IntrospectedMethods.h"

#include <expat.h>
#include <memory>
#include <string_view>
#include <type_traits>

namespace platform {

namespace {

struct Search {
    XML_Parser parser = nullptr;
    std::string_view interface;
    int level = 0; // of elements; the object's own interfaces are on the second, their methods on the third
    bool isInside = false;
    std::set<std::string> methods;

    static std::string_view name(const XML_Char** attributes) {
        for (; *attributes; attributes += 2) {
            if (std::string_view(*attributes) == "name") {
                return attributes[1];
            }
        }
        return "";
    }
    static void XMLCALL begin(void* search, const XML_Char* element, const XML_Char** attributes) {
        auto& self = *static_cast<Search*>(search);
        const std::string_view kind = element;
        ++self.level;
        if (self.level == 2) {
            self.isInside = kind == "interface" && name(attributes) == self.interface;
        } else if (self.level == 3 && self.isInside && kind == "method") {
            self.methods.emplace(name(attributes));
        }
    }
    static void XMLCALL end(void* search, const XML_Char*) { --static_cast<Search*>(search)->level; }

    // Introspection data have no entities of their own; whoever defines some means harm.
    static void XMLCALL entity(void* search, const XML_Char*, int, const XML_Char*, int, const XML_Char*,
                               const XML_Char*, const XML_Char*, const XML_Char*) {
        XML_StopParser(static_cast<Search*>(search)->parser, XML_FALSE);
    }
};

} // namespace

std::set<std::string> introspectedMethods(const std::string& xml, const std::string& interface) {
    constexpr std::size_t kLimit = std::size_t{1} << 20; // bytes
    const std::unique_ptr<std::remove_pointer_t<XML_Parser>, decltype(&XML_ParserFree)> parser(
        XML_ParserCreate("UTF-8"), XML_ParserFree);
    if (!parser || xml.size() > kLimit) {
        return {};
    }
    Search search;
    search.parser = parser.get();
    search.interface = interface;
    XML_SetUserData(parser.get(), &search);
    XML_SetElementHandler(parser.get(), Search::begin, Search::end);
    XML_SetEntityDeclHandler(parser.get(), Search::entity);
    return XML_Parse(parser.get(), xml.data(), static_cast<int>(xml.size()), XML_TRUE) == XML_STATUS_OK
               ? std::move(search.methods)
               : std::set<std::string>();
}

} // namespace platform
