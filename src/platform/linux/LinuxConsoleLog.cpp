#include "LinuxConsoleLog.h"

#include "FileDescriptor.h"
#include "Text.h"

#include <array>
#include <cstdio>
#include <syslog.h>
#include <unistd.h>
#include <utility>

namespace platform {

namespace {

void appendEscaped(std::string& line, char character) {
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
    default:
        std::array<char, 5> code{};
        std::snprintf(code.data(), code.size(), "\\x%02x", static_cast<unsigned char>(character));
        line += code.data();
    }
}

// `character` is one character of UTF-8: controls stand below the space, at 0x7F, and at U+0080 to U+009F.
bool isControl(std::string_view character) {
    auto first = static_cast<unsigned char>(character[0]);
    return first < 0x20 || first == 0x7F ||
           (first == 0xC2 && static_cast<unsigned char>(character[1]) < 0xA0);
}

// A file name may hold line breaks, terminal commands or bytes that are no text; none may reach the
// console.
std::string escaped(std::string_view text) {
    std::string line;
    line.reserve(text.size());
    while (!text.empty()) {
        auto length = lengthOfFirstCharacter(text);
        auto character = text.substr(0, length == 0 ? 1 : length);
        if (length > 0 && !isControl(character)) {
            line += character;
        } else {
            for (char byte : character) {
                appendEscaped(line, byte);
            }
        }
        text.remove_prefix(character.size());
    }
    return line;
}

} // namespace

LinuxConsoleLog::LinuxConsoleLog(std::string name) : name_(std::move(name)) {
    ::openlog(name_.c_str(), LOG_PID, LOG_USER);
}

LinuxConsoleLog::~LinuxConsoleLog() {
    ::closelog();
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
