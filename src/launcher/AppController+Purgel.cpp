#include "AppController.h"

#include "Format.h"
#include "Package.h"
#include "Platform.h"
#include "Text.h"
#include "VTAlert.h"
#include "VTAuthorization.h"
#include "VTException.h"
#include "VTLocalPaths.h"
#include "VTLog.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <set>
#include <utility>

namespace {

constexpr const char* kPurgel = "Purgel";
constexpr const char* kPreferredGroup = "Kelvandor";
constexpr const char* kPurgelIdentifier = "com.vantorel.Purgel";
constexpr const char* kExecutableInBundle = "Contents/MacOS/Purgel";
constexpr const char* kPurgelComplete = "VTKVDPurgelComplete";

// A run that has not told its end by then counts as over.
constexpr std::chrono::seconds kLongestRun{60};

constexpr const char* kConfirmation =
    "This function will trash preferences, clear caches and repair Compressor, Avid Media Composer and Adobe "
    "Creative Suite. This may cause some user settings to be reset to their defaults.\n\n"
    "A backup is automatically created before this occurs, so if you need to restore your preferences "
    "afterwards, launch Tallowby and restore the newest auto backup.";

// What must not run meanwhile, in the order in which it is named.
constexpr std::array kEditingApplications{"com.avid.mediacomposer",
                                          "com.avid.symphony",
                                          "com.apple.FinalCutPro",
                                          "com.apple.FinalCut",
                                          "com.apple.FinalCutTrial",
                                          "com.apple.SoundtrackPro",
                                          "com.apple.motion",
                                          "com.apple.color",
                                          "com.apple.dvdstudiopro",
                                          "com.apple.LiveType",
                                          "com.apple.compressor.Compressor",
                                          "com.apple.CinemaTools",
                                          "com.apple.quicktimeplayer",
                                          "com.apple.FinalCutExpress",
                                          "com.apple.QuickTimePlayerX",
                                          "com.adobe.AdobePremierePro",
                                          "com.apple.motionapp",
                                          "com.apple.Compressor",
                                          "com.adobe.ame.application"};

constexpr const char* kKillAll = "/usr/bin/killall";
const std::vector<std::string>& suiteProcesses() {
    static const std::vector<std::string> names{kPurgel, "Tallowby", "Ferrulet", "Quoinet", "Gimbrel"};
    return names;
}

} // namespace

void AppController::runPurgel() {
    if (purgelIsCancelling_ || purgelIsStarting_.exchange(true)) {
        return;
    }
    bool started = threads_.detachNewThread([self = shared_from_this()](const std::stop_token&) {
        self->runPurgelOnThread();
        self->purgelIsStarting_ = false;
    });
    if (!started) {
        purgelIsStarting_ = false;
        platform::current().consoleLog->log("Unable to run Purgel: no thread could be started.");
    }
}

void AppController::runPurgelOnThread() {
    try {
        startPurgel();
    } catch (const std::exception& exception) {
        VTException::logException(exception, "-[AppController runPurgel:]");
    }
}

void AppController::startPurgel() {
    const auto& services = platform::current();
    if (!checkForRunningApps()) {
        return;
    }
    VTLog::appendLog("User started Purgel");
    const auto path = purgelPath();
    if (!path) {
        VTLog::appendLog("Purgel application not found");
        services.alertPanels->runAlertPanel("Unable to launch Purgel", "Purgel application cannot be found.");
        return;
    }
    VTLog::appendLog("Asking user what to do...");
    if (VTAlert::alertSheetWithMessageText("Warning", "Continue", "Cancel", std::nullopt, kConfirmation,
                                           outlets_.mainWindow, true) != platform::kAlertDefaultReturn) {
        VTLog::appendLog("User cancelled Purgel");
        return;
    }
    VTLog::appendLog("Purgel confirmed");
    const auto executable = VTLocalPaths::appending(path, kExecutableInBundle).value();
    VTLog::appendLog("Launching Purgel at %@", executable);
    if (execWithRights(executable, {"-fix"}) != 0) {
        VTLog::appendLog("Error: authorization failed or application cannot be found");
        return;
    }
    services.mainThread->perform([this] { purgelStarted(); }, platform::Wait::UntilDone);
}

