#include "VTAuthorization.h"

#include "Format.h"
#include "Package.h"
#include "Platform.h"
#include "VTLocalPaths.h"

#include <array>
#include <chrono>
#include <ctime>
#include <initializer_list>
#include <thread>

namespace {

using Path = VTAuthorization::Path;
using Arguments = VTAuthorization::Arguments;

constexpr const char* kRemove = "/bin/rm";
constexpr const char* kMove = "/bin/mv";
constexpr const char* kCopy = "/bin/cp";
constexpr const char* kMakeFolder = "/bin/mkdir";

platform::FileManager& files() {
    return *platform::current().fileManager;
}

void tellConsole(const std::string& text) {
    platform::current().consoleLog->log(text);
}

// Is the path one that must not be touched? Says so then.
bool isRefused(const Path& path, const char* message) {
    const bool isSystemDirectory = path && VTLocalPaths::isPathSystemDirectory(*path, true);
    if (isSystemDirectory) {
        tellConsole(format(message, path));
    }
    return isSystemDirectory;
}

// The tool's options and paths. Absent when one of the paths is none: a relative one might pass for an
// option, and one with a zero byte would arrive as another, which the guard has not seen.
std::optional<Arguments> toolArguments(const char* tool, Arguments options,
                                       std::initializer_list<Path> paths) {
    for (const auto& path : paths) {
        if (!path || !path->starts_with('/') || path->find('\0') != std::string::npos) {
            tellConsole(format("Unable to run %@ because %@ is not an absolute path.", tool, path));
            return std::nullopt;
        }
        options.push_back(*path);
    }
    return options;
}

std::vector<platform::DirectoryEntry> itemsInside(const Path& folder) {
    std::error_code unreadable; // counts as empty
    return folder ? files().openFolder(*folder)->entries(platform::Listing::Everything, unreadable)
                  : std::vector<platform::DirectoryEntry>();
}

std::string timeStamp() {
    const auto now = std::time(nullptr);
    std::tm local{};
    ::localtime_r(&now, &local);
    std::array<char, 32> text{};
    return {text.data(), std::strftime(text.data(), text.size(), "%Y%m%d%H%M%S", &local)};
}

// The time comes before the extension, and a dot even when there is none.
std::string withTimeStamp(std::string path) {
    const std::string extension(platform::pathExtension(path));
    if (!extension.empty()) {
        path.resize(path.size() - extension.size() - 1);
    }
    return path + "_" + timeStamp() + "." + extension;
}

bool makeTrash(const std::string& trash) {
    if (files().fileExists(trash)) {
        return true;
    }
    const auto error = files().createPrivateDirectory(trash);
    if (error) {
        tellConsole(format("Unable to create %@: %@", trash, error.message()));
    }
    return !error;
}

} // namespace

// A root process does not look first whether there is such a tool, and is content with whatever happens.
bool VTAuthorization::startTool(const std::string& tool, const Arguments& arguments) {
    if (isRoot()) {
        runTaskAndReturn(tool, arguments);
        return true;
    }
    return authExecTask(tool, arguments) == 0;
}

bool VTAuthorization::authRemoveFile(const Path& path) {
    if (isRefused(path, "Unable to delete path %@ because it is a system directory.")) {
        return false;
    }
    const auto arguments = toolArguments(kRemove, {"-Rdf"}, {path});
    return arguments && authExecTask(kRemove, *arguments) == 0;
}

bool VTAuthorization::authTrashFile(const Path& path, bool deleteOnRootAccount) {
    if (isRefused(path, "Unable to trash path %@ because it is a system directory.")) {
        return false;
    }
    const auto trash =
        isRoot() && userDirectory_ ? Path(*userDirectory_ + "/.Trash") : VTLocalPaths::trashDirectory();
    auto trashed = path ? VTLocalPaths::appending(trash, platform::lastPathComponent(*path)) : std::nullopt;
    if (trashed && files().fileExists(*trashed)) {
        trashed = withTimeStamp(*std::move(trashed)); // not looked for again
    }
    if (!userDirectory_ && deleteOnRootAccount && isRoot()) {
        return authRemoveFile(trashed); // what is in the trash, not `path`
    }
    if (trashed && files().fileExists(*path) && !makeTrash(*trash)) {
        return false;
    }
    return authMoveFile(path, trashed);
}

bool VTAuthorization::authTrashFolderContents(const Path& folder, bool deleteOnRootAccount) {
    if (isRefused(folder, "Unable to trash folder contents of path %@ because it is a system directory.")) {
        return false;
    }
    const bool isTrashed = userDirectory_ || !isRoot() || !deleteOnRootAccount;
    bool isDone = true;
    for (const auto& item : itemsInside(folder)) {
        const auto path = VTLocalPaths::appending(folder, item.name);
        if (isTrashed) {
            isDone = authTrashFile(path) && isDone;
        } else {
            const auto arguments = toolArguments(kRemove, {"-R", "-f"}, {path});
            isDone = arguments && authExecTask(kRemove, *arguments) == 0 && isDone;
        }
    }
    return isDone;
}

bool VTAuthorization::authMoveFolderContents(const Path& folder, const Path& destination) {
    if (isRefused(folder, "Unable to move contents of path %@ because it is a system directory.")) {
        return false;
    }
    bool isDone = true;
    for (const auto& item : itemsInside(folder)) {
        isDone = authMoveFile(VTLocalPaths::appending(folder, item.name),
                              VTLocalPaths::appending(destination, item.name)) &&
                 isDone;
    }
    return isDone;
}

bool VTAuthorization::authMoveFile(const Path& path, const Path& destination) {
    if (!path || !destination) {
        tellConsole(path ? "Error in authMoveFile: new path is null"
                         : "Error in authMoveFile: old path is null");
        return false;
    }
    if (isRefused(path, "Unable to move path %@ because it is a system directory.") ||
        !files().fileExists(*path)) {
        return false;
    }
    const auto arguments = toolArguments(kMove, {"-f"}, {path, destination});
    return arguments && startTool(kMove, *arguments);
}

bool VTAuthorization::authCopyFile(const Path& path, const Path& destination) {
    if (!path || !destination) {
        tellConsole(path ? "Error in authCopyFile: new path is null"
                         : "Error in authCopyFile: old path is null");
        return false;
    }
    if (!files().fileExists(*path)) {
        return false;
    }
    const auto arguments = toolArguments(kCopy, {"-f", "-p", "-R"}, {path, destination});
    return arguments && startTool(kCopy, *arguments);
}

bool VTAuthorization::authCreateDir(const Path& path) {
    const auto arguments = toolArguments(kMakeFolder, {"-p"}, {path});
    if (!arguments || !startTool(kMakeFolder, *arguments)) {
        return false;
    }
    if (!isRoot()) {
        std::this_thread::sleep_for(std::chrono::microseconds(500)); // for the tool to get on with it
    }
    return true;
}
