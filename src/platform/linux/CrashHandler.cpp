#include "CrashHandler.h"

#include "ItemPlace.h"
#include "Platform.h"
#include "SignalSafeText.h"
#include "SignalStack.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cctype>
#include <csignal>
#include <execinfo.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/utsname.h>
#include <unistd.h>
#include <vector>

namespace platform {

namespace {

constexpr std::array kSignals{SIGSEGV, SIGBUS, SIGILL, SIGFPE, SIGABRT};
constexpr unsigned kSecondsToWrite = 10;
constexpr std::time_t kNamesTried = 10;
constexpr int kMaximumFrames = 128;
constexpr mode_t kLogMode = 0600; // a stack may tell what the user was working on

// All that the handler needs. Made when it is installed and never destroyed.
struct Preparation {
    std::string name;
    std::string version;
    std::string host;
    ItemPlace place;    // of any log, so its folder
    std::string oldest; // the log that goes when there is one more; empty while there is room
};
const Preparation* preparation = nullptr;

std::atomic<pid_t> crashedThread = 0;
std::atomic<int> firstSignal = 0;
std::atomic<int> logFile = -1;
static_assert(std::atomic<pid_t>::is_always_lock_free);

std::string_view nameOfSignal(int signal) {
    switch (signal) {
    case SIGSEGV:
        return "SIGSEGV";
    case SIGBUS:
        return "SIGBUS";
    case SIGILL:
        return "SIGILL";
    case SIGFPE:
        return "SIGFPE";
    default:
        return "SIGABRT";
    }
}

pid_t currentThread() {
    return static_cast<pid_t>(::syscall(SYS_gettid));
}

void setHandler(int signal, void (*handler)(int), int flags = 0) {
    struct sigaction action {};
    action.sa_handler = handler;
    action.sa_flags = flags;
    ::sigaction(signal, &action, nullptr);
}

void unblock(int signal) {
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, signal);
    ::pthread_sigmask(SIG_UNBLOCK, &signals, nullptr);
}

[[noreturn]] void endBy(int signal) {
    setHandler(signal, SIG_DFL);
    unblock(signal);
    ::raise(signal);
    ::_exit(128 + signal);
}

// The crash may have left a lock held that the stack's symbols need.
void giveUp(int) {
    SignalSafeText text;
    text << "\nThe rest could not be written in time.\n";
    text.writeTo(logFile);
    endBy(firstSignal);
}

int openLog(std::time_t now) {
    const auto& place = preparation->place;
    for (auto time = now; time < now + kNamesTried; ++time) {
        SignalSafeText name;
        name << preparation->name << "_";
        name.moment(time, "-", "") << "_" << preparation->host << ".crash";
        const int file = ::openat(place.folder(), name.zeroTerminated(),
                                  O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, kLogMode);
        if (file >= 0 && place.owner()) {
            // Whether that succeeds changes nothing: there is no better place for the log.
            [[maybe_unused]] int result = ::fchown(file, place.owner()->user, place.owner()->group);
        }
        if (file >= 0 || errno != EEXIST) {
            return file;
        }
    }
    return -1;
}

void writeHeader(int signal, const siginfo_t& info, std::time_t now) {
    SignalSafeText text;
    text << "Process: " << preparation->name << " [";
    text.number(static_cast<std::uint64_t>(::getpid())) << "]\nVersion: " << preparation->version;
    text << "\nDate: ";
    text.moment(now, " ", ":") << " UTC\nHost: " << preparation->host << "\nSignal: ";
    text.number(static_cast<std::uint64_t>(signal)) << " (" << nameOfSignal(signal) << ")\nFault address: ";
    if (info.si_code > 0 && info.si_code != SI_KERNEL) { // found by the processor, which knows where
        text.address(info.si_addr);
    } else {
        text << "none";
    }
    text << "\nThread: ";
    text.number(static_cast<std::uint64_t>(currentThread()))
        << (currentThread() == ::getpid() ? " (main)" : "") << "\n\nStack:\n";
    text.writeTo(logFile);
}

void writeStack() {
    std::array<void*, kMaximumFrames> frames{};
    const int count = ::backtrace(frames.data(), kMaximumFrames);
    ::backtrace_symbols_fd(frames.data(), count, logFile);
}

void handleCrash(int signal, siginfo_t* info, void*) {
    pid_t crashed = 0;
    if (!crashedThread.compare_exchange_strong(crashed, currentThread())) {
        if (crashed != currentThread()) {
            for (;;) { // the first crash is about to end the process
                ::pause();
            }
        }
        for (int each : kSignals) {
            setHandler(each, SIG_DFL);
        }
        SignalSafeText text;
        text << "\nWriting this log crashed as well: " << nameOfSignal(signal) << "\n";
        text.writeTo(logFile);
        endBy(firstSignal);
    }
    firstSignal = signal;
    setHandler(SIGALRM, giveUp);
    unblock(SIGALRM);
    ::alarm(kSecondsToWrite);

    const auto now = ::time(nullptr);
    logFile = openLog(now);
    if (logFile >= 0) {
        if (!preparation->oldest.empty()) {
            ::unlinkat(preparation->place.folder(), preparation->oldest.c_str(), 0);
        }
        writeHeader(signal, *info, now);
        writeStack();
    }
    endBy(signal);
}

std::string asFileName(std::string text) {
    std::ranges::replace(text, '/', '-');
    return text;
}

bool isLog(std::string_view file, const std::string& name) {
    static constexpr std::string_view kDate = "_dddd-dd-dd-dddddd_";
    if (!file.starts_with(name) || !file.ends_with(".crash") || file.size() < name.size() + kDate.size()) {
        return false;
    }
    return std::ranges::equal(file.substr(name.size(), kDate.size()), kDate, [](char is, char wanted) {
        return wanted == 'd' ? std::isdigit(static_cast<unsigned char>(is)) != 0 : is == wanted;
    });
}

// The oldest of those that are left, when they are as many as may be; otherwise empty.
std::string removeOldLogs(const std::string& name, const std::string& folder) {
    auto& fileManager = *current().fileManager;
    std::error_code error;
    std::vector<std::string> logs;
    for (const auto& entry : fileManager.openFolder(folder)->entries(Listing::Everything, error)) {
        if (entry.kind == EntryKind::File && isLog(entry.name, name)) {
            logs.push_back(entry.name); // in the order of their times
        }
    }
    if (logs.size() < CrashHandler::kLogsKept) {
        return {};
    }
    const auto tooMany = logs.size() - CrashHandler::kLogsKept;
    for (std::size_t i = 0; i < tooMany; ++i) {
        if (auto failure = fileManager.removeItem(folder + "/" + logs[i])) {
            current().consoleLog->log("Cannot remove " + folder + "/" + logs[i] + ": " + failure.message());
        }
    }
    return logs[tooMany];
}

} // namespace

void CrashHandler::install(const std::string& name, const std::string& version, const std::string& folder) {
    auto error = current().fileManager->createDirectory(folder);
    utsname system{};
    ::uname(&system);
    const auto fileName = asFileName(name);
    auto* made = new Preparation{fileName, version, asFileName(system.nodename),
                                 ItemPlace(folder + "/" + fileName, ItemPlace::FinalLink::Kept), ""};
    error = error ? error : made->place.error();
    if (error) {
        delete made;
        current().consoleLog->log("Crashes will not be logged in " + folder + ": " + error.message());
        return;
    }
    made->oldest = removeOldLogs(fileName, folder);
    preparation = made;
    static const SignalStack stackOfTheMainThread;
    std::array<void*, 1> frame{};
    ::backtrace(frame.data(), 1); // the first call loads a library

    struct sigaction action {};
    action.sa_sigaction = handleCrash;
    action.sa_flags = SA_SIGINFO | SA_ONSTACK | SA_NODEFER; // a crash in the handler comes back to it
    for (int signal : kSignals) {
        ::sigaction(signal, &action, nullptr);
    }
}

} // namespace platform