// Of the shown tools, else wherever it is.
std::optional<std::string> AppController::purgelPath() const {
    std::optional<std::string> path;
    for (const auto& app : *dataArray()) {
        if (app->title() == kPurgel) {
            path = app->appPath();
            if (app->groupName() == kPreferredGroup) {
                break;
            }
        }
    }
    return path ? path
                : platform::current().workspace->absolutePathForAppBundleWithIdentifier(kPurgelIdentifier);
}

void AppController::purgelStarted() {
    const auto& services = platform::current();
    purgelCancelled_ = false; // not before: an earlier run's timer would have told this one's end
    outlets_.progressPanel->beginSheet(*outlets_.mainWindow);
    outlets_.progressBar->startAnimation();
    // Ending the run ends the observation from within: nothing but the controller may be used after that.
    auto end = [controller = weak_from_this()] {
        if (const auto self = controller.lock()) {
            self->purgelEnded();
        }
    };
    purgelCompleteObserver_ = services.distributedNotifications->addObserver(
        kPurgelComplete, [end](const std::string&, const platform::PropertyList::Dictionary&) { end(); });
    services.mainThread->performAfter(kLongestRun, end);
}

bool AppController::checkForRunningApps() {
    auto& workspace = *platform::current().workspace;
    std::set<std::string> running;
    for (const auto& application : workspace.runningApplications()) {
        running.insert(application.bundleIdentifier.value_or(""));
    }
    std::vector<std::string> names;
    for (const char* identifier : kEditingApplications) {
        if (!running.contains(identifier)) {
            continue;
        }
        if (const auto path = workspace.absolutePathForAppBundleWithIdentifier(identifier)) {
            names.emplace_back(platform::nameWithoutExtension(*path));
        }
    }
    if (names.empty()) {
        return true;
    }
    std::string list = names.front();
    std::for_each(names.begin() + 1, names.end(), [&list](const auto& name) { list += "\n" + name; });
    VTAlert::alertSheetWithMessageText(
        "Unable to begin Purgel",
        format("Please close the following applications before continuing: \n\n%@", list),
        outlets_.mainWindow);
    return false;
}

void AppController::purgelEnded() {
    outlets_.progressBar->stopAnimation();
    outlets_.progressPanel->endSheet();
    purgelCompleteObserver_ = nullptr;
    if (!std::exchange(purgelCancelled_, true)) {
        VTAlert::alertSheetWithMessageText(
            "Purgel complete", "You can now relaunch your editing applications.", outlets_.mainWindow);
    }
}

void AppController::cancelPurgel() {
    purgelCancelled_ = true;
    purgelIsCancelling_ = true;
    bool started = threads_.detachNewThread(
        [self = shared_from_this()](const std::stop_token&) { self->cancelPurgelOnThread(); });
    if (!started) {
        platform::current().consoleLog->log("Unable to cancel Purgel: no thread could be started.");
        purgelWasCancelled();
    }
}

void AppController::cancelPurgelOnThread() {
    try {
        execWithRights(kKillAll, suiteProcesses()); // whatever comes of it
    } catch (const std::exception& exception) {
        VTException::logException(exception, "-[AppController cancelPurgel:]");
    }
    platform::current().mainThread->perform([self = shared_from_this()] { self->purgelWasCancelled(); },
                                            platform::Wait::No);
}

void AppController::purgelWasCancelled() {
    purgelIsCancelling_ = false;
    purgelEnded();
}

std::int32_t AppController::execWithRights(const std::string& tool,
                                           const std::vector<std::string>& arguments) {
    std::lock_guard lock(authMutex_);
    return VTAuthorization::sharedController().authExecTask(tool, arguments);
}
