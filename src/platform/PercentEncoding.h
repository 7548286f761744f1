#pragma once

#include <string>
#include <string_view>

namespace platform {

// The text with every byte percent-encoded that is neither unreserved (RFC 3986, 2.3) nor in `alsoPlain`.
std::string percentEncoded(std::string_view text, std::string_view alsoPlain = "");

} // namespace platform
