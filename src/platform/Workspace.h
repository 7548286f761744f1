#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <stop_token>
#include <string>
#include <vector>

namespace platform {

// Pixels as 0xAARRGGBB, premultiplied, row by row. Empty when there is nothing to draw.
struct Bitmap {
    int width = 0;
    int height = 0;
    std::vector<std::uint32_t> pixels;
};

// A file's icon. Making one costs nothing: it is found and decoded when it is rendered. Any thread.
class Icon {
public:
    virtual ~Icon() = default;

    // The icon in a square of `pixels` device pixels; empty when the file has none of its own or it
    // cannot be read, and the desktop's generic one is to be shown.
    virtual Bitmap render(int pixels) const = 0;
};

// A bundle that at least one process runs in.
struct RunningApplication {
    std::string bundlePath; // links resolved
    std::optional<std::string> bundleIdentifier;

    friend bool operator==(const RunningApplication&, const RunningApplication&) = default;
};

// The desktop around the program. Any thread. Failures are silent here; those that a person can do something
// about are told to the console.
class Workspace {
public:
    virtual ~Workspace() = default;

    // Never null.
    virtual std::shared_ptr<const Icon> iconForFile(const std::string& path) = 0;

    // Shows `path` selected in a file-browser window on `rootPath`. Returns at once.
    virtual void selectFile(const std::string& path, const std::string& rootPath) = 0;

    // A bundle is started, or brought to the front when it runs already. Any other file is opened by
    // whatever the desktop opens such files with, a web address by the browser; these two return at
    // once. What is started does not end with this program.
    virtual void openFile(const std::string& path) = 0;
    virtual void openURL(const std::string& address) = 0;

    // Starts the application at `applicationPath` with the file as its argument, once more when it runs
    // already.
    virtual void openFile(const std::string& path, const std::string& applicationPath) = 0;

    // The same with the application that has this identifier, case ignored. It is looked for on a thread of
    // its own, so the call returns at once.
    virtual void openFileWithBundleIdentifier(const std::string& path, const std::string& identifier) = 0;

    // Brings the running application whose bundle is called `name`, less its extension, to the front. One
    // that has no window yet is given a few seconds, or until it ends or `stop` asks to give up. Not on the
    // main thread.
    virtual void activateApplication(const std::string& name, std::stop_token stop) = 0;

    // In no particular order.
    virtual std::vector<RunningApplication> runningApplications() = 0;

    // The bundle with this identifier, case ignored: a running one, else one in the standard application
    // folders; absent when there is none. Not on the main thread: it may look through many folders.
    virtual std::optional<std::string>
    absolutePathForAppBundleWithIdentifier(const std::string& identifier) = 0;

    // While the result lives, the end of the application in that bundle is noted and not reported; after that
    // it is. For one who starts an application and has something to do before its end may be told.
    [[nodiscard]] virtual std::shared_ptr<void> holdTermination(const std::string& bundlePath) = 0;
};

// Posted on the main thread when the last process of an application has ended, and when one could not be
// started. Of the applications that this program did not start, only those are watched that run while it is
// hidden.
inline constexpr const char* kWorkspaceDidTerminateApplicationNotification =
    "NSWorkspaceDidTerminateApplicationNotification";

// In its user info; missing when the bundle names none.
inline constexpr const char* kApplicationBundleIdentifier = "NSApplicationBundleIdentifier";

} // namespace platform
