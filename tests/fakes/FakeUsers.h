#pragma once

#include "Users.h"

#include <map>

// Users made up by the test. Set the fields before other threads ask.
struct FakeUsers : platform::Users {
    uid_t userID = 501;
    std::optional<std::string> login = "tester";
    std::optional<std::string> home;
    std::optional<std::string> console;
    std::map<std::string, std::string> homes;

    uid_t realUserID() override { return userID; }
    std::optional<std::string> loginName() override { return login; }
    std::optional<std::string> homeDirectory() override { return home; }
    std::optional<std::string> homeDirectoryForUser(const std::string& name) override {
        auto found = homes.find(name);
        return found == homes.end() ? std::nullopt : std::optional(found->second);
    }
    std::optional<std::string> consoleUser() override { return console; }
};
