#pragma once

#include "PrivateBus.h"

#include "linux/Account.h"

#include <string>
#include <vector>

// The session bus of an ordinary user at the place where every session has one, /run/user/<number>/bus, while
// this object lives. That place and all of /run belong to this process and its children alone: nobody else
// sees them, and nothing is left. For root, once in a process.
class UserBus {
public:
    // Empty when this process may do what is needed, else why it may not. To be asked first.
    static std::string obstacle();

    UserBus();
    ~UserBus();
    UserBus(const UserBus&) = delete;
    UserBus& operator=(const UserBus&) = delete;

    static platform::Account user(); // one that every system has

    // Begins to hear what is posted.
    void listen();

    // The next notification since then, as "name object"; waits for it.
    std::string next();

    // Ends the bus; its socket stays.
    void stop();

private:
    pid_t daemon_ = 0;
    PrivateBus::Connection listener_;
};

// Runs a program as a child and waits; its exit status. `environment` holds NAME=value.
int statusOf(const std::vector<std::string>& words, const std::vector<std::string>& environment);
