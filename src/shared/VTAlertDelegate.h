#pragma once

#include "AlertSheets.h"

#include <cstdint>
#include <functional>
#include <string>

// Receives the end of an alert's sheet through operations that are called by their names, as in
// "alertDidEnd:returnCode:contextInfo:".
class VTAlertDelegate {
public:
    // What an operation is given: the alert that has left the screen and the button that was pressed.
    using Operation = std::function<void(platform::AlertSheet& alert, std::int64_t returnCode)>;

    virtual ~VTAlertDelegate() = default;

    // The operation of that name; empty when there is none. Any thread; the operation is called on the main
    // one.
    virtual Operation operationNamed(const std::string& selector) = 0;
};
