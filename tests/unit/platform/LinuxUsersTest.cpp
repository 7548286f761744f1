#include "linux/LinuxUsers.h"

#include "LoginManager.h"
#include "MuteSocket.h"
#include "TestSandbox.h"

#include <chrono>
#include <cstdlib>
#include <gtest/gtest.h>
#include <optional>
#include <pwd.h>
#include <unistd.h>

namespace {

using Name = std::optional<std::string>;

Name consoleUser() {
    return platform::LinuxUsers().consoleUser();
}

// Asks for the console user while nobody answers, and says whether it gave up in time. The bound only
// tells its own time limit of two seconds from those of the bus, which are ten times as long.
bool givesUpSoon(const Name& expected) {
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(consoleUser(), expected);
    return std::chrono::steady_clock::now() - start < std::chrono::seconds(15);
}

// The user database's first ordinary entry; a system without one has none to test with.
std::optional<passwd> ordinaryUser() {
    std::optional<passwd> found;
    setpwent();
    while (const auto* entry = getpwent()) {
        if (entry->pw_uid != 0) {
            found = *entry;
            break;
        }
    }
    endpwent();
    return found;
}

class LinuxUsersTest : public testing::Test {
protected:
    LinuxUsersTest() {
        unsetenv("PKEXEC_UID");
        unsetenv("SUDO_UID");
        setenv("HOME", sandbox::home().c_str(), 1);
        setenv("DBUS_SYSTEM_BUS_ADDRESS", "unix:path=/nonexistent", 1);
    }
};

// The name that stands in for a console user whom nobody knows.
Name standIn(const passwd& invoker) {
    return getuid() == 0 ? Name(invoker.pw_name) : std::nullopt;
}

} // namespace

TEST_F(LinuxUsersTest, KnowsTheProcess) {
    platform::LinuxUsers users;
    EXPECT_EQ(users.realUserID(), getuid());
    const auto* entry = getpwuid(getuid());
    EXPECT_EQ(users.loginName(), entry ? Name(entry->pw_name) : std::nullopt);
}

TEST_F(LinuxUsersTest, TakesTheHomeFromTheEnvironmentWhenItIsAbsolute) {
    platform::LinuxUsers users;
    EXPECT_EQ(users.homeDirectory(), sandbox::home());
    setenv("HOME", "/nowhere/at/all//", 1);
    EXPECT_EQ(users.homeDirectory(), "/nowhere/at/all");
    setenv("HOME", "/", 1);
    EXPECT_EQ(users.homeDirectory(), "/");
    const auto* entry = getpwuid(getuid());
    const auto known = entry ? Name(entry->pw_dir) : std::nullopt;
    for (const char* home : {"", "relative/home"}) {
        setenv("HOME", home, 1);
        EXPECT_EQ(users.homeDirectory(), known) << home;
    }
    unsetenv("HOME");
    EXPECT_EQ(users.homeDirectory(), known);
}

TEST_F(LinuxUsersTest, KnowsTheHomesOfOthers) {
    platform::LinuxUsers users;
    EXPECT_EQ(users.homeDirectoryForUser("root"), "/root");
    EXPECT_EQ(users.homeDirectoryForUser("nobody there"), std::nullopt);
    EXPECT_EQ(users.homeDirectoryForUser(""), std::nullopt);
}

TEST_F(LinuxUsersTest, ConsoleUserIsWhoHasTheActiveSessionOfTheFirstSeat) {
    LoginManager login;
    login.addSession("c1", "seat0", "alice");
    login.addSession("c2", "seat1", "bob");
    EXPECT_EQ(consoleUser(), "alice");
    login.addSession("c3", "seat0", "carol");
    EXPECT_EQ(consoleUser(), "carol"); // asked afresh
    login.setActiveSession("c1");
    EXPECT_EQ(consoleUser(), "alice");
}

TEST_F(LinuxUsersTest, ConsoleUserOfAGreeterIsTheLoginWindow) {
    LoginManager login;
    login.addSession("c1", "seat0", "greeting-service");
    login.setText("c1", "Class", "greeter");
    EXPECT_EQ(consoleUser(), "loginwindow");
}

