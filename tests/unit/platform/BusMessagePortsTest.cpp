#include "linux/BusMessagePorts.h"

#include "BusInspection.h"
#include "Exception.h"
#include "TestSandbox.h"
#include "UserBus.h"
#include "WaitUntil.h"

#include <csignal>
#include <filesystem>
#include <gtest/gtest.h>
#include <sys/wait.h>

using platform::BusMessagePorts;

TEST(BusMessagePorts, AMuteReceiverIsATimeoutWhenItIsAskedAndNotWhenItIsSentTo) {
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

TEST(BusMessagePorts, AMessageHasBeenHandedOverOnceTheBusHasIt) {
    const PrivateBus bus({{"com.vantorel.Port", std::string(VT_CONTROLLER_PEER) + " Port new /dev/null"}});
    bus.start("com.vantorel.Port");
    setenv("DBUS_SESSION_BUS_ADDRESS", bus.address().c_str(), 1);
    sandbox::users().console = std::nullopt;
    const auto proxy = BusMessagePorts().rootProxy({"Port"});
    ASSERT_NE(proxy, nullptr);
    proxy->setProtocol("VTOSTLErrorCallbackProtocol");
    EXPECT_NO_THROW(proxy->send("postDisconnect", {}));
    bus.stop(); // its socket takes what is written
    try {
        proxy->send("postDisconnect", {});
        FAIL() << "it has been handed over to nobody";
    } catch (const platform::Exception& exception) {
        EXPECT_EQ(exception.name(), "NSPortTimeoutException");
    }
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

namespace {

// A root process, and an ordinary user's session with a controller.
class BusMessagePortsOfRoot : public testing::Test {
protected:
    void SetUp() override {
        if (auto obstacle = UserBus::obstacle(); !obstacle.empty()) {
            GTEST_SKIP() << obstacle;
        }
        bus_ = std::make_unique<UserBus>();
        // Where that user may run it, and write.
        std::filesystem::copy_file(VT_CONTROLLER_PEER, "/run/peer");
        controller_ = fork();
        if (controller_ == 0) {
            setenv("DBUS_SESSION_BUS_ADDRESS", ("unix:path=" + folder_ + "/bus").c_str(), 1);
            if (platform::becomeUser(UserBus::user())) {
                execl("/run/peer", "/run/peer", "Port", "new", (folder_ + "/messages").c_str(), nullptr);
            }
            _exit(1);
        }
    }
    void TearDown() override {
        if (controller_ > 0) {
            kill(controller_, SIGTERM);
            waitpid(controller_, nullptr, 0);
        }
    }

    void expectAMessageArrives() const {
        const auto descriptors = countOfOwn("fd");
        const auto threads = countOfOwn("task");
        std::unique_ptr<platform::RemoteObject> proxy;
        waitUntil([&] { return (proxy = BusMessagePorts().rootProxy({"Port"})) != nullptr; },
                  "the controller's port");
        proxy->setProtocol("VTOSTLErrorCallbackProtocol");
        EXPECT_TRUE(proxy->respondsTo("postErrorForApp"));
        proxy->send("postErrorForApp", {platform::RemoteObject::AnyObject{"broken"}, std::string("worker")});
        proxy.reset();
        EXPECT_EQ(countOfOwn("fd"), descriptors);
        EXPECT_EQ(countOfOwn("task"), threads);
        EXPECT_EQ(waitpid(-1, nullptr, WNOHANG), 0); // of the children none has ended and is left
        waitUntil([this] { return !sandbox::readFile(folder_ + "/messages").empty(); }, "the message");
        EXPECT_EQ(sandbox::readFile(folder_ + "/messages"), "postErrorForApp <broken> worker\n");
    }

    const std::string number_ = std::to_string(UserBus::user().userID);

private:
    const std::string folder_ = "/run/user/" + number_;
    std::unique_ptr<UserBus> bus_;
    pid_t controller_ = 0;
};

} // namespace

TEST_F(BusMessagePortsOfRoot, FindTheConsoleUsersController) {
    sandbox::users().console = "nobody";
    expectAMessageArrives();
}

TEST_F(BusMessagePortsOfRoot, FindThatOfWhoStartedTheProcessWhoeverIsAtTheConsole) {
    setenv("PKEXEC_UID", number_.c_str(), 1);
    sandbox::users().console = "daemon";
    expectAMessageArrives();
}
