#pragma once

#include "AlertPanels.h"
#include "AlertSheets.h"
#include "Application.h"
#include "Authorization.h"
#include "ConsoleLog.h"
#include "DistributedNotifications.h"
#include "FileManager.h"
#include "KeyTranslation.h"
#include "LocalizedStrings.h"
#include "MainThread.h"
#include "MessagePorts.h"
#include "NotificationCenter.h"
#include "UserDefaults.h"
#include "Users.h"
#include "Workspace.h"

#include <memory>

namespace platform {

// What the Launcher asks of the desktop, service by service. The program installs the real ones once,
// before anything else; a test replaces those it wants for a scope.
struct Platform {
    std::shared_ptr<ConsoleLog> consoleLog = nullptr;
    std::shared_ptr<FileManager> fileManager = nullptr;
    std::shared_ptr<Users> users = nullptr;
    std::shared_ptr<NotificationCenter> notificationCenter = nullptr;
    std::shared_ptr<UserDefaults> userDefaults = nullptr;
    std::shared_ptr<MainThread> mainThread = nullptr;
    std::shared_ptr<Workspace> workspace = nullptr;
    std::shared_ptr<Application> application = nullptr;
    std::shared_ptr<AlertPanels> alertPanels = nullptr;
    std::shared_ptr<AlertSheets> alertSheets = nullptr;
    std::shared_ptr<Authorization> authorization = nullptr;
    std::shared_ptr<DistributedNotifications> distributedNotifications = nullptr;
    std::shared_ptr<MessagePorts> messagePorts = nullptr;
    std::shared_ptr<KeyTranslation> keyTranslation = nullptr;
    std::shared_ptr<LocalizedStrings> localizedStrings = nullptr;
};

// The services in use. They are never destroyed at exit, so that a thread that outlives the main loop
// finds them.
const Platform& current();

// Replaces the services in use. Only while no other thread uses them.
void install(Platform services);

// The given services for as long as this object lives, then those that were in use before.
class ScopedPlatform {
public:
    explicit ScopedPlatform(Platform services);
    ~ScopedPlatform();
    ScopedPlatform(const ScopedPlatform&) = delete;
    ScopedPlatform& operator=(const ScopedPlatform&) = delete;

private:
    Platform previous_;
};

} // namespace platform
