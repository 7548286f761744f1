#pragma once

#include "PropertyList.h"

#include <optional>
#include <systemd/sd-bus.h>

namespace platform {

// Property-list values as they travel on the bus, in variants: text s, boolean b, integers x and t, real d,
// data ay, dates (d) in seconds since 2001, arrays av, dictionaries a{sv}. Numbers of other sizes are read as
// well, and so are arrays of texts.

// Appends an a{sv}, a v or an s. Texts are sent as `carriedText` makes them. False when there is something
// that the bus does not carry: an object reference, too many levels. The message is of no use then.
bool appendDictionary(sd_bus_message* message, const PropertyList::Dictionary& dictionary);
bool appendValue(sd_bus_message* message, const PropertyList& value);
bool appendText(sd_bus_message* message, const std::string& text);

// Reads an a{sv}. Absent when it holds something else than the above, or more than anybody who means well
// would send: 1,000 keys and values, 16 levels, 256 KiB.
std::optional<PropertyList::Dictionary> readDictionary(sd_bus_message* message);

} // namespace platform
