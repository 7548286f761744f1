#include "BasicServices.h"

#include "BusMessagePorts.h"
#include "LinuxConsoleLog.h"
#include "LinuxFileManager.h"
#include "LinuxUsers.h"

#include <utility>

namespace platform {

Platform basicServices(std::string name) {
    return {.consoleLog = std::make_shared<LinuxConsoleLog>(std::move(name)),
            .fileManager = std::make_shared<LinuxFileManager>(),
            .users = std::make_shared<LinuxUsers>(),
            .notificationCenter = std::make_shared<NotificationCenter>(),
            .messagePorts = std::make_shared<BusMessagePorts>()};
}

} // namespace platform
