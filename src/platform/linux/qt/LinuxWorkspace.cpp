#include "LinuxWorkspace.h"

#include "ActivationToken.h"
#include "Bundle.h"
#include "BundleIcon.h"
#include "DisplayServer.h"
#include "Package.h"
#include "Platform.h"
#include "Text.h"
#include "linux/ApplicationSearch.h"
#include "linux/DefaultHandler.h"
#include "linux/DesktopWindows.h"
#include "linux/FileBrowser.h"
#include "linux/LaunchEnvironment.h"

#include <chrono>
#include <exception>
#include <functional>
#include <thread>

namespace platform {

namespace {

// A tool that takes longer to open a window comes to the front by itself, or not.
constexpr std::chrono::seconds kWindowPatience{6};

bool isApplicationBundle(const std::string& path) {
    return lowercase(pathExtension(path)) == "app" && current().fileManager->isDirectory(path);
}

// For what waits for another program that answers, or not.
void onThreadOfItsOwn(std::function<void()> work) {
    try {
        std::thread(std::move(work)).detach();
    } catch (const std::exception& error) {
        current().consoleLog->log(std::string("No thread to ask the desktop with: ") + error.what());
    }
}

// Where a window does not come to the front by itself, the started program shows that it may.
std::vector<std::string> environmentFor(const std::string& bundlePath, std::vector<std::string> environment) {
    const auto identifier = stringForKey(Bundle{bundlePath}.infoDictionary(), "CFBundleIdentifier");
    if (auto token = requestActivationToken(identifier.value_or(""))) {
        environment.push_back("XDG_ACTIVATION_TOKEN=" + *token);
    }
    return environment;
}

std::optional<std::string> applicationWith(const std::string& identifier, RunningApplications& running) {
    const auto key = caseInsensitiveKey(identifier);
    for (auto& application : running.list()) {
        if (application.bundleIdentifier && caseInsensitiveKey(*application.bundleIdentifier) == key) {
            return std::move(application.bundlePath);
        }
    }
    return findApplication(identifier);
}

void reportEnd(const RunningApplication& application) {
    PropertyList::Dictionary userInfo;
    if (application.bundleIdentifier) {
        userInfo.emplace(kApplicationBundleIdentifier, *application.bundleIdentifier);
    }
    current().mainThread->perform(
        [userInfo = std::move(userInfo)] {
            current().notificationCenter->post(
                {.name = kWorkspaceDidTerminateApplicationNotification, .userInfo = userInfo});
        },
        Wait::No);
}

} // namespace

LinuxWorkspace::LinuxWorkspace()
    : environment_(launchEnvironment()), running_(std::make_shared<RunningApplications>(reportEnd)) {}

std::shared_ptr<const Icon> LinuxWorkspace::iconForFile(const std::string& path) {
    return std::make_shared<BundleIcon>(path);
}

void LinuxWorkspace::selectFile(const std::string& path, const std::string& rootPath) {
    onThreadOfItsOwn(
        [path, rootPath, environment = environment_] { showInFileBrowser(path, rootPath, environment); });
}

void LinuxWorkspace::openFile(const std::string& path) {
    if (!isApplicationBundle(path)) {
        openURL(fileAddress(path));
    } else if (!running_->open(path, environmentFor(path, environment_))) {
        activateWindow([this, &path] { return running_->processesIn(path); }, std::chrono::seconds(0), {});
    }
}

void LinuxWorkspace::openFile(const std::string& path, const std::string& applicationPath) {
    running_->open(applicationPath, environmentFor(applicationPath, environment_), {path});
}

void LinuxWorkspace::openFileWithBundleIdentifier(const std::string& path, const std::string& identifier) {
    onThreadOfItsOwn([path, identifier, environment = environment_, running = running_] {
        if (const auto bundle = applicationWith(identifier, *running)) {
            running->open(*bundle, environmentFor(*bundle, environment), {path});
        } else {
            current().consoleLog->log("No application with the identifier " + identifier + " to open " +
                                      path);
        }
    });
}

void LinuxWorkspace::openURL(const std::string& address) {
    onThreadOfItsOwn([address, environment = environment_] { openWithDefaultHandler(address, environment); });
}

void LinuxWorkspace::activateApplication(const std::string& name, std::stop_token stop) {
    // A window that is shown through Wayland never comes into sight here; its program has had a token.
    const auto patience = isShownThroughWayland() ? std::chrono::seconds(0) : kWindowPatience;
    activateWindow([this, &name] { return running_->processesNamed(name); }, patience, stop);
}

std::vector<RunningApplication> LinuxWorkspace::runningApplications() {
    return running_->list();
}

std::optional<std::string>
LinuxWorkspace::absolutePathForAppBundleWithIdentifier(const std::string& identifier) {
    return applicationWith(identifier, *running_);
}

std::shared_ptr<void> LinuxWorkspace::holdTermination(const std::string& bundlePath) {
    return running_->holdTermination(bundlePath);
}

} // namespace platform
