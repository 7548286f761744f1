#pragma once

#include "AppController.h"

#include <string>

// The catalogue as text, for the command line. Absent values are empty in lines and null in JSON.

// One line per tool: title, group, bundle identifier and path, separated by tabs. Control characters
// are shown as escapes, so that one tool is one line.
std::string toolListAsLines(const AppController::AppList& apps);

// An array of objects in scan order (RFC 8259). Bytes of a path that are not UTF-8 are written as the
// escapes \udc80 to \udcff, which common readers turn back into those bytes.
std::string toolListAsJson(const AppController::AppList& apps);
