#include "AppController.h"

#include "Platform.h"
#include "Threads.h"
#include "VTBugReporter.h"
#include "VTException.h"
#include "VTLog.h"
#include "VTWindowController.h"

#include <chrono>

std::shared_ptr<AppController> AppController::init() {
    VTBugReporter::startBugReporter();
    VTLog::createNewLog();
    platform::current().userDefaults->registerDefaults({{"unhideOnLaunchedAppExit", 1}, {"sortType", 0}});
    return std::shared_ptr<AppController>(new AppController);
}

// The panel has styled its table already and put the dark scroller beside it.
void AppController::awakeFromNib(const Outlets& outlets) {
    try {
        outlets_ = outlets;
        startRebuild();
        outlets_.windowController->showWindow();
        outlets_.tableView->reloadData();

        // Observations end with the controller, so they may use it.
        auto& center = *platform::current().notificationCenter;
        observations_.push_back(
            center.addObserver(platform::kWorkspaceDidTerminateApplicationNotification,
                               [this](const platform::Notification& ended) { appQuit(ended); }));
        observations_.push_back(center.addObserver(
            kWindowDidBecomeKey, [this](const platform::Notification&) { windowDidBecomeKey(); }));
        observations_.push_back(
            center.addObserver("VTEnterPressed", [this](const platform::Notification&) { launchApp(); }));

        auto sortType = platform::current().userDefaults->integerForKey("sortType");
        for (std::size_t i = 0; i < outlets_.sortMenu->numberOfItems(); ++i) {
            auto& item = outlets_.sortMenu->itemAtIndex(i);
            if (item.tag() == sortType) {
                item.setState(true);
            }
        }
        bool started = threads_.detachNewThread([self = shared_from_this()](std::stop_token stop) {
            platform::yieldToOthers();
            self->populateUserManuals(std::move(stop));
        });
        if (!started) {
            platform::current().consoleLog->log("Unable to look for manuals: no thread could be started.");
        }
    } catch (const std::exception& exception) {
        VTException::logException(exception, "-[AppController awakeFromNib]");
    }
}

void AppController::applicationShouldHandleReopen() {
    auto& application = *platform::current().application;
    application.unhide();
    application.activateIgnoringOtherApps();
    outlets_.windowController->showWindow();
    outlets_.mainWindow->makeKeyAndOrderFront();
}

bool AppController::applicationShouldTerminateAfterLastWindowClosed() const {
    return !outlets_.mainWindow->isVisible();
}

bool AppController::applicationWillTerminate() {
    VTBugReporter::stopBugReporter();
    return threads_.finish(std::chrono::milliseconds(500));
}
