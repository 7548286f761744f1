#include "AppController.h"

#include "Format.h"
#include "Package.h"
#include "Platform.h"
#include "Text.h"
#include "VTException.h"

#include <chrono>
#include <thread>

namespace {

constexpr const char* kQuitAfterLaunching = "quitAfterLaunching";
constexpr const char* kUnhideOnLaunchedAppExit = "unhideOnLaunchedAppExit";

bool isOn(const char* key) {
    return platform::current().userDefaults->integerForKey(key) == 1;
}

} // namespace

void AppController::launchApp() {
    auto row = outlets_.tableView->selectedRow();
    auto apps = dataArray();
    if (!row || *row >= apps->size()) {
        return;
    }
    bool started =
        threads_.detachNewThread([self = shared_from_this(), app = (*apps)[*row]](std::stop_token stop) {
            self->launchAppOnThread(*app, std::move(stop));
        });
    if (!started) {
        platform::current().consoleLog->log("Unable to launch a tool: no thread could be started.");
    }
}

void AppController::launchAppOnThread(const VTLaunchApp& app, std::stop_token stop) {
    try {
        const auto& services = platform::current();
        auto path = app.appPath();
        if (!path || !services.fileManager->fileExists(*path)) {
            services.alertPanels->runAlertPanel(format("%@ cannot be launched.", app.title()),
                                                "The application could not be found.");
            return;
        }
        services.mainThread->perform([window = outlets_.mainWindow] { window->orderBack(); },
                                     platform::Wait::No);
        {
            std::lock_guard lock(launchMutex_);
            launchedBundleID_ = app.bundleID();
        }
        // A tool may end at once, and its end brings back only what has been hidden.
        auto held = services.workspace->holdTermination(*path);
        services.workspace->openFile(*path);
        std::this_thread::sleep_for(std::chrono::microseconds(100));
        activateApp(std::string(platform::nameWithoutExtension(*path)), stop);
        if (isOn(kQuitAfterLaunching)) {
            services.application->terminate();
        } else {
            services.application->hide();
        }
    } catch (const std::exception& exception) {
        VTException::logException(exception, "-[AppController launchAppOnThread:]");
    }
}

void AppController::activateApp(const std::string& name, std::stop_token stop) {
    platform::current().workspace->activateApplication(name, std::move(stop));
}

void AppController::appQuit(const platform::Notification& notification) {
    try {
        std::optional<std::string> launched;
        {
            std::lock_guard lock(launchMutex_);
            launched = launchedBundleID_;
        }
        if (!launched || !isOn(kUnhideOnLaunchedAppExit) || isOn(kQuitAfterLaunching)) {
            return;
        }
        auto ended = platform::stringForKey(notification.userInfo, platform::kApplicationBundleIdentifier);
        auto& application = *platform::current().application;
        if (ended && platform::lowercase(*ended) == platform::lowercase(*launched) &&
            application.isHidden()) {
            application.unhide();
            application.activateIgnoringOtherApps();
            outlets_.mainWindow->makeKeyAndOrderFront();
        }
    } catch (const std::exception& exception) {
        VTException::logException(exception, "-[AppController appQuit:]");
    }
}
