#pragma once

#include <string_view>

namespace platform {

// The part of the name after its last dot; empty when there is no dot, when the dot is the first
// character, or when nothing follows it. `path` may be a whole path.
std::string_view pathExtension(std::string_view path);

// The text after the last slash, slashes at the end left aside; "/" for the top folder.
std::string_view lastPathComponent(std::string_view path);

// The last component less its extension and the dot before it.
std::string_view nameWithoutExtension(std::string_view path);

// Is a folder of this name shown to users as one thing? Decided by its extension alone, whatever its
// case: app, bundle, framework, plugin and their like are packages, localized is none.
bool isPackageName(std::string_view path);

} // namespace platform
