#pragma once

#include "FileDescriptor.h"

#include <chrono>
#include <optional>
#include <string>
#include <sys/types.h>
#include <vector>

namespace platform {

// pkexec as a child of this process, on its way to becoming the helper and then the tool. It gets the socket
// of `StartHandshake` as its standard input. One thread at a time.
class PkexecChild {
public:
    using Deadline = std::optional<std::chrono::steady_clock::time_point>; // absent: for ever

    // `words` is the command line. Throws std::system_error.
    explicit PkexecChild(const std::vector<std::string>& words);

    // Lets the tool start as soon as the helper is ready. False when it is not in time, or has refused.
    bool startTool(Deadline deadline);

    // Says no more: a tool that has not started yet does not start any more.
    void hangUp() { handshake_.reset(); }

    // The status it has exited with, -1 for another end; absent when it runs on beyond the deadline. Must
    // have been called with a status or without a deadline when the object goes, or the child stays a zombie.
    std::optional<int> waitForEnd(Deadline deadline);

    // What the tool writes, and whatever it leaves running.
    FileDescriptor takeOutput() { return std::move(output_); }

private:
    pid_t process_ = 0;
    FileDescriptor handle_; // its pidfd
    FileDescriptor output_;
    FileDescriptor handshake_;
};

} // namespace platform
