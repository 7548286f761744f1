#pragma once

#include "PropertyList.h"

#include <string>

namespace platform {

// The list as an XML file: one element a line, set off by tabs; all in one line where it would else go beyond
// the reader's limit. Takes time for its length alone, whatever its keys and values are. Throws `Exception`
// ("NSInvalidArgumentException") for what is nested too deeply, longer than the reader's limit, or cannot be
// told in XML; control characters are left to whoever reads it.
std::string xmlFromList(const PropertyList& list);

} // namespace platform
