#pragma once

#include <optional>
#include <string>

namespace platform {

// The first bundle in the standard application folders, the user's first, whose identifier is this one, case
// ignored. Those nearer to the top come first; bundles are not looked into and links to folders not
// followed. Absent when there is none. It may take as long as the folders are large.
std::optional<std::string> findApplication(const std::string& identifier);

} // namespace platform
