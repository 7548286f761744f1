#pragma once

#include <string_view>

namespace platform {

// How the single values of an XML property list are spelt: whether libplist, which guesses rather than
// refuses, understands the text as what it says. Independent of the locale.

bool isXmlSpace(char character);

// Decimal or, after "0x", hexadecimal, with an optional sign; -2^63 to 2^64-1. White space may stand
// around it, but no zero before a decimal number: libplist takes that for octal.
bool isXmlInteger(std::string_view text);

// Decimal with optional fraction and exponent, or "nan", "inf" and "infinity" in any case; white space
// may stand around it.
bool isXmlReal(std::string_view text);

// "2001-01-01T00:00:00Z", a day that exists, in the years 0 to 9999, which libplist writes without
// leading zeros. A little white space may stand around it.
bool isXmlDate(std::string_view text);

// Base64 with its padding; white space may stand anywhere.
bool isXmlData(std::string_view text);

} // namespace platform
