#pragma once

#include <initializer_list>
#include <string>
#include <string_view>
#include <utility>

// `page` with a query of these parameters, names and values percent-encoded as RFC 3986 asks.
std::string webAddress(std::string_view page,
                       std::initializer_list<std::pair<std::string_view, std::string_view>> parameters);
