#pragma once

#include <cstddef>
#include <string>

namespace platform {

// Writes a crash log when the process is about to end by SIGSEGV, SIGBUS, SIGILL, SIGFPE or SIGABRT, and then
// lets it end by that signal. An exception that nobody catches ends in SIGABRT.
//
// A log is the file `<name>_<YYYY-MM-DD-HHMMSS>_<host>.crash`, its time in UTC, so that the logs of one name
// sort by time. Several within one second count on from it. It tells name, version, date, signal, fault
// address, thread and stack. A crash in the handler is noted in the log; the process still ends by the first
// signal, and at the latest ten seconds after it.
//
// A stack overflow is logged on the thread that installed the handler and on those with a SignalStack; on
// others it ends the process without a log.
class CrashHandler {
public:
    CrashHandler() = delete;

    // How many logs of one name are kept, that of a crash among them.
    static constexpr std::size_t kLogsKept = 20;

    // Makes the folder, removes the logs of that name beyond the newest that are kept, and prepares
    // everything that a crash needs. Once per process, on the main thread. Without the folder, which is told
    // to the console, crashes end the process as they always do.
    static void install(const std::string& name, const std::string& version, const std::string& folder);
};

} // namespace platform
