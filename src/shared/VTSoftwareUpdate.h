#pragma once

#include <optional>
#include <string>

// Hands over to "Vantorel Software Update", the program that updates the suite. Failures are logged and
// printed; nothing throws.
class VTSoftwareUpdate {
public:
    // The panel has been loaded.
    void awakeFromNib() { startup(); }

    // Lets the updater look for updates on a thread of its own, unless the suite's preference
    // "SUCheckAtStartup" is a number equal to 0. Returns at once.
    void startup();

    // The user asks for it: `launchSoftwareUpdate`, but for looking and copying, which may take long and are
    // done on a thread of their own. The updater is opened on the main thread after that. Returns at once.
    void manualUpdateCheck();

    // The updater to run: the installed one, or a copy, made by this call in the temporary folder, of the one
    // inside the Launcher when that has the higher version. The path of the installed one is returned whether
    // or not there is one. Absent when there is no such folder. Any thread.
    static std::optional<std::string> updaterPath();

    // Opens the updater for the user.
    static void launchSoftwareUpdate();

    // Starts the updater in the background, to look for updates of the bundle that this program lies in, and
    // does not wait for it. For a thread of its own.
    static void automaticallyCheckForUpdates();

private:
    // At the path that was found.
    static void openUpdater(const std::optional<std::string>& path);
};
