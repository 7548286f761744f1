#include "PrivateBus.h"

#include "TestSandbox.h"
#include "linux/FileDescriptor.h"

#include <array>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>

namespace {

std::string firstLine(int descriptor) {
    std::string line;
    char character = 0;
    while (platform::retrying([&] { return ::read(descriptor, &character, 1); }) == 1 && character != '\n') {
        line += character;
    }
    return line;
}

std::string configuration(const std::string& folder) {
    return "<busconfig><type>session</type><listen>unix:dir=" + folder + "</listen><servicedir>" + folder +
           "/services</servicedir>"
           "<policy context=\"default\"><allow send_destination=\"*\"/><allow receive_sender=\"*\"/>"
           "<allow own=\"*\"/></policy>"
           "</busconfig>";
}

} // namespace

void succeed(int result, const char* what) {
    if (result < 0) {
        throw std::runtime_error(std::string(what) + ": " + std::strerror(-result));
    }
}

PrivateBus::PrivateBus(const std::vector<Service>& services) {
    const auto folder = sandbox::folder() + "/bus";
    sandbox::writeFile(folder + "/bus.conf", configuration(folder));
    for (const auto& service : services) {
        sandbox::writeFile(folder + "/services/" + service.name + ".service",
                           "[D-BUS Service]\nName=" + service.name + "\nExec=" + service.command + "\n");
    }
    std::array<int, 2> ends{};
    succeed(-::pipe2(ends.data(), O_CLOEXEC), "pipe");
    platform::FileDescriptor reading(ends[0]);
    platform::FileDescriptor writing(ends[1]);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, writing.get(), 3);
    for (int stream : {STDOUT_FILENO, STDERR_FILENO}) {
        posix_spawn_file_actions_addopen(&actions, stream, (folder + "/messages").c_str(),
                                         O_WRONLY | O_CREAT | O_APPEND, 0600);
    }
    // Should the test be killed, the bus goes as well.
    std::array<std::string, 6> words{"setpriv",     "--pdeathsig=KILL",
                                     "dbus-daemon", "--config-file=" + folder + "/bus.conf",
                                     "--nofork",    "--print-address=3"};
    std::array<char*, 7> arguments{};
    for (std::size_t i = 0; i < words.size(); ++i) {
        arguments[i] = words[i].data();
    }
    int error = ::posix_spawnp(&daemon_, "setpriv", &actions, nullptr, arguments.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    succeed(-error, "dbus-daemon");
    writing.reset();
    address_ = firstLine(reading.get());
    if (address_.empty()) {
        throw std::runtime_error("dbus-daemon did not start: " + sandbox::readFile(folder + "/messages"));
    }
}

PrivateBus::~PrivateBus() {
    ::kill(daemon_, SIGTERM);
    ::kill(daemon_, SIGCONT); // it may have been stopped
    platform::retrying([this] { return ::waitpid(daemon_, nullptr, 0); });
}

void PrivateBus::stop() const {
    ::kill(daemon_, SIGSTOP);
    ::waitid(P_PID, static_cast<id_t>(daemon_), nullptr, WSTOPPED);
}

PrivateBus::Connection PrivateBus::connect() const {
    sd_bus* bus = nullptr;
    succeed(sd_bus_new(&bus), "sd_bus_new");
    Connection connection(bus);
    succeed(sd_bus_set_address(bus, address_.c_str()), "sd_bus_set_address");
    succeed(sd_bus_set_bus_client(bus, 1), "sd_bus_set_bus_client");
    succeed(sd_bus_start(bus), "sd_bus_start");
    return connection;
}

void PrivateBus::start(const std::string& name) const {
    call(connect().get(), "org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus",
         "StartServiceByName", "su", name.c_str(), 0U);
}
