#include "CommandLine.h"

#include <gtest/gtest.h>

using Action = CommandLine::Action;

namespace {

Action action(const std::vector<std::string>& arguments) {
    auto line = CommandLine::parse(arguments);
    EXPECT_EQ(line.unknown, std::nullopt);
    return line.action;
}

std::optional<std::string> unknown(const std::vector<std::string>& arguments) {
    return CommandLine::parse(arguments).unknown;
}

} // namespace

TEST(CommandLine, KnowsItsOptions) {
    EXPECT_EQ(action({}), Action::OpenPanel);
    EXPECT_EQ(action({"--list"}), Action::List);
    EXPECT_EQ(action({"--list", "--json"}), Action::ListAsJson);
    EXPECT_EQ(action({"--json", "--list"}), Action::ListAsJson);
    EXPECT_EQ(action({"--version"}), Action::Version);
    EXPECT_EQ(action({"--help"}), Action::Help);
    EXPECT_EQ(action({"--help", "--list"}), Action::Help);
}

TEST(CommandLine, LeavesTheToolkitsOptionsToThePanel) {
    EXPECT_EQ(action({"-platform", "offscreen"}), Action::OpenPanel);
    EXPECT_EQ(action({"-style=fusion"}), Action::OpenPanel);
}

TEST(CommandLine, NamesWhatItDoesNotKnow) {
    EXPECT_EQ(unknown({"--bogus"}), "--bogus");
    EXPECT_EQ(unknown({"typo"}), "typo");
    EXPECT_EQ(unknown({"--json"}), "--json");
    EXPECT_EQ(unknown({"--list", "typo"}), "typo");
    EXPECT_EQ(unknown({"--list", "-x"}), "-x");
    EXPECT_EQ(unknown({"--list", "--one", "--two"}), "--one");
    EXPECT_EQ(unknown({"-platform", "offscreen", "typo"}), "typo");
}
