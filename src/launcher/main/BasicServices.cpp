#include "BasicServices.h"

#include "linux/LinuxConsoleLog.h"
#include "linux/LinuxFileManager.h"
#include "linux/LinuxUsers.h"

#include <utility>

platform::Platform basicServices(std::shared_ptr<platform::Workspace> workspace) {
    return {.consoleLog = std::make_shared<platform::LinuxConsoleLog>("Launcher"),
            .fileManager = std::make_shared<platform::LinuxFileManager>(),
            .users = std::make_shared<platform::LinuxUsers>(),
            .notificationCenter = std::make_shared<platform::NotificationCenter>(),
            .workspace = std::move(workspace)};
}
