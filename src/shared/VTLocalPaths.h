#pragma once

#include "StandardFolders.h"

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

// Where things live on disk, and which places must never be destroyed.
//
// Paths are absolute, without a trailing slash, and absent when there is no such folder; whatever is
// derived from an absent path is absent. A boolean argument chooses the user's own folder (true) or the
// machine-wide one (false). For a root process "the user" is whoever is logged in at the console.
// Nothing is cached, nothing is created. Any thread.
class VTLocalPaths {
public:
    using Path = std::optional<std::string>;

    VTLocalPaths() = delete;

    static Path pathForDirectory(platform::SearchPathDirectory directory, platform::SearchPathDomain domain);

    static Path applicationDirectory(bool userDomain);
    static Path adminApplicationDirectory(bool userDomain);
    static Path documentDirectory(bool userDomain);
    static Path libraryDirectory(bool userDomain);
    static Path prefsDirectory(bool userDomain);
    static Path cacheDirectory(bool userDomain);
    static Path appSupportDirectory(bool userDomain);
    static Path logDirectory(bool userDomain);
    static Path movieDirectory();
    static Path desktopDirectory();
    static Path systemLibraryDirectory();
    static Path localDocumentationDirectory();
    static Path trashDirectory();

    // The home and the login name of the person served: of the console user for a root process, else of
    // the process user. A root process with nobody at the console has its own home and no name.
    static Path userDirectory();
    static std::optional<std::string> username();

    // Absent at the login screen. May take two seconds, and so may everything above for a root process.
    static std::optional<std::string> currentConsoleUser();

    // The process user's cache folder of the desktop, outside the Library.
    static Path darwinCacheDirectory();

    static Path tempDirectory();
    static Path tempFile(); // a name that is not taken; nothing is made on disk
    static std::string uuid();

    // `length` characters of a to z and 0 to 9. Seeds the C library's generator on every call, so two
    // calls in the same instant may agree; not for secrets.
    static std::string randomString(std::size_t length);

    // Where root's home stands in `path` the home of the person served takes its place. The counts of
    // characters dropped are those of the suite's first platform, the odd one included.
    static Path pathInUserDirectory(std::string_view path);

    // Is the path a folder that no destructive operation may touch? The text is compared as given:
    // nothing is resolved, normalised or looked up. A trailing slash is cut off together with the
    // character before it. `exactMatch` leaves out the prefixes /usr, /var, /private/var and /System.
    static bool isPathSystemDirectory(std::string_view path, bool exactMatch = false);

    // On a mounted backup volume?
    static bool isPathOnTimeMachineVolume(std::string_view path);

    // `path` with one more component; a slash at the joint is not doubled.
    static Path appending(Path path, std::string_view component);
};
