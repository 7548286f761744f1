#include "LinuxConsoleLog.h"

#include "FileDescriptor.h"
#include "Text.h"

#include <syslog.h>
#include <unistd.h>
#include <utility>

namespace platform {

LinuxConsoleLog::LinuxConsoleLog(std::string name) : name_(std::move(name)) {
    ::openlog(name_.c_str(), LOG_PID, LOG_USER);
}

LinuxConsoleLog::~LinuxConsoleLog() {
    ::closelog();
}

void LinuxConsoleLog::log(std::string_view text) {
    auto line = withoutControlCharacters(text);
    ::syslog(LOG_NOTICE, "%s", line.c_str());
    line.insert(0, name_ + "[" + std::to_string(::getpid()) + "]: ");
    line += '\n';
    // One call, so that lines of several threads do not mix; nobody is left to tell when it fails.
    [[maybe_unused]] auto written =
        retrying([&] { return ::write(STDERR_FILENO, line.data(), line.size()); });
}

} // namespace platform
