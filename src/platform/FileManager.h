#pragma once

#include "Exception.h"
#include "PropertyList.h"

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

namespace platform {

enum class EntryKind {
    File,   // a file, device, socket or pipe: nothing to descend into
    Folder, // a folder, not a link to one
    Link,   // a symbolic link; where it leads has not been looked at
};

struct DirectoryEntry {
    std::string name; // the bytes the file system holds, whatever their encoding
    EntryKind kind;
};

enum class Listing {
    Everything,
    FoldersAndLinks, // what a walk can descend into; files cost nothing
};

// What a file holds. `exists` follows links; `bytes` is absent when the file exists but is no regular
// file, cannot be read, or is larger than was asked for.
struct FileContents {
    bool exists = false;
    std::optional<std::string> bytes;
};

// One folder opened for a walk. Paths below it are resolved relative to it where that gives the same
// answer as the whole path, and as the whole path where it does not: a path that crosses more than 40
// links or is longer than PATH_MAX does not exist, also when it is reached step by step.
//
// Used by one thread at a time.
class Folder {
public:
    virtual ~Folder() = default;

    // The path it was opened by, as text.
    virtual const std::string& path() const = 0;

    // The entries in name order (by Unicode case folding, ties by byte value), without "." and "..".
    // On failure sets `error` and returns nothing.
    virtual std::vector<DirectoryEntry> entries(Listing listing, std::error_code& error) = 0;

    // Is the entry a folder, links followed? No file-system access unless it is a link.
    virtual bool isFolder(const DirectoryEntry& entry) = 0;

    // The sub-folder for a walk of its own. Never null; failure to open shows in `entries`.
    virtual std::unique_ptr<Folder> subfolder(const DirectoryEntry& entry) = 0;

    // What the file at `relativePath` holds. At most `limit` bytes are read; pipes and devices are
    // never waited for.
    virtual FileContents contents(std::string_view relativePath, std::size_t limit) = 0;

    // Gives the descriptor back while the walk is busy deeper down; it is taken again when needed.
    virtual void suspend() = 0;
};

// A write that failed, and how many of its bytes had reached the file before.
class FileHandleException : public Exception {
public:
    FileHandleException(std::string reason, std::size_t bytesWritten)
        : Exception("NSFileHandleOperationException", std::move(reason)), bytesWritten_(bytesWritten) {}

    std::size_t bytesWritten() const noexcept { return bytesWritten_; }

private:
    std::size_t bytesWritten_;
};

// A file open for appending. Closed by its destructor. Used by one thread at a time.
class FileHandle {
public:
    virtual ~FileHandle() = default;

    // Writes all bytes or throws `FileHandleException` with the system's text and what had been written.
    virtual void write(std::string_view bytes) = 0;
    virtual void seekToEnd() = 0;
};

// The file system. Paths are byte strings, never normalised. Failures are error codes whose message()
// is the system's text; a clear code means success. Any thread.
//
// What a root process creates below a user's home belongs to that home's owner, and whatever it changes
// there it reaches without following a link.
class FileManager {
public:
    virtual ~FileManager() = default;

    // Links followed: a dangling link does not exist.
    virtual bool fileExists(const std::string& path) = 0;
    virtual bool isDirectory(const std::string& path) = 0;

    // When the file's contents changed last, links followed; absent when there is no such file.
    virtual std::optional<PropertyList::Date> modificationDate(const std::string& path) = 0;

    // May this process execute it, or enter it when it is a folder?
    virtual bool isExecutableFile(const std::string& path) = 0;

    // The text stored in the link; absent when `path` is no link.
    virtual std::optional<std::string> destinationOfSymbolicLink(const std::string& path) = 0;

    // The folder at `path` for a walk. Never null; failure to open shows in its `entries`.
    virtual std::unique_ptr<Folder> openFolder(const std::string& path) = 0;

    virtual FileContents contents(const std::string& path, std::size_t limit) = 0;

    // Makes the folder and whatever parents are missing; a folder that is there is fine.
    virtual std::error_code createDirectory(const std::string& path) = 0;

    // Makes one folder that its owner alone may enter (mode 0700); one that is there stays as it is.
    virtual std::error_code createPrivateDirectory(const std::string& path) = 0;

    // A folder with all that is in it; a link itself, never what it leads to.
    virtual std::error_code removeItem(const std::string& path) = 0;

    // Within one file system; a link itself. Fails when `to` exists, like the first platform's file manager.
    virtual std::error_code moveItem(const std::string& from, const std::string& to) = 0;

    // A folder with all that is in it; links are copied as links, modes are kept, dates are not. Fails when
    // `to` exists, and when there is anything but files, folders and links; nothing is left then.
    virtual std::error_code copyItem(const std::string& from, const std::string& to) = 0;

    // Replaces the file as a whole: a temporary file in the same folder, flushed to disk, renamed.
    // Mode and owner of a file that was there are kept, and a link to a file stays: the file it leads to
    // is replaced. Fails when something else than a file is there.
    virtual std::error_code writeAtomically(const std::string& path, std::string_view bytes) = 0;

    // An existing regular file, positioned at its start; null when it cannot be opened.
    virtual std::unique_ptr<FileHandle> openForWriting(const std::string& path) = 0;
};

} // namespace platform
