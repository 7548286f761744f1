#include "VTSoftwareUpdate.h"

#include "Bundle.h"
#include "GlobalPreferences.h"
#include "Platform.h"
#include "PropertyListSerialization.h"
#include "VTException.h"
#include "VTLocalPaths.h"
#include "VTLog.h"
#include "VTTaskEx.h"

#include <cstdint>
#include <exception>
#include <mutex>
#include <thread>

namespace {

constexpr const char* kUpdaterName = "Vantorel Software Update.app";
constexpr const char* kNoPath = "Unable to launch Software Update - path doesn't exist";

// 0 when there is no such bundle or it names none.
std::int64_t versionOf(const VTLocalPaths::Path& bundlePath) {
    if (!bundlePath || !platform::current().fileManager->fileExists(*bundlePath)) {
        return 0;
    }
    const auto information = platform::Bundle{*bundlePath}.infoDictionary();
    const auto version = information.find("CFBundleVersion");
    return version == information.end() ? 0 : platform::integerValue(version->second);
}

std::optional<std::string> updaterInside() {
    const auto bundle = platform::Bundle::main();
    return bundle ? std::optional(bundle->resourcePath() + "/" + kUpdaterName) : std::nullopt;
}

// A program in no bundle has its folder for one.
std::string ownPath() {
    const auto bundle = platform::Bundle::main();
    const auto executable = platform::mainExecutablePath();
    return bundle ? bundle->path : executable.substr(0, executable.rfind('/'));
}

} // namespace

void VTSoftwareUpdate::startup() {
    if (isNumber(globalPreference("SUCheckAtStartup"), 0)) {
        return;
    }
    try {
        std::thread(automaticallyCheckForUpdates).detach();
    } catch (const std::exception& error) {
        platform::current().consoleLog->log(std::string("No thread to look for updates on: ") + error.what());
    }
}

std::optional<std::string> VTSoftwareUpdate::updaterPath() {
    auto installed = VTLocalPaths::appending(VTLocalPaths::applicationDirectory(false),
                                             std::string("Vantorel/") + kUpdaterName);
    const auto inside = updaterInside();
    if (versionOf(installed) >= versionOf(inside)) {
        return installed;
    }
    auto copy = VTLocalPaths::appending(VTLocalPaths::tempDirectory(), kUpdaterName);
    if (copy) {
        static std::mutex oneAtATime; // the start's look and the user's own may meet
        std::lock_guard lock(oneAtATime);
        auto& fileManager = *platform::current().fileManager;
        fileManager.removeItem(*copy);
        fileManager.copyItem(*inside, *copy);
    }
    return copy;
}

void VTSoftwareUpdate::manualUpdateCheck() {
    const auto open = [](const std::optional<std::string>& path) {
        const auto mainThread = platform::current().mainThread;
        mainThread->perform([path] { openUpdater(path); }, platform::Wait::No);
    };
    try {
        std::thread([open] {
            try {
                open(updaterPath());
            } catch (const std::exception& exception) { // it would end the program
                VTException::logException(exception, "-[VTSoftwareUpdate manualUpdateCheck:]");
            }
        }).detach();
    } catch (const std::exception&) {
        launchSoftwareUpdate(); // slow, but right
    }
}

void VTSoftwareUpdate::launchSoftwareUpdate() {
    openUpdater(updaterPath());
}

void VTSoftwareUpdate::openUpdater(const std::optional<std::string>& path) {
    if (path) {
        platform::current().workspace->openFile(*path);
    } else {
        VTLog::appendLogAndPrint(kNoPath);
    }
}

void VTSoftwareUpdate::automaticallyCheckForUpdates() try {
    const auto path = updaterPath();
    if (!path) {
        VTLog::appendLogAndPrint(kNoPath);
        return;
    }
    if (!platform::current().fileManager->isDirectory(*path)) {
        VTLog::appendLogAndPrint("Unable to launch Software Update - updater bundle not found.");
        return;
    }
    std::string problem;
    const auto executable = platform::Bundle{*path}.executablePath(problem);
    if (!executable) {
        VTLog::appendLogAndPrint("Unable to launch Software Update - executable path doesn't exist");
        return;
    }
    VTTaskEx::runTaskAndReturn(executable, {"-checkpath", ownPath()});
} catch (const std::exception& exception) { // it would end the program: nothing else is on this thread
    VTException::logException(exception, "+[VTSoftwareUpdate automaticallyCheckForUpdates]");
}
