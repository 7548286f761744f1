#pragma once

#include <string>

namespace platform {

// Questions and messages that stand before everything else of the program. Texts are plain, whatever they
// look like.
class AlertPanels {
public:
    virtual ~AlertPanels() = default;

    // Shows a message with a single button and returns once the user has dismissed it. Any thread; not
    // shown once the main loop has ended.
    virtual void runAlertPanel(const std::string& title, const std::string& message) = 0;
};

} // namespace platform
