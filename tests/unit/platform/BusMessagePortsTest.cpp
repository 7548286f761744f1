#include "linux/BusMessagePorts.h"

#include "BusInspection.h"
#include "Exception.h"
#include "TestSandbox.h"
#include "UserBus.h"

#include <csignal>
#include <filesystem>
#include <gtest/gtest.h>
#include <sys/wait.h>

using platform::BusMessagePorts;

TEST(BusMessagePorts, ASlowReceiverIsNotWaitedForLongAndAFastOneIsNotHeldUp) {
    PrivateBus bus({{"com.vantorel.Slow", std::string(VT_CONTROLLER_PEER) + " Slow mute /dev/null"}});
    bus.start("com.vantorel.Slow");
    setenv("DBUS_SESSION_BUS_ADDRESS", bus.address().c_str(), 1);
    sandbox::users().console = std::nullopt;
    EXPECT_EQ(BusMessagePorts().rootProxy({"Nobody", "NobodyElse"}), nullptr);
    const auto proxy = BusMessagePorts().rootProxy({"Nobody", "Slow"});
    ASSERT_NE(proxy, nullptr);
    proxy->setProtocol("Protocol");
    try {
        proxy->respondsTo("message");
        FAIL() << "somebody answered";
    } catch (const platform::Exception& exception) {
        EXPECT_EQ(exception.name(), "NSPortTimeoutException");
    }
    // What needs no answer is handed over all the same.
    EXPECT_NO_THROW(proxy->send("message", {std::string("text"), std::monostate()}));
}

TEST(BusMessagePorts, ALostBusIsATimeout) {
    auto bus = std::make_unique<PrivateBus>(std::vector<PrivateBus::Service>{
        {"com.vantorel.Port", std::string(VT_CONTROLLER_PEER) + " Port new /dev/null"}});
    bus->start("com.vantorel.Port");
    setenv("DBUS_SESSION_BUS_ADDRESS", bus->address().c_str(), 1);
    sandbox::users().console = std::nullopt;
    const auto proxy = BusMessagePorts().rootProxy({"Port"});
    ASSERT_NE(proxy, nullptr);
    proxy->setProtocol("VTOSTLErrorCallbackProtocol");
    EXPECT_TRUE(proxy->respondsTo("postDisconnect"));
    EXPECT_FALSE(proxy->respondsTo("anything"));
    bus.reset();
    EXPECT_THROW(proxy->send("postDisconnect", {}), platform::Exception);
    proxy->setProtocol("Another");
    EXPECT_THROW(proxy->respondsTo("postDisconnect"), platform::Exception);
}

TEST(BusMessagePorts, ARootProcessFindsTheConsoleUsersController) {
    if (auto obstacle = UserBus::obstacle(); !obstacle.empty()) {
        GTEST_SKIP() << obstacle;
    }
    const UserBus bus;
    const auto user = UserBus::user();
    const auto number = std::to_string(user.userID);
    const auto folder = "/run/user/" + number;
    // Where that user may run it, and write.
    std::filesystem::copy_file(VT_CONTROLLER_PEER, "/run/peer");
    const pid_t controller = fork();
    if (controller == 0) {
        setenv("DBUS_SESSION_BUS_ADDRESS", ("unix:path=" + folder + "/bus").c_str(), 1);
        if (platform::becomeUser(user)) {
            execl("/run/peer", "/run/peer", "Port", "new", (folder + "/messages").c_str(), nullptr);
        }
        _exit(1);
    }
    sandbox::users().console = "nobody";
    const auto descriptors = countOfOwn("fd");
    std::unique_ptr<platform::RemoteObject> proxy;
    while (!(proxy = BusMessagePorts().rootProxy({"Port"}))) { // not there yet
    }
    proxy->setProtocol("VTOSTLErrorCallbackProtocol");
    EXPECT_TRUE(proxy->respondsTo("postErrorForApp"));
    proxy->send("postErrorForApp", {platform::RemoteObject::AnyObject{"broken"}, std::string("worker")});
    proxy.reset();
    EXPECT_EQ(countOfOwn("fd"), descriptors);
    while (sandbox::readFile(folder + "/messages").empty()) {
    }
    EXPECT_EQ(sandbox::readFile(folder + "/messages"), "postErrorForApp <broken> worker\n");
    kill(controller, SIGTERM);
    waitpid(controller, nullptr, 0);
}
