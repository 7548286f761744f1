#pragma once

#include <string>
#include <string_view>

namespace platform {

// The text as the bus carries it: U+FFFD stands for each byte that is not UTF-8, for each zero, and for what
// Unicode keeps from being a character.
std::string carriedText(std::string_view text);

} // namespace platform
