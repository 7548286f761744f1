#pragma once

#include "Authorization.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

// Changes files in places that the user may not write, by running the standard tools as root. The user is
// asked once for an administrator's password, or a name and a password are handed over; a process of root's
// own needs neither and runs the tools through `VTTaskEx`.
//
// What `VTLocalPaths` calls a system directory is not removed, trashed or moved. Refusals and failures are
// told to the console; nothing throws. True says that the tool has been started: whether it then does its
// work is not seen, and it may still be at it when the next call comes.
//
// A path is absolute and is handed to the tool as it is; one that is relative, absent or holds a zero byte
// never reaches a tool. One thread at a time.
//
// NOLINTNEXTLINE(cppcoreguidelines-virtual-class-destructor): it is never destroyed; tests derive from it.
class VTAuthorization {
public:
    using Path = std::optional<std::string>;
    using Arguments = std::vector<std::string>;
    using Reference = std::shared_ptr<platform::AuthorizationReference>;

    // The one of this process, made by the first call and never destroyed. `withGUI` says whether it may ask
    // the user; only the first call's counts. Any thread.
    static VTAuthorization& sharedController(bool withGUI = true);

    // The rights held; null when there are none, as always for a root process that was not handed any down.
    const Reference& authRef() const { return authRef_; }
    void setAuthRef(Reference reference) { authRef_ = std::move(reference); } // the replaced one is not freed

    bool hasGUI() const { return hasGUI_; }
    void setHasGUI(bool hasGUI) { hasGUI_ = hasGUI; }

    // Asks for administrator rights unless there are some, and waits for the answer.
    bool authStart();

    // Obtains the rights of an administrator without asking anybody; rights held before are replaced, and
    // lost when this fails. The password is overwritten, whatever comes of it. False without a user or a
    // password, which a root process does not need.
    bool authStartWithUser(const std::optional<std::string>& user, std::optional<std::string>&& password);

    // Gives the rights back.
    void authEnd();

    bool isAuthorized() const;
    bool canAuthorize() const; // could rights be asked for? Those handed down do not count.

    // A folder with all that is in it.
    bool authRemoveFile(const Path& path);

    // Moves the item to the user's trash, which is made when it is missing. When its name is taken there, the
    // time is added: "a_20240131235959.txt", and "Folder_20240131235959." with a dot of its own for a name
    // without extension. With `deleteOnRootAccount` a root process leaves the item where it is, and removes
    // what has its name in the trash.
    bool authTrashFile(const Path& path, bool deleteOnRootAccount = false);

    // What is directly inside the folder, item by item, in name order; an item that fails does not stop the
    // others, but the result is false. With `deleteOnRootAccount` a root process removes the items, without
    // asking whether they are system directories. A folder that cannot be read counts as empty, an empty one
    // as done.
    bool authTrashFolderContents(const Path& folder, bool deleteOnRootAccount = false);
    bool authMoveFolderContents(const Path& folder, const Path& destination); // into a folder that is there

    // False when there is no item; links are followed in that.
    bool authMoveFile(const Path& path, const Path& destination);
    bool authCopyFile(const Path& path, const Path& destination);

    // With its parents; one that is there is fine. Waits a moment for the tool.
    bool authCreateDir(const Path& path);

    // Runs a tool with exactly these arguments, asking for the rights when there are none; the question names
    // it. 0 when it has been started, and has ended unless `async`; -1 without the rights, and when those
    // held have expired and are not given anew, which then are gone; -2 when there is no such tool, which is
    // looked for first; else the platform's status. For a root process 0 even when the tool could not be
    // started.
    std::int32_t authExecTask(const Path& tool, const Arguments& parameters, bool async = true);

    VTAuthorization(const VTAuthorization&) = delete;
    VTAuthorization& operator=(const VTAuthorization&) = delete;

protected:
    explicit VTAuthorization(bool withGUI); // takes the rights that the parent process hands down
    virtual ~VTAuthorization();

    // How a root process runs its tools: waiting for the end, and not.
    virtual void runTask(const std::string& tool, const Arguments& arguments);
    virtual void runTaskAndReturn(const std::string& tool, const Arguments& arguments);

private:
    static bool isRoot();
    bool obtainRights(const Path& tool); // which the question names
    bool startTool(const std::string& tool, const Arguments& arguments);

    Reference authRef_;
    bool hasGUI_;
    Path userDirectory_; // absent for a root process
};
