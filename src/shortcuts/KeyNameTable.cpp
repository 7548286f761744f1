#include "KeyNameTable.h"

#include <algorithm>
#include <array>

namespace {

struct KeyName {
    std::string_view unit; // in UTF-8
    const char* name;
};

// Searched from the top. "Return" and "Enter" are not what the key caps say, and stay so: bindings have been
// shown by these names since the first version.
constexpr std::array<KeyName, 24> kKeyNames{
    {{"\uF700", "Up Arrow"}, {"\uF701", "Down Arrow"}, {"\uF702", "Left Arrow"}, {"\uF703", "Right Arrow"},
     {"\uF729", "Home"},     {"\uF72B", "End"},        {"\uF72C", "Page Up"},    {"\uF72D", "Page Down"},
     {"\x1E", "Up Arrow"},   {"\x1F", "Down Arrow"},   {"\x1C", "Left Arrow"},   {"\x1D", "Right Arrow"},
     {"\x01", "Home"},       {"\x04", "End"},          {"\x0B", "Page Up"},      {"\x0C", "Page Down"},
     {"\x03", "Return"},     {"\x09", "Tab"},          {"\x19", "Backtab"},      {"\x0D", "Enter"},
     {"\x08", "Backspace"},  {"\x7F", "Delete"},       {"\x1B", "Escape"},       {" ", "Space"}}};

} // namespace

const char* keyNameForText(std::string_view text) {
    const auto found =
        std::ranges::find_if(kKeyNames, [&](const KeyName& entry) { return text.starts_with(entry.unit); });
    return found == kKeyNames.end() ? nullptr : found->name;
}