TEST_F(LinuxUsersTest, ConsoleUserOfAnEmptySeatIsAbsent) {
    const auto invoker = ordinaryUser();
    if (invoker) {
        setenv("SUDO_UID", std::to_string(invoker->pw_uid).c_str(), 1); // logind has the word
    }
    LoginManager login;
    login.addSeat("seat0");
    EXPECT_EQ(consoleUser(), std::nullopt);
    login.addSession("c1", "seat0", "alice");
    login.setActiveSession("");
    EXPECT_EQ(consoleUser(), std::nullopt);
}

TEST_F(LinuxUsersTest, ConsoleUserWithoutANameIsAbsent) {
    LoginManager login;
    login.addSession("c1", "seat0", "alice");
    login.setText("c1", "Name", "");
    EXPECT_EQ(consoleUser(), std::nullopt);
}

TEST_F(LinuxUsersTest, WithoutABusTheInvokingUserStandsInForRoot) {
    const auto invoker = ordinaryUser();
    if (!invoker) {
        GTEST_SKIP() << "the user database knows root alone";
    }
    EXPECT_EQ(consoleUser(), std::nullopt);
    const auto number = std::to_string(invoker->pw_uid);
    for (const char* variable : {"PKEXEC_UID", "SUDO_UID"}) {
        setenv(variable, number.c_str(), 1);
        EXPECT_EQ(consoleUser(), standIn(*invoker)) << variable;
        for (const char* wrong : {"", "0", "-1", "12x", " 1", "4294967295", "99999999999999999999"}) {
            setenv(variable, wrong, 1);
            EXPECT_EQ(consoleUser(), std::nullopt) << variable << "=" << wrong;
        }
        unsetenv(variable);
    }
    setenv("PKEXEC_UID", "0", 1);
    setenv("SUDO_UID", number.c_str(), 1);
    EXPECT_EQ(consoleUser(), standIn(*invoker));
}

TEST_F(LinuxUsersTest, WithoutALoginManagerTheInvokingUserStandsInForRoot) {
    const auto invoker = ordinaryUser();
    if (!invoker) {
        GTEST_SKIP() << "the user database knows root alone";
    }
    PrivateBus bus;
    setenv("DBUS_SYSTEM_BUS_ADDRESS", bus.address().c_str(), 1);
    EXPECT_EQ(consoleUser(), std::nullopt);
    setenv("PKEXEC_UID", std::to_string(invoker->pw_uid).c_str(), 1);
    EXPECT_EQ(consoleUser(), standIn(*invoker));
}

TEST_F(LinuxUsersTest, DoesNotWaitForABusThatNeverAnswers) {
    MuteSocket mute;
    setenv("DBUS_SYSTEM_BUS_ADDRESS", MuteSocket::address().c_str(), 1);
    EXPECT_TRUE(givesUpSoon(std::nullopt));
}

TEST_F(LinuxUsersTest, DoesNotWaitForALoginManagerThatNeverAnswers) {
    PrivateBus bus;
    auto owner = bus.connect();
    succeed(sd_bus_request_name(owner.get(), kLoginManager, 0), "RequestName");
    setenv("DBUS_SYSTEM_BUS_ADDRESS", bus.address().c_str(), 1);
    EXPECT_TRUE(givesUpSoon(std::nullopt));
}

TEST_F(LinuxUsersTest, DoesNotAskAgainSoonWhenItHasWaitedInVain) {
    platform::LinuxUsers users;
    {
        MuteSocket mute;
        setenv("DBUS_SYSTEM_BUS_ADDRESS", MuteSocket::address().c_str(), 1);
        EXPECT_EQ(users.consoleUser(), std::nullopt);
    }
    LoginManager login;
    login.addSession("c1", "seat0", "alice");
    EXPECT_EQ(users.consoleUser(), std::nullopt);
    EXPECT_EQ(consoleUser(), "alice"); // somebody who has not waited does ask
}
