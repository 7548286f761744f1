#include "FileBrowser.h"

#include "DBusConnection.h"
#include "FileDescriptor.h"
#include "PercentEncoding.h"

#include <array>
#include <csignal>
#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

namespace platform {

namespace {

constexpr std::chrono::seconds kPatience{10}; // the bus may have to start the file manager first

bool showItems(const std::string& path) {
    DBusConnection bus(DBusConnection::Bus::Session, kPatience);
    if (!bus.isConnected()) {
        return false;
    }
    auto call = bus.methodCall("org.freedesktop.FileManager1", "/org/freedesktop/FileManager1",
                               "org.freedesktop.FileManager1", "ShowItems");
    return call && sd_bus_message_append(call.get(), "ass", 1, fileAddress(path).c_str(), "") >= 0 &&
           bus.send(call);
}

// In a session of its own, so that what ends the program does not end the file browser.
void openWithDefaultHandler(const std::string& path) {
    std::string program = "xdg-open";
    std::string argument = fileAddress(path);
    std::array<char*, 3> arguments{program.data(), argument.data(), nullptr};

    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    for (int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        posix_spawn_file_actions_addopen(&actions, stream, "/dev/null", O_RDWR, 0);
    }
    sigset_t noSignals;
    sigset_t allSignals;
    sigemptyset(&noSignals);
    sigfillset(&allSignals);
    posix_spawnattr_t attributes;
    posix_spawnattr_init(&attributes);
    posix_spawnattr_setflags(&attributes,
                             POSIX_SPAWN_SETSID | POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);
    posix_spawnattr_setsigmask(&attributes, &noSignals);
    posix_spawnattr_setsigdefault(&attributes, &allSignals);

    pid_t child = 0;
    if (posix_spawnp(&child, program.c_str(), &actions, &attributes, arguments.data(), environ) == 0) {
        retrying([child] { return ::waitpid(child, nullptr, 0); });
    }
    posix_spawnattr_destroy(&attributes);
    posix_spawn_file_actions_destroy(&actions);
}

} // namespace

std::string fileAddress(const std::string& path) {
    return "file://" + percentEncoded(path, "/");
}

void showInFileBrowser(const std::string& path, const std::string& rootPath) {
    if (!showItems(path)) {
        openWithDefaultHandler(rootPath);
    }
}

} // namespace platform
