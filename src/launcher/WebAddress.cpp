#include "WebAddress.h"

#include "PercentEncoding.h"

std::string webAddress(std::string_view page,
                       std::initializer_list<std::pair<std::string_view, std::string_view>> parameters) {
    std::string address(page);
    char separator = '?';
    for (const auto& [name, value] : parameters) {
        address += separator + platform::percentEncoded(name) + '=' + platform::percentEncoded(value);
        separator = '&';
    }
    return address;
}
