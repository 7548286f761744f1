#include "UserBusSocket.h"

#include <array>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <sys/wait.h>

namespace platform {

namespace {

sockaddr_un busAddress(const Account& user) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::snprintf(address.sun_path, sizeof address.sun_path, "/run/user/%u/bus", user.userID);
    return address;
}

// Does not wait for a bus that takes nobody in.
FileDescriptor openBus(const sockaddr_un& address) {
    FileDescriptor bus(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    if (::connect(bus.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
        bus.reset();
    }
    return bus;
}

// A message of one byte with room for one descriptor beside it.
struct DescriptorMessage {
    char byte = 0;
    iovec content{.iov_base = &byte, .iov_len = 1};
    alignas(cmsghdr) std::array<char, CMSG_SPACE(sizeof(int))> control{};
    msghdr header{};

    DescriptorMessage() {
        header.msg_iov = &content;
        header.msg_iovlen = 1;
        header.msg_control = control.data();
        header.msg_controllen = control.size();
    }
    DescriptorMessage(const DescriptorMessage&) = delete;
    DescriptorMessage& operator=(const DescriptorMessage&) = delete;
};

bool sendDescriptor(int channel, int descriptor) {
    DescriptorMessage message;
    auto* rights = CMSG_FIRSTHDR(&message.header);
    rights->cmsg_level = SOL_SOCKET;
    rights->cmsg_type = SCM_RIGHTS;
    rights->cmsg_len = CMSG_LEN(sizeof descriptor);
    std::memcpy(CMSG_DATA(rights), &descriptor, sizeof descriptor);
    return ::sendmsg(channel, &message.header, MSG_NOSIGNAL) == 1;
}

FileDescriptor receiveDescriptor(int channel) {
    DescriptorMessage message;
    int descriptor = -1;
    if (::recvmsg(channel, &message.header, MSG_CMSG_CLOEXEC) == 1) {
        const auto* rights = CMSG_FIRSTHDR(&message.header);
        if (rights && rights->cmsg_level == SOL_SOCKET && rights->cmsg_type == SCM_RIGHTS &&
            rights->cmsg_len == CMSG_LEN(sizeof descriptor)) {
            std::memcpy(&descriptor, CMSG_DATA(rights), sizeof descriptor);
        }
    }
    return FileDescriptor(descriptor);
}

// In the child, where nothing may be called that takes a lock.
[[noreturn]] void connectAs(const Account& user, const sockaddr_un& address, int channel) {
    const auto bus = becomeUser(user) ? openBus(address) : FileDescriptor();
    ::_exit(bus && sendDescriptor(channel, bus.get()) ? 0 : 1);
}

// The child without the parent's signal handlers, whose effects both would see.
pid_t forkWithoutSignals() {
    sigset_t all;
    sigset_t before;
    sigfillset(&all);
    ::pthread_sigmask(SIG_SETMASK, &all, &before);
    const pid_t child = ::fork();
    if (child != 0) {
        ::pthread_sigmask(SIG_SETMASK, &before, nullptr);
    }
    return child;
}

} // namespace

FileDescriptor openBusOf(const Account& user) {
    return openBus(busAddress(user));
}

FileDescriptor connectToBusOf(const Account& user, std::chrono::milliseconds limit) {
    const auto address = busAddress(user);
    std::array<int, 2> ends{-1, -1};
    if (::socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends.data()) != 0) {
        return {};
    }
    const FileDescriptor ours(ends[0]);
    FileDescriptor theirs(ends[1]);
    const pid_t child = forkWithoutSignals();
    if (child == 0) {
        connectAs(user, address, theirs.get());
    }
    theirs.reset();
    FileDescriptor bus;
    pollfd answer{.fd = ours.get(), .events = POLLIN, .revents = 0};
    if (child > 0) {
        const auto patience = static_cast<int>(limit.count());
        if (retrying([&] { return ::poll(&answer, 1, patience); }) > 0) {
            bus = receiveDescriptor(ours.get());
        }
        ::kill(child, SIGKILL); // it has done its work, or taken too long
        retrying([&] { return ::waitpid(child, nullptr, 0); });
    }
    return bus;
}

} // namespace platform
