#include "ToolBundle.h"

#include "TestSandbox.h"

#include <array>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <spawn.h>
#include <stdexcept>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>
#include <utility>

namespace toolbundle {

std::string make(const std::string& name, std::string_view executable) {
    const auto bundle = sandbox::root() + "/Applications/" + name + ".app";
    const auto program = bundle + "/Contents/MacOS/" + name.substr(name.rfind('/') + 1);
    sandbox::writeFile(program, executable);
    std::filesystem::permissions(program, std::filesystem::perms::owner_all);
    sandbox::writeFile(bundle + "/Contents/Info.plist",
                       "<plist version=\"1.0\"><dict><key>CFBundleIdentifier</key><string>com.vantorel." +
                           name + "</string></dict></plist>");
    // Reading from it ends when `finish` has opened and closed it.
    ::mkfifo((bundle + "/gate").c_str(), 0600);
    return bundle;
}

std::string makeWaiting(const std::string& name) {
    return make(name,
                "#!/bin/sh\nread -r line <'" + sandbox::root() + "/Applications/" + name + ".app/gate'\n");
}

void finish(const std::string& bundle) {
    std::ofstream(bundle + "/gate") << '\n';
}

Process::Process(std::vector<std::string> words, const std::string& folder) {
    std::vector<char*> arguments;
    for (auto& word : words) {
        arguments.push_back(word.data());
    }
    arguments.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addchdir_np(&actions, folder.c_str());
    int failure = posix_spawnp(&id_, words.front().c_str(), &actions, nullptr, arguments.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    if (failure != 0) {
        throw std::runtime_error("cannot start " + words.front());
    }
}

Process::~Process() {
    if (id_ != 0) {
        ::kill(id_, SIGKILL);
        wait();
    }
}

bool Process::wait() {
    return ::waitpid(std::exchange(id_, 0), nullptr, 0) > 0;
}

} // namespace toolbundle
