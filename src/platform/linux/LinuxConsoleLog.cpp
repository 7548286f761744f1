#include "LinuxConsoleLog.h"

#include "FileDescriptor.h"

#include <array>
#include <cstdio>
#include <syslog.h>
#include <unistd.h>
#include <utility>

namespace platform {

namespace {

// A file name may hold line breaks or terminal commands; neither may reach the console.
std::string escaped(std::string_view text) {
    std::string line;
    line.reserve(text.size());
    for (char character : text) {
        auto byte = static_cast<unsigned char>(character);
        if (byte >= 0x20 && byte != 0x7F) {
            line += character;
            continue;
        }
        switch (character) {
        case '\n':
            line += "\\n";
            break;
        case '\r':
            line += "\\r";
            break;
        case '\t':
            line += "\\t";
            break;
        default: {
            std::array<char, 5> code{};
            std::snprintf(code.data(), code.size(), "\\x%02x", byte);
            line += code.data();
        }
        }
    }
    return line;
}

} // namespace

LinuxConsoleLog::LinuxConsoleLog(std::string name) : name_(std::move(name)) {
    ::openlog(name_.c_str(), LOG_PID, LOG_USER);
}

void LinuxConsoleLog::log(std::string_view text) {
    auto line = escaped(text);
    ::syslog(LOG_NOTICE, "%s", line.c_str());
    line.insert(0, name_ + "[" + std::to_string(::getpid()) + "]: ");
    line += '\n';
    // One call, so that lines of several threads do not mix; nobody is left to tell when it fails.
    [[maybe_unused]] auto written =
        retrying([&] { return ::write(STDERR_FILENO, line.data(), line.size()); });
}

} // namespace platform
