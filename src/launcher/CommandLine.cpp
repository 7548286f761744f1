#include "CommandLine.h"

CommandLine CommandLine::parse(const std::vector<std::string>& arguments) {
    CommandLine result;
    bool list = false;
    bool json = false;
    std::optional<std::string> forToolkit;
    bool followsOption = false; // of the toolkit
    for (const auto& argument : arguments) {
        bool isToolkitOption = argument.starts_with('-') && !argument.starts_with("--");
        if (argument == "--list") {
            list = true;
        } else if (argument == "--json") {
            json = true;
        } else if (argument == "--version") {
            result.action = Action::Version;
        } else if (argument == "--help") {
            result.action = Action::Help;
        } else if (isToolkitOption || followsOption) {
            forToolkit = argument;
        } else if (!result.unknown) {
            result.unknown = argument;
        }
        followsOption = isToolkitOption;
    }
    if (list && result.action == Action::OpenPanel) {
        result.action = json ? Action::ListAsJson : Action::List;
    }
    if (!result.unknown && json && !list) {
        result.unknown = "--json";
    }
    if (!result.unknown && result.action != Action::OpenPanel) {
        result.unknown = forToolkit;
    }
    return result;
}
