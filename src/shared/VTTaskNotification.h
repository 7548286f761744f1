#pragma once

#include "PropertyList.h"

#include <string>

// Tells the application that this process works for how a long task is getting on. The controlling
// application publishes a message port for that: "VTVarnClientCallback", or "VTOSTLClientCallback" in the
// earlier suite; who has published both gets everything on the first. Without either a call does nothing.
//
// Nothing waits for the controller to do something about it, and nothing is thrown: exceptions are logged.
// While there is a controller a call takes at least 15 milliseconds; one that hangs, or a bus that does, can
// hold it up for a second at each of look-up, question and hand-over. Any thread; what one thread posts
// arrives in order.
//
// A program that uses this needs no Qt: `platform::install(platform::basicServices(name))` comes first.
// Without a service for message ports a call does nothing.
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
