#pragma once

#include "ConsoleLog.h"

#include <string>

namespace platform {

// Standard error and syslog. One per process: syslog knows one name.
class LinuxConsoleLog : public ConsoleLog {
public:
    // `name` stands before the process id in every line.
    explicit LinuxConsoleLog(std::string name);
    ~LinuxConsoleLog() override;
    LinuxConsoleLog(const LinuxConsoleLog&) = delete;
    LinuxConsoleLog& operator=(const LinuxConsoleLog&) = delete;

    void log(std::string_view text) override;

private:
    std::string name_; // syslog keeps a pointer to it
};

} // namespace platform
