#include "linux/SingleInstance.h"

#include "MuteSocket.h"
#include "PrivateBus.h"

#include <condition_variable>
#include <cstdlib>
#include <gmock/gmock.h>
#include <mutex>
#include <vector>

using platform::SingleInstance;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

constexpr const char* kIdentifier = "com.vantorel.Launcher";

// Which activations arrived, with their tokens.
class Arrivals {
public:
    std::function<bool(const SingleInstance::Activation&)> recorder(bool comesForward = true) {
        return [this, comesForward](const SingleInstance::Activation& activation) {
            std::lock_guard lock(mutex_);
            tokens_.push_back(activation.token.value_or("(none)"));
            changed_.notify_all();
            return comesForward;
        };
    }
    std::function<void()> lossRecorder() {
        return [this] { recorder()({.token = "lost"}); };
    }
    std::vector<std::string> wait(std::size_t count) {
        std::unique_lock lock(mutex_);
        changed_.wait(lock, [&] { return tokens_.size() >= count; });
        return tokens_;
    }
    std::vector<std::string> soFar() {
        std::lock_guard lock(mutex_);
        return tokens_;
    }

private:
    std::mutex mutex_;
    std::condition_variable changed_;
    std::vector<std::string> tokens_;
};

class SingleInstanceTest : public testing::Test {
protected:
    SingleInstanceTest() {
        setenv("DBUS_SESSION_BUS_ADDRESS", bus->address().c_str(), 1);
        onDisplay(":1");
        unsetenv("WAYLAND_DISPLAY");
        unsetenv("DESKTOP_STARTUP_ID");
        unsetenv("XDG_ACTIVATION_TOKEN");
    }
    static void onDisplay(const char* display) { setenv("DISPLAY", display, 1); }

    std::unique_ptr<PrivateBus> bus = std::make_unique<PrivateBus>();
    Arrivals arrivals; // outlives the instances
};

} // namespace

TEST_F(SingleInstanceTest, TheSecondAsksTheFirstToComeForward) {
    SingleInstance first(kIdentifier);
    EXPECT_FALSE(first.handOver());
    EXPECT_TRUE(first.isReachable());
    first.serve(arrivals.recorder(), arrivals.lossRecorder());

    EXPECT_TRUE(SingleInstance(kIdentifier).handOver());
    onDisplay(":1.0"); // another screen of the same display
    setenv("DESKTOP_STARTUP_ID", "startup id", 1);
    EXPECT_TRUE(SingleInstance(kIdentifier).handOver());
    setenv("XDG_ACTIVATION_TOKEN", "token", 1);
    unsetenv("DESKTOP_STARTUP_ID");
    EXPECT_TRUE(SingleInstance(kIdentifier).handOver());
    EXPECT_THAT(arrivals.soFar(), ElementsAre("(none)", "startup id", "token"));
}

TEST_F(SingleInstanceTest, TheNameIsFreeOnceTheFirstHasEnded) {
    {
        SingleInstance first(kIdentifier);
        EXPECT_FALSE(first.handOver());
        first.serve(arrivals.recorder(), arrivals.lossRecorder());
    }
    SingleInstance next(kIdentifier);
    EXPECT_FALSE(next.handOver());
    EXPECT_TRUE(next.isReachable());
    EXPECT_THAT(arrivals.soFar(), IsEmpty());
}

TEST_F(SingleInstanceTest, AStartWhileTheFirstEndsIsOneOfItsOwn) {
    SingleInstance first(kIdentifier);
    EXPECT_FALSE(first.handOver());
    first.serve(
        [&first](const SingleInstance::Activation&) {
            first.leave();
            return false;
        },
        [] {});
    SingleInstance next(kIdentifier);
    EXPECT_FALSE(next.handOver());

    // The first gives its names up on its own thread.
    bool reachable = next.isReachable();
    while (!reachable) {
        SingleInstance another(kIdentifier);
        EXPECT_FALSE(another.handOver());
        reachable = another.isReachable();
    }
}

TEST_F(SingleInstanceTest, EveryDisplayHasOneOfItsOwn) {
    Arrivals others;
    SingleInstance first(kIdentifier);
    EXPECT_FALSE(first.handOver());
    first.serve(arrivals.recorder(), arrivals.lossRecorder());
    onDisplay("elsewhere:10.0");
    SingleInstance second(kIdentifier);
    EXPECT_FALSE(second.handOver());
    EXPECT_TRUE(second.isReachable());
    second.serve(others.recorder(), others.lossRecorder());
    EXPECT_TRUE(SingleInstance(kIdentifier).handOver());
    setenv("WAYLAND_DISPLAY", "wayland-0", 1);
    SingleInstance third(kIdentifier);
    EXPECT_FALSE(third.handOver());
    EXPECT_THAT(others.soFar(), ElementsAre("(none)"));
    EXPECT_THAT(arrivals.soFar(), IsEmpty());
}

TEST_F(SingleInstanceTest, AnswersTheDesktop) {
    SingleInstance first(kIdentifier);
    EXPECT_FALSE(first.handOver());
    first.serve(arrivals.recorder(), arrivals.lossRecorder());
    auto desktop = bus->connect();
    const auto* path = "/com/vantorel/Launcher";
    const auto* interface = "org.freedesktop.Application";
    call(desktop.get(), kIdentifier, path, interface, "Activate", "a{sv}", 0);
    call(desktop.get(), kIdentifier, path, interface, "Activate", "a{sv}", 2, "number", "u", 7U,
         "activation-token", "s", "T");
    call(desktop.get(), kIdentifier, path, interface, "Open", "asa{sv}", 1, "file:///x", 0);
    EXPECT_THAT(arrivals.soFar(), ElementsAre("(none)", "T", "(none)"));
    EXPECT_ANY_THROW(
        call(desktop.get(), kIdentifier, path, interface, "ActivateAction", "sava{sv}", "x", 0, 0));
    EXPECT_ANY_THROW(call(desktop.get(), kIdentifier, path, interface, "Activate", "a{sv}", 1,
                          "com.vantorel.display", "s", ":7"));
    EXPECT_EQ(arrivals.soFar().size(), 3U);
}

TEST_F(SingleInstanceTest, AnOwnerThatDoesNotAnswerIsIgnored) {
    auto mute = bus->connect();
    succeed(sd_bus_request_name(mute.get(), kIdentifier, 0), "RequestName");
    SingleInstance first(kIdentifier);
    EXPECT_FALSE(first.handOver());
    EXPECT_TRUE(first.isReachable()); // by the display's name
    first.serve(arrivals.recorder(), arrivals.lossRecorder());
    EXPECT_TRUE(SingleInstance(kIdentifier).handOver());
}

TEST_F(SingleInstanceTest, WithoutABusThereMayBeMany) {
    for (const char* address : {"unix:path=/nonexistent", "nonsense"}) {
        setenv("DBUS_SESSION_BUS_ADDRESS", address, 1);
        SingleInstance first(kIdentifier);
        EXPECT_FALSE(first.handOver());
        EXPECT_FALSE(first.isReachable());
        first.serve(arrivals.recorder(), arrivals.lossRecorder());
    }
    EXPECT_THAT(arrivals.soFar(), IsEmpty());
}

TEST_F(SingleInstanceTest, ALostBusIsTold) {
    SingleInstance first(kIdentifier);
    EXPECT_FALSE(first.handOver());
    first.serve(arrivals.recorder(), arrivals.lossRecorder());
    bus.reset();
    EXPECT_THAT(arrivals.wait(1), ElementsAre("lost"));
    EXPECT_FALSE(first.isReachable());
}
