#pragma once

#include <string>
#include <vector>

namespace platform {

enum class SearchPathDirectory {
    Application = 1,
    AdminApplication = 4,
    Library = 5,
    Documentation = 8,
    Document = 9,
    Desktop = 12,
    Caches = 13,
    ApplicationSupport = 14,
    Movies = 17,
};

// Values as the suite's first platform numbers them; a mask may combine several.
enum class SearchPathDomain : unsigned {
    User = 1,
    Local = 2,
    System = 8,
};

// The standard folders in the given domains, user first, then local, then system; empty when the
// domain has no such folder. Absolute paths without a trailing slash; nothing is created or looked up
// on disk. VANTOREL_ROOT, when it is absolute, puts the local and system domains below that folder; the
// user domain is below the process user's home, and below /var/root for real user id 0. Any thread.
std::vector<std::string> searchPathForDirectories(SearchPathDirectory directory, SearchPathDomain domains);

} // namespace platform
