#pragma once

#include <string_view>

namespace platform {

// The machine's console: where complaints go that are meant for whoever maintains it.
class ConsoleLog {
public:
    virtual ~ConsoleLog() = default;

    // One line, `Launcher[pid]: text`. Control characters are shown as escapes, so that one call is one
    // line. Never fails, any thread.
    virtual void log(std::string_view text) = 0;
};

} // namespace platform
