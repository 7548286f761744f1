#pragma once

#include <optional>
#include <string>
#include <vector>

// What the command line asks for.
struct CommandLine {
    enum class Action { OpenPanel, List, ListAsJson, Version, Help };

    Action action = Action::OpenPanel;
    std::optional<std::string> unknown; // the first argument that means nothing here

    // For the panel, arguments with a single dash, and what follows one, are left to the interface
    // toolkit. `arguments` without the program.
    static CommandLine parse(const std::vector<std::string>& arguments);
};

inline constexpr const char* kUsage =
    "Usage: Launcher [option]\n"
    "\n"
    "Opens the panel with the suite's tools.\n"
    "\n"
    "Options:\n"
    "  --list         print one line per tool: title, group, identifier, path\n"
    "  --list --json  print the tools as a JSON array, in the order of the scan\n"
    "  --version      print the version\n"
    "  --help         print this text\n"
    "\n"
    "Environment:\n"
    "  VANTOREL_ROOT  a folder that takes the place of / for Applications and Library\n";
