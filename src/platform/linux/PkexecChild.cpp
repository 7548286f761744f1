#include "PkexecChild.h"

#include "Spawn.h"
#include "StartHandshake.h"

#include <algorithm>
#include <array>
#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <system_error>

namespace platform {

namespace {

using Deadline = PkexecChild::Deadline;

// A pair of descriptors, none of them at the number of a stream, which is the child's affair.
struct Pair {
    explicit Pair(std::array<int, 2> made) : ends{FileDescriptor(made[0]), FileDescriptor(made[1])} {
        for (auto& end : ends) {
            end = FileDescriptor(::fcntl(end.get(), F_DUPFD_CLOEXEC, STDERR_FILENO + 1));
            if (!end) {
                throw std::system_error(lastError());
            }
        }
    }
    std::array<FileDescriptor, 2> ends;
};

Pair makePipe() {
    std::array<int, 2> ends{-1, -1};
    if (::pipe2(ends.data(), O_CLOEXEC) != 0) {
        throw std::system_error(lastError());
    }
    return Pair(ends);
}

Pair makeSocketPair() {
    std::array<int, 2> ends{-1, -1};
    if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends.data()) != 0) {
        throw std::system_error(lastError());
    }
    return Pair(ends);
}

// Is there something to read, in time?
bool waitFor(const FileDescriptor& descriptor, Deadline deadline) {
    constexpr int kForEver = -1;
    pollfd event{.fd = descriptor.get(), .events = POLLIN, .revents = 0};
    return retrying([&] {
               int patience = kForEver;
               if (deadline) {
                   const auto left = *deadline - std::chrono::steady_clock::now();
                   patience = static_cast<int>(
                       std::max(std::chrono::ceil<std::chrono::milliseconds>(left).count(), 0L));
               }
               return ::poll(&event, 1, patience);
           }) > 0;
}

std::optional<char> hear(const FileDescriptor& handshake, Deadline deadline) {
    char word = 0;
    const bool isHeard =
        waitFor(handshake, deadline) && retrying([&] { return ::recv(handshake.get(), &word, 1, 0); }) == 1;
    return isHeard ? std::optional(word) : std::nullopt;
}

} // namespace

PkexecChild::PkexecChild(const std::vector<std::string>& words) {
    auto handshake = makeSocketPair();
    auto output = makePipe();
    SpawnFileActions actions;
    actions.duplicate(handshake.ends[1].get(), STDIN_FILENO);
    actions.duplicate(output.ends[1].get(), STDOUT_FILENO);
    if (::fcntl(STDERR_FILENO, F_GETFD) == 0) { // what is closed on execution is not the stream
        actions.duplicate(STDERR_FILENO, STDERR_FILENO);
    } else {
        actions.open(STDERR_FILENO, "/dev/null", O_RDWR);
    }
    actions.closeAllButStreams();

    // The helper makes an environment of its own; pkexec finds nothing to complain of in this one.
    const std::vector<std::string> environment{"PATH=/usr/sbin:/usr/bin:/sbin:/bin", "LANG=C.UTF-8"};
    const SpawnAttributes attributes;
    const auto arguments = spawnPointers(words);
    const auto variables = spawnPointers(environment);
    std::error_code error;
    auto [process, handle] = spawnWithHandle(
        [&](std::error_code& failure) {
            pid_t child = 0;
            failure = {::posix_spawn(&child, words.front().c_str(), actions.get(), attributes.get(),
                                     arguments.data(), variables.data()),
                       std::generic_category()};
            return failure ? 0 : child;
        },
        error);
    if (!handle) {
        throw std::system_error(error);
    }
    process_ = process;
    handle_ = std::move(handle);
    output_ = std::move(output.ends[0]);
    handshake_ = std::move(handshake.ends[0]);
}

bool PkexecChild::startTool(Deadline deadline) {
    const char go = StartHandshake::kGo;
    return hear(handshake_, deadline) == StartHandshake::kReady &&
           retrying([&] { return ::send(handshake_.get(), &go, 1, MSG_NOSIGNAL); }) == 1 &&
           hear(handshake_, std::nullopt) != StartHandshake::kFailed;
}

std::optional<int> PkexecChild::waitForEnd(Deadline deadline) {
    if (deadline && !waitFor(handle_, deadline)) {
        return std::nullopt;
    }
    siginfo_t info{};
    if (retrying([&] { return ::waitid(P_PID, static_cast<id_t>(process_), &info, WEXITED); }) < 0) {
        return -1;
    }
    return info.si_code == CLD_EXITED ? info.si_status : -1;
}

} // namespace platform
