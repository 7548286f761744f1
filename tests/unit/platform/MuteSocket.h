#pragma once

#include "TestSandbox.h"
#include "linux/FileDescriptor.h"

#include <stdexcept>
#include <string>
#include <sys/socket.h>
#include <sys/un.h>

// Somebody listens and never says a word: a bus that has hung.
class MuteSocket {
public:
    MuteSocket() : listening_(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        path().copy(address.sun_path, sizeof address.sun_path - 1);
        if (::bind(listening_.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0 ||
            ::listen(listening_.get(), 5) != 0) {
            throw std::runtime_error("cannot listen on " + path());
        }
    }
    static std::string address() { return "unix:path=" + path(); }

private:
    static std::string path() { return sandbox::folder() + "/mute"; }

    platform::FileDescriptor listening_;
};
