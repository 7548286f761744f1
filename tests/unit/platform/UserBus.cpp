#include "UserBus.h"

#include "linux/FileDescriptor.h"
#include "linux/Spawn.h"
#include "linux/UserBusSocket.h"

#include <array>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <sched.h>
#include <spawn.h>
#include <sys/mount.h>
#include <sys/wait.h>

namespace {

std::string folder() {
    return "/run/user/" + std::to_string(UserBus::user().userID);
}

pid_t start(const std::vector<std::string>& words, const std::vector<std::string>& environment,
            posix_spawn_file_actions_t* actions) {
    pid_t child = 0;
    succeed(-::posix_spawnp(&child, words.front().c_str(), actions, nullptr,
                            platform::spawnPointers(words).data(),
                            platform::spawnPointers(environment).data()),
            words.front().c_str());
    return child;
}

int statusOfChild(pid_t child) {
    int status = 0;
    platform::retrying([&] { return ::waitpid(child, &status, 0); });
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

} // namespace

platform::Account UserBus::user() {
    auto account = platform::accountNamed("nobody");
    if (!account) {
        throw std::runtime_error("there is no user nobody");
    }
    return *account;
}

std::string UserBus::obstacle() {
    if (::geteuid() != 0) {
        return "only root can have another user's bus";
    }
    if (::unshare(CLONE_NEWNS) != 0 || ::mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0 ||
        ::mount("tmpfs", "/run", "tmpfs", 0, "mode=755") != 0) {
        return std::string("no mount namespace to be had: ") + std::strerror(errno);
    }
    return "";
}

UserBus::UserBus() {
    std::filesystem::create_directories(folder());
    std::filesystem::permissions(folder(), std::filesystem::perms::owner_all);
    succeed(-::chown(folder().c_str(), user().userID, user().groupID), "chown");
    std::array<int, 2> ends{};
    succeed(-::pipe2(ends.data(), O_CLOEXEC), "pipe");
    platform::FileDescriptor reading(ends[0]);
    platform::FileDescriptor writing(ends[1]);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, writing.get(), 3);
    posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
    daemon_ = start({"setpriv", "--reuid=" + std::to_string(user().userID),
                     "--regid=" + std::to_string(user().groupID), "--clear-groups", "--pdeathsig=KILL",
                     "dbus-daemon", "--session", "--nofork", "--nopidfile",
                     "--address=unix:path=" + folder() + "/bus", "--print-address=3"},
                    {"PATH=/usr/bin:/bin"}, &actions);
    posix_spawn_file_actions_destroy(&actions);
    writing.reset();
    char character = 0; // of the address, which is told once the bus listens
    if (platform::retrying([&] { return ::read(reading.get(), &character, 1); }) != 1) {
        throw std::runtime_error("dbus-daemon did not start");
    }
}

UserBus::~UserBus() {
    stop();
}

void UserBus::stop() {
    listener_.reset();
    if (daemon_ != 0) {
        ::kill(daemon_, SIGTERM);
        statusOfChild(daemon_);
        daemon_ = 0;
    }
}

void UserBus::listen() {
    auto socket = platform::connectToBusOf(user(), std::chrono::minutes(1));
    sd_bus* bus = nullptr;
    succeed(sd_bus_new(&bus), "sd_bus_new");
    listener_.reset(bus);
    succeed(sd_bus_set_fd(bus, socket.get(), socket.get()), "sd_bus_set_fd");
    socket.release();
    succeed(sd_bus_set_bus_client(bus, 1), "sd_bus_set_bus_client");
    succeed(sd_bus_start(bus), "sd_bus_start");
    call(bus, "org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus", "AddMatch", "s",
         "type='signal',interface='com.vantorel.DistributedNotification'");
}

std::string UserBus::next() {
    for (;;) {
        sd_bus_message* message = nullptr;
        int progress = sd_bus_process(listener_.get(), &message);
        succeed(progress, "sd_bus_process");
        if (progress == 0) {
            succeed(sd_bus_wait(listener_.get(), UINT64_MAX), "sd_bus_wait");
        }
        std::string text;
        if (message &&
            sd_bus_message_is_signal(message, "com.vantorel.DistributedNotification", "Posted") > 0) {
            const char* name = nullptr;
            const char* object = nullptr;
            succeed(sd_bus_message_read(message, "ss", &name, &object), "arguments");
            text = std::string(name) + " " + object;
        }
        sd_bus_message_unref(message);
        if (!text.empty()) {
            return text;
        }
    }
}

int statusOf(const std::vector<std::string>& words, const std::vector<std::string>& environment) {
    return statusOfChild(start(words, environment, nullptr));
}
