#pragma once

#include "NotificationCenter.h"
#include "Outlets.h"
#include "VTLaunchApp.h"
#include "WorkerThreads.h"

#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <stop_token>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

// The application's controller: finds the suite's tools, keeps the shown catalogue and serves it to the
// panel. Made once, on the main thread, and shared with the threads it starts.
class AppController : public std::enable_shared_from_this<AppController> {
public:
    using AppList = std::vector<std::shared_ptr<VTLaunchApp>>;

    // What a table cell shows: an icon (null for none) or a text.
    using CellValue = std::variant<std::shared_ptr<const platform::Icon>, std::string>;

    // The table's columns, by identifier.
    static constexpr std::string_view colIcon = "colIcon";
    static constexpr std::string_view colTitle = "colTitle";
    static constexpr std::string_view colDesc = "colDesc";

    // Tags of the sort menu's items, stored as `sortType`.
    static constexpr int kSortByName = 0;
    static constexpr int kSortByGroup = 1;

    // --- The program's life and its menus (AppController+Startup.cpp, AppController+Help.cpp). Main thread
    // unless it says otherwise.

    // Starts crash detection, opens a fresh log and puts the registered defaults in place.
    static std::shared_ptr<AppController> init();

    // Once the panel is loaded: takes the outlets, which must outlive `applicationWillTerminate`, starts
    // the first rebuild, shows the panel and watches what happens.
    void awakeFromNib(const Outlets& outlets);

    // The user has started the program while it runs: it comes back to the front, out of hiding or out of
    // fading away.
    void applicationShouldHandleReopen();

    // Exactly when the main window is not visible.
    bool applicationShouldTerminateAfterLastWindowClosed() const;

    // The end: stops crash detection, asks the controller's threads to stop and waits a moment for them.
    // False when one is stuck, in a folder that does not answer, say; it must then be left behind.
    bool applicationWillTerminate();

    // The program's threads, which end with it.
    WorkerThreads& threads() { return threads_; }

    // Adds an item for each manual to the menu of user manuals. For a thread of its own.
    void populateUserManuals(std::stop_token stop = {});
    void showUserManual(const outlet::MenuItem& item);

    void helpUserManual();
    void helpOstendelHome();
    void helpReportBug();
    void helpSuggestFeature();
    void helpVTHome();

    // --- Launching (AppController+Launch.cpp).

    // Launches the selected tool on a new thread. Main thread.
    void launchApp();

    // Launches one tool and takes the panel out of its way. For a thread of its own; `stop` cuts short the
    // wait for the tool's window.
    void launchAppOnThread(const VTLaunchApp& app, std::stop_token stop = {});

    // Brings the running application of that name to the front. Not on the main thread.
    void activateApp(const std::string& name, std::stop_token stop = {});

    // An application has ended: shows the panel again when it was the one launched last. Main thread.
    void appQuit(const platform::Notification& notification);

    // --- Purgel, the repair in one step (AppController+Purgel.cpp).

    // The Purgel button: runs Purgel on a new thread. Does nothing while an earlier run is still being
    // started or cancelled. Main thread.
    void runPurgel();

    // Asks the user and starts the tool; returns once it has been started or has not. For a thread of its
    // own.
    void runPurgelOnThread();

    // True when no editing application runs; otherwise the user is told which do, and has seen it when this
    // returns. Not on the main thread.
    bool checkForRunningApps();

    // The run is over: puts the progress panel away and, unless it was cancelled or its end has been told
    // already, tells the user. Main thread.
    void purgelEnded();

    // The progress panel's button: stops the suite's processes on a new thread, then ends the run. Main
    // thread.
    void cancelPurgel();

    // --- The scan (AppController+Scan.cpp). Any thread.

    // The suite's tools in `folder` and below, in listing order; absent when the folder is refused or
    // cannot be listed, and when `stop` asked to give up.
    static std::optional<AppList> appsForFolder(const std::string& folder, std::stop_token stop = {});

    // Does the path's last component name a folder that the scan must not descend into?
    static bool isFileBlacklisted(std::string_view path);

    // --- The catalogue view (AppController+View.cpp).

    // The shown catalogue. Never null; replaced whole. Any thread.
    std::shared_ptr<const AppList> dataArray() const;

    // Scans, filters and sorts, then shows the result. For a thread of its own.
    void populateData(std::stop_token stop = {});

    // Starts `populateData` on a new thread.
    void startRebuild();

    // Main thread from here on.
    void hideGroup(outlet::MenuItem& item);
    void changeSortMode(outlet::MenuItem& item);
    void reloadDataAction();
    void revealInFinder();

    std::size_t numberOfRows() const;
    // Tools that the last rebuild found and left out, their group being hidden.
    std::size_t numberOfHiddenTools() const { return numberOfHiddenTools_; }
    std::optional<CellValue> objectValueForTableColumn(std::string_view column, std::size_t row) const;
    void willDisplayCell(outlet::TextCell& cell, std::string_view column, std::size_t row) const;

private:
    AppController() = default;

    void windowDidBecomeKey() {} // the panel needs nothing done
    void showMenuItemsForGroups(const AppList& apps);
    void setDataArray(AppList apps);
    void startPurgel();
    std::optional<std::string> purgelPath() const;
    void purgelStarted();
    void cancelPurgelOnThread();
    void purgelWasCancelled();
    std::int32_t execWithRights(const std::string& tool, const std::vector<std::string>& arguments);

    Outlets outlets_;
    WorkerThreads threads_;
    std::vector<platform::NotificationCenter::Observation> observations_;
    std::mutex launchMutex_;
    std::optional<std::string> launchedBundleID_; // of the tool launched last; never cleared
    mutable std::mutex dataMutex_;
    std::shared_ptr<const AppList> dataArray_ = std::make_shared<const AppList>();
    std::size_t numberOfHiddenTools_ = 0; // the main thread's
    std::mutex authMutex_;                // one tool is started at a time
    std::atomic<bool> purgelIsStarting_ = false;
    // The main thread's.
    bool purgelIsCancelling_ = false;
    bool purgelCancelled_ = false; // or its end has been told
    std::shared_ptr<void> purgelCompleteObserver_;
};
