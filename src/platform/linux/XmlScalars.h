#pragma once

#include "PropertyList.h"

#include <optional>
#include <string>
#include <string_view>

namespace platform {

// How the single values of an XML property list are spelt. White space around a value is passed over;
// anything else that does not belong to it makes it damaged, which is an absent result. Independent of
// the locale.

bool isXmlSpace(char character);

// Decimal or, after "0x", hexadecimal, with an optional sign; -2^63 to 2^64-1.
std::optional<PropertyList> integerFromXml(std::string_view text);

// Decimal with optional fraction and exponent, or "nan", "inf" and "infinity" in any case.
std::optional<double> realFromXml(std::string_view text);

// "2001-01-01T00:00:00Z", a day that exists, in the years 0000 to 9999.
std::optional<PropertyList::Date> dateFromXml(std::string_view text);

// Base64 with its padding; white space may stand anywhere.
std::optional<PropertyList::Data> dataFromXml(std::string_view text);

// The shortest text that reads back as the same number.
std::string xmlFromReal(double value);

// The second that the date lies in. Throws `Exception` ("NSInvalidArgumentException") for a date that
// four digits of year cannot tell.
std::string xmlFromDate(PropertyList::Date date);

void appendBase64(std::string& text, std::string_view bytes);

} // namespace platform
