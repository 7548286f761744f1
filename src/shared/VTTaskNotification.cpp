#include "VTTaskNotification.h"

#include "Platform.h"
#include "ProcessInfo.h"
#include "VTException.h"

#include <chrono>
#include <functional>
#include <thread>

namespace {

using platform::RemoteObject;

constexpr const char* kProtocol = "VTOSTLErrorCallbackProtocol";

// Gives a message time to leave before the connection is let go, whatever came of it.
class Pause {
public:
    Pause() = default;
    ~Pause() { std::this_thread::sleep_for(std::chrono::milliseconds(15)); }
    Pause(const Pause&) = delete;
    Pause& operator=(const Pause&) = delete;
};

void post(const char* method, const std::function<void(RemoteObject& controller)>& send) {
    const auto& ports = platform::current().messagePorts;
    if (!ports) {
        return;
    }
    try {
        const auto controller = ports->rootProxy({"VTVarnClientCallback", "VTOSTLClientCallback"});
        if (controller) {
            const Pause pause;
            controller->setProtocol(kProtocol);
            send(*controller);
        }
    } catch (const std::exception& exception) {
        VTException::logException(exception, method);
    }
}

// False when the controller does not have the message.
bool sendIfKnown(RemoteObject& controller, const char* message,
                 const std::vector<RemoteObject::Argument>& arguments) {
    const bool isKnown = controller.respondsTo(message);
    if (isKnown) {
        controller.send(message, arguments);
    }
    return isKnown;
}

} // namespace

void VTTaskNotification::postIncrementProgress() {
    post("+[VTTaskNotification postIncrementProgress]",
         [](RemoteObject& controller) { sendIfKnown(controller, "incrementRemoteProgress", {}); });
}

void VTTaskNotification::postTaskFinished() {
    post("+[VTTaskNotification postTaskFinished]",
         [](RemoteObject& controller) { sendIfKnown(controller, "postFinishedTask", {}); });
}

void VTTaskNotification::postTaskError(const platform::PropertyList& error) {
    post("+[VTTaskNotification postTaskError:]", [&](RemoteObject& controller) {
        const RemoteObject::AnyObject object{error};
        if (!sendIfKnown(controller, "postErrorForApp", {object, platform::processName()})) {
            sendIfKnown(controller, "postError", {object});
        }
    });
}

void VTTaskNotification::postTaskErrorString(const std::string& text) {
    post("+[VTTaskNotification postTaskErrorString:]", [&](RemoteObject& controller) {
        const platform::PropertyList::Dictionary userInfo{{"appName", platform::processName()}};
        if (!sendIfKnown(controller, "postErrorStringUserInfo", {text, userInfo})) {
            sendIfKnown(controller, "postErrorString", {text});
        }
    });
}

void VTTaskNotification::postDisconnect() {
    // The slot is one that the receiver does not look at.
    post("+[VTTaskNotification postDisconnect]",
         [](RemoteObject& controller) { sendIfKnown(controller, "postDisconnect", {std::monostate()}); });
}
