#include "linux/DBusConnection.h"

#include "MuteSocket.h"
#include "PrivateBus.h"

#include <cstdlib>
#include <gtest/gtest.h>
#include <optional>

using platform::DBusConnection;
using Bus = DBusConnection::Bus;
using namespace std::chrono_literals;

namespace {

constexpr auto kAmple = 1min; // what is answered at all is answered by then
constexpr const char* kBus = "org.freedesktop.DBus";
constexpr const char* kBusPath = "/org/freedesktop/DBus";

// What the bus gives as its own identity; absent when it does not answer.
std::optional<std::string> identity(DBusConnection& connection) {
    auto answer = connection.send(connection.methodCall(kBus, kBusPath, kBus, "GetId"));
    const char* text = nullptr;
    return answer && sd_bus_message_read(answer.get(), "s", &text) > 0 ? std::optional<std::string>(text)
                                                                       : std::nullopt;
}

} // namespace

TEST(DBusConnection, TalksToTheBusItIsToldTo) {
    PrivateBus bus;
    setenv("DBUS_SESSION_BUS_ADDRESS", bus.address().c_str(), 1);
    DBusConnection session(Bus::Session, kAmple);
    ASSERT_TRUE(session.isConnected());
    EXPECT_TRUE(identity(session));
    EXPECT_TRUE(identity(session)); // and goes on doing so
    EXPECT_FALSE(DBusConnection(Bus::System, kAmple).isConnected());

    setenv("DBUS_SYSTEM_BUS_ADDRESS", bus.address().c_str(), 1);
    DBusConnection system(Bus::System, kAmple);
    ASSERT_TRUE(system.isConnected());
    EXPECT_EQ(identity(system), identity(session));
}

TEST(DBusConnection, PassesArgumentsOn) {
    PrivateBus bus;
    setenv("DBUS_SESSION_BUS_ADDRESS", bus.address().c_str(), 1);
    DBusConnection connection(Bus::Session, kAmple);
    for (const auto& [name, owned] : {std::pair(kBus, 1), std::pair("com.vantorel.Nobody", 0)}) {
        auto call = connection.methodCall(kBus, kBusPath, kBus, "NameHasOwner");
        ASSERT_GE(sd_bus_message_append(call.get(), "s", name), 0);
        auto answer = connection.send(call);
        ASSERT_TRUE(answer);
        int hasOwner = -1;
        EXPECT_GT(sd_bus_message_read(answer.get(), "b", &hasOwner), 0);
        EXPECT_EQ(hasOwner, owned) << name;
    }
}

TEST(DBusConnection, HasNoAnswerWhenTheCallFails) {
    PrivateBus bus;
    setenv("DBUS_SESSION_BUS_ADDRESS", bus.address().c_str(), 1);
    DBusConnection connection(Bus::Session, kAmple);
    EXPECT_FALSE(connection.send(connection.methodCall(kBus, kBusPath, kBus, "NoSuchMethod")));
    EXPECT_FALSE(connection.send(connection.methodCall("com.vantorel.Nobody", "/", "com.vantorel.X", "Y")));
    EXPECT_TRUE(identity(connection));
}

TEST(DBusConnection, IsNoneWithoutABus) {
    for (const char* address : {"unix:path=/nonexistent", "", "no address", "nosuch:transport=1"}) {
        setenv("DBUS_SESSION_BUS_ADDRESS", address, 1);
        setenv("DBUS_SYSTEM_BUS_ADDRESS", "unix:path=/nonexistent", 1);
        EXPECT_FALSE(DBusConnection(Bus::Session, kAmple).isConnected()) << address;
        EXPECT_FALSE(DBusConnection(Bus::System, kAmple).isConnected()) << address;
    }
}

TEST(DBusConnection, IsNoneWhenTheBusNeverAnswers) {
    MuteSocket mute;
    setenv("DBUS_SESSION_BUS_ADDRESS", MuteSocket::address().c_str(), 1);
    EXPECT_FALSE(DBusConnection(Bus::Session, 50ms).isConnected());
    EXPECT_FALSE(DBusConnection(Bus::Session, 0ms).isConnected());
}

TEST(DBusConnection, GivesUpWhenItsTimeIsUp) {
    PrivateBus bus;
    auto owner = bus.connect(); // takes a name and never looks at its mail
    succeed(sd_bus_request_name(owner.get(), "com.vantorel.Mute", 0), "RequestName");
    setenv("DBUS_SESSION_BUS_ADDRESS", bus.address().c_str(), 1);
    DBusConnection connection(Bus::Session, 1s);
    ASSERT_TRUE(connection.isConnected());
    EXPECT_FALSE(connection.send(connection.methodCall("com.vantorel.Mute", "/", "com.vantorel.X", "Y")));
    EXPECT_FALSE(identity(connection)); // the time is for everything together
}
