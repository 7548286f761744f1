#include "CommandLine.h"

CommandLine CommandLine::parse(const std::vector<std::string>& arguments) {
    CommandLine result;
    bool list = false;
    bool json = false;
    for (const auto& argument : arguments) {
        if (argument == "--list") {
            list = true;
        } else if (argument == "--json") {
            json = true;
        } else if (argument == "--version") {
            result.action = Action::Version;
        } else if (argument == "--help") {
            result.action = Action::Help;
        } else if (argument.starts_with("--") && !result.unknown) {
            result.unknown = argument;
        }
    }
    if (json && !list && !result.unknown) {
        result.unknown = "--json";
    }
    if (list && result.action == Action::OpenPanel) {
        result.action = json ? Action::ListAsJson : Action::List;
    }
    return result;
}
