#pragma once

#include "PropertyList.h"

#include <string>

// Tells the application that this process works for how a long task is getting on. The controlling
// application publishes a message port for that: "VTVarnClientCallback", or "VTOSTLClientCallback" in the
// earlier suite; who has published both gets everything on the first. Without either a call does nothing.
//
// Nothing waits for the controller to do something about it, and nothing is thrown: exceptions are logged.
// While there is a controller a call takes at least 15 milliseconds, and about a second when it does not
// answer. Any thread; what one thread posts arrives in order.
class VTTaskNotification {
public:
    VTTaskNotification() = delete;

    static void postIncrementProgress(); // one more step is done
    static void postTaskFinished();
    static void postDisconnect();

    // The controller gets the error as it is, and, if it wants to know, this process's name.
    static void postTaskError(const platform::PropertyList& error);
    static void postTaskErrorString(const std::string& text);
};
