#pragma once

#include <string_view>

// The English name of the special key that a translation's first UTF-16 unit stands for; null when that is an
// ordinary character, or there is none. Any thread.
const char* keyNameForText(std::string_view text);
