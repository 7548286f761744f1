#include "CommandLine.h"
#include "LinuxWorkspace.h"
#include "ListCommand.h"
#include "OpenPanel.h"
#include "linux/BasicServices.h"

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <utility>

namespace {

// Paths are absolute everywhere else; a root named from where the user stands is meant from there.
void makeRootAbsolute() {
    const char* root = std::getenv("VANTOREL_ROOT");
    if (root && root[0] != '\0' && root[0] != '/') {
        std::error_code error;
        auto path = std::filesystem::absolute(root, error);
        if (!error) {
            ::setenv("VANTOREL_ROOT", path.lexically_normal().c_str(), 1);
        }
    }
}

} // namespace

int main(int argc, char** argv) {
    makeRootAbsolute();
    auto commandLine = CommandLine::parse({argv + 1, argv + argc});
    if (commandLine.unknown) {
        std::fprintf(stderr, "Launcher: unknown argument %s\n\n%s", commandLine.unknown->c_str(), kUsage);
        return 2;
    }
    switch (commandLine.action) {
    case CommandLine::Action::Help:
        return std::fputs(kUsage, stdout) < 0 ? 1 : 0;
    case CommandLine::Action::Version:
        return std::puts("Launcher " VT_VERSION) < 0 ? 1 : 0;
    case CommandLine::Action::List:
    case CommandLine::Action::ListAsJson: {
        auto services = platform::basicServices("Launcher");
        services.workspace = std::make_shared<platform::LinuxWorkspace>();
        platform::install(std::move(services));
        return runListCommand(commandLine.action == CommandLine::Action::ListAsJson);
    }
    case CommandLine::Action::OpenPanel:
        break;
    }
    return openPanel(argc, argv);
}
