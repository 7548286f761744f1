// The Launcher's helper for administrator rights. pkexec runs it as root; it runs one tool:
//
//     launcher-run-as-root /absolute/path/of/tool [argument...]
//
// It becomes the tool, so that the tool's streams, end and status are its own. What it does not do, it says
// in one line to standard error and to the system's log. Its own statuses are those of <sysexits.h>; pkexec's
// own are 126 and 127, which it therefore never ends with.

#include "ProtectedPlaces.h"
#include "Refusal.h"
#include "TrustedTool.h"
#include "linux/FileDescriptor.h"
#include "linux/StartHandshake.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <optional>
#include <string>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sysexits.h>
#include <syslog.h>
#include <system_error>
#include <unistd.h>
#include <vector>

namespace {

using platform::FileDescriptor;
using platform::StartHandshake;

constexpr std::size_t kLongestLine = 1000; // characters

// One line, whatever bytes the caller has put into its arguments.
void say(std::string text) {
    text.resize(std::min(text.size(), kLongestLine));
    std::ranges::replace_if(
        text, [](unsigned char character) { return character < ' ' || character == '\x7f'; }, '?');
    ::openlog("launcher-run-as-root", LOG_PID, LOG_AUTHPRIV);
    ::syslog(LOG_NOTICE, "%s", text.c_str());
    ::closelog();
    std::fprintf(stderr, "launcher-run-as-root[%d]: %s\n", ::getpid(), text.c_str());
}

// Three streams, and nothing else.
void tidyDescriptors() {
    for (int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        // A file gets the lowest number that is free.
        if (::fcntl(stream, F_GETFD) < 0 &&
            ::open("/dev/null", O_RDWR) != stream) { // NOLINT(*-unhandled-self-assignment)
            std::_Exit(EX_OSERR);                    // there is nowhere to say it
        }
    }
    if (::close_range(STDERR_FILENO + 1, ~0U, 0) != 0) {
        throw Refusal("descriptors cannot be closed");
    }
}

// As the system gives them to its first process, so that what the caller may use up is nothing to the tool.
// Only where root itself may not raise them, as in a container, does the tool get what there is.
void tidyLimits() {
    struct Limit {
        __rlimit_resource resource;
        rlimit values;
    };
    constexpr rlimit kNone{RLIM_INFINITY, RLIM_INFINITY};
    constexpr rlim_t kStack = 8 << 20;
    constexpr rlim_t kLockedMemory = 8 << 20;
    constexpr rlim_t kMessageQueues = 819200;
    for (auto [resource, values] :
         {Limit{RLIMIT_CPU, kNone}, Limit{RLIMIT_FSIZE, kNone}, Limit{RLIMIT_DATA, kNone},
          Limit{RLIMIT_RSS, kNone}, Limit{RLIMIT_AS, kNone}, Limit{RLIMIT_LOCKS, kNone},
          Limit{RLIMIT_NPROC, kNone}, Limit{RLIMIT_CORE, {0, RLIM_INFINITY}},
          Limit{RLIMIT_STACK, {kStack, RLIM_INFINITY}}, Limit{RLIMIT_NOFILE, {1024, 4096}},
          Limit{RLIMIT_MEMLOCK, {kLockedMemory, kLockedMemory}}, Limit{RLIMIT_SIGPENDING, kNone},
          Limit{RLIMIT_MSGQUEUE, {kMessageQueues, kMessageQueues}}, Limit{RLIMIT_RTPRIO, {0, 0}},
          Limit{RLIMIT_RTTIME, kNone}, Limit{RLIMIT_NICE, {0, 0}}}) {
        if (::setrlimit(resource, &values) == 0) {
            continue;
        }
        rlimit present{};
        ::getrlimit(resource, &present);
        present.rlim_cur = std::min(values.rlim_cur, present.rlim_max);
        ::setrlimit(resource, &present);
    }
    ::setpriority(PRIO_PROCESS, 0, 0);
}

void tidyProcess() {
    for (int signal = 1; signal < NSIG; ++signal) {
        std::signal(signal, SIG_DFL); // refused for some
    }
    sigset_t noSignals;
    sigemptyset(&noSignals);
    ::sigprocmask(SIG_SETMASK, &noSignals, nullptr);
    ::umask(S_IWGRP | S_IWOTH);
    tidyLimits();
    if (::chdir("/") != 0) {
        throw Refusal("the root folder cannot be entered");
    }
}

// All that a tool learns of its surroundings, and who wanted it.
std::vector<std::string> environment() {
    std::vector<std::string> variables{"PATH=/usr/sbin:/usr/bin:/sbin:/bin",
                                       "HOME=/root",
                                       "USER=root",
                                       "LOGNAME=root",
                                       "SHELL=/bin/sh",
                                       "LANG=C.UTF-8"};
    if (const char* user = std::getenv("PKEXEC_UID")) {
        variables.push_back(std::string("PKEXEC_UID=") + user);
    }
    return variables;
}

std::vector<char*> pointers(std::vector<std::string>& texts) {
    std::vector<char*> result;
    result.reserve(texts.size() + 1);
    for (auto& text : texts) {
        result.push_back(text.data());
    }
    result.push_back(nullptr);
    return result;
}

// The Launcher's end of the socket, which its place as standard input is taken from; none when nobody wants
// to be told.
FileDescriptor takeHandshakeSocket() {
    struct stat status {};
    if (::fstat(STDIN_FILENO, &status) != 0 || !S_ISSOCK(status.st_mode)) {
        return {};
    }
    FileDescriptor socket(::fcntl(STDIN_FILENO, F_DUPFD_CLOEXEC, STDERR_FILENO + 1));
    const FileDescriptor nothing(::open("/dev/null", O_RDONLY | O_CLOEXEC));
    if (!socket || !nothing || ::dup2(nothing.get(), STDIN_FILENO) < 0) {
        throw Refusal("there is no empty standard input");
    }
    return socket;
}

void tell(const FileDescriptor& socket, char word) {
    platform::retrying([&] { return ::send(socket.get(), &word, 1, MSG_NOSIGNAL); });
}

bool isStillWanted(const FileDescriptor& socket) {
    if (!socket) {
        return true;
    }
    tell(socket, StartHandshake::kReady);
    char word = 0;
    return platform::retrying([&] { return ::recv(socket.get(), &word, 1, 0); }) == 1 &&
           word == StartHandshake::kGo;
}

void checkPaths(const std::string& toolPath, const TrustedTool& tool,
                const std::vector<std::string>& arguments) {
    const auto calledAs = toolPath.substr(toolPath.rfind('/') + 1);
    for (const std::string name : {"rm", "mv"}) {
        if (calledAs != name && tool.name() != name) {
            continue;
        }
        const ProtectedPlaces places;
        for (const auto& path : removedPaths(name, arguments)) {
            if (places.protects(path)) {
                throw Refusal(path + " is a top-level folder, a mount point or a home, or has one inside");
            }
        }
    }
}

int run(const std::vector<std::string>& words) try {
    tidyDescriptors();
    tidyProcess();
    if (words.empty()) {
        if (const auto socket = takeHandshakeSocket(); socket) { // it is about the right alone
            tell(socket, StartHandshake::kReady);
            return EX_OK;
        }
        say("refused: no tool is named");
        return EX_USAGE;
    }
    const auto& path = words.front();
    const TrustedTool tool(path);
    checkPaths(path, tool, {words.begin() + 1, words.end()});
    auto variables = environment();
    auto copies = words;

    const auto socket = takeHandshakeSocket();
    if (!isStillWanted(socket)) {
        return EX_TEMPFAIL;
    }
    tool.execute(pointers(copies).data(), pointers(variables).data());
    const auto error = platform::lastError();
    if (socket) {
        tell(socket, StartHandshake::kFailed);
    }
    say(path + " cannot be started: " + error.message());
    return EX_OSERR;
} catch (const std::exception& refusal) {
    say("refused: " + (words.empty() ? "" : words.front() + ": ") + refusal.what());
    return EX_NOPERM;
}

} // namespace

int main(int argc, char** argv) {
    // The system may give us no word at all, not even our own name.
    return run(argc > 1 ? std::vector<std::string>(argv + 1, argv + argc) : std::vector<std::string>());
}
