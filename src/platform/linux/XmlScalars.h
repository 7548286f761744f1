#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace platform {

// The single values of an XML property list, in the one spelling that libplist, which guesses rather than
// refuses, takes for what it says. Absent when the text is no such value. White space may stand around
// it. Independent of the locale.

bool isXmlSpace(char character);

// Decimal or, after "0x", hexadecimal, with an optional sign; -2^63 to 2^64-1. Written as decimal.
std::optional<std::string> plainInteger(std::string_view text);

// Decimal with optional sign, fraction and exponent, or "nan", "inf" and "infinity" in any case. Written
// as it stands.
std::optional<std::string> plainReal(std::string_view text);

// "2001-01-01T00:00:00Z", a day that exists. Written as it stands.
std::optional<std::string> plainDate(std::string_view text);

// Base64 with its padding; white space may stand anywhere. Written without it.
std::optional<std::string> plainData(std::string_view text);

} // namespace platform
