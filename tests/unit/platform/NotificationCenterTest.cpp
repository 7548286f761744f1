#include "NotificationCenter.h"

#include <atomic>
#include <gtest/gtest.h>
#include <optional>
#include <stdexcept>
#include <thread>
#include <vector>

using platform::Notification;
using platform::NotificationCenter;
using Names = std::vector<std::string>;

namespace {

// Observers that write their label down.
class Notifications : public testing::Test {
protected:
    [[nodiscard]] NotificationCenter::Observation observe(const std::string& name, const std::string& label) {
        return center_.addObserver(name, [this, label](const Notification&) { seen_.push_back(label); });
    }
    void post(const std::string& name) { center_.post({.name = name, .userInfo = {}}); }

    NotificationCenter center_;
    Names seen_;
};

} // namespace

TEST_F(Notifications, ReachTheObserversOfTheirNameInOrder) {
    auto first = observe("ping", "first");
    auto other = observe("pong", "other");
    auto second = observe("ping", "second");
    post("ping");
    EXPECT_EQ(seen_, (Names{"first", "second"}));
    post("nobody");
    EXPECT_EQ(seen_, (Names{"first", "second"}));
}

TEST_F(Notifications, CarryObjectAndUserInfo) {
    const int whom = 0;
    std::optional<Notification> received;
    auto observation = center_.addObserver("ping", [&](const Notification& posted) { received = posted; });
    center_.post({.name = "ping", .object = &whom, .userInfo = {{"key", platform::PropertyList("value")}}});
    ASSERT_TRUE(received);
    EXPECT_EQ(received->name, "ping");
    EXPECT_EQ(received->object, &whom);
    EXPECT_EQ(received->userInfo,
              (platform::PropertyList::Dictionary{{"key", platform::PropertyList("value")}}));
}

TEST_F(Notifications, EndWithTheObservation) {
    auto kept = observe("ping", "kept");
    {
        auto dropped = observe("ping", "dropped");
        post("ping");
    }
    post("ping");
    EXPECT_EQ(seen_, (Names{"kept", "dropped", "kept"}));
    auto moved = std::move(kept);
    post("ping");
    EXPECT_EQ(seen_.back(), "kept");
    moved = {};
    seen_.clear();
    post("ping");
    EXPECT_EQ(seen_, Names{});
}

TEST_F(Notifications, OutliveTheCentre) {
    NotificationCenter::Observation left;
    {
        NotificationCenter center;
        left = center.addObserver("ping", [](const Notification&) {});
    }
    left = {};
}

TEST_F(Notifications, DoNotReachWhomAnObserverHasRemoved) {
    NotificationCenter::Observation second;
    auto first = center_.addObserver("ping", [&](const Notification&) {
        seen_.emplace_back("first");
        second = {};
    });
    second = observe("ping", "second");
    post("ping");
    EXPECT_EQ(seen_, Names{"first"});
}

TEST_F(Notifications, LetAnObserverRemoveItself) {
    NotificationCenter::Observation own;
    own = center_.addObserver("ping", [&, label = std::string("a label of its own")](const Notification&) {
        own = {};
        seen_.push_back(label); // what the handler holds is still there
    });
    post("ping");
    post("ping");
    EXPECT_EQ(seen_, Names{"a label of its own"});
}

TEST_F(Notifications, ReachAnAddedObserverFromTheNextPostOn) {
    std::vector<NotificationCenter::Observation> added;
    auto first =
        center_.addObserver("ping", [&](const Notification&) { added.push_back(observe("ping", "added")); });
    post("ping");
    EXPECT_EQ(seen_, Names{});
    post("ping");
    EXPECT_EQ(seen_, Names{"added"});
}

TEST_F(Notifications, MayBePostedByAnObserver) {
    auto outer = center_.addObserver("outer", [&](const Notification&) {
        post("inner");
        seen_.emplace_back("outer");
    });
    auto inner = observe("inner", "inner");
    post("outer");
    EXPECT_EQ(seen_, (Names{"inner", "outer"}));
}

TEST_F(Notifications, EndWithTheFirstObserverThatThrows) {
    auto throwing = center_.addObserver("ping", [](const Notification&) { throw std::runtime_error("no"); });
    auto second = observe("ping", "second");
    EXPECT_THROW(post("ping"), std::runtime_error);
    EXPECT_EQ(seen_, Names{});
}

TEST_F(Notifications, MayComeFromManyThreads) {
    std::atomic<int> count = 0;
    auto observation = center_.addObserver("ping", [&](const Notification&) { ++count; });
    {
        std::vector<std::jthread> threads;
        for (int i = 0; i < 4; ++i) {
            threads.emplace_back([this] {
                for (int round = 0; round < 200; ++round) {
                    auto short_lived = center_.addObserver("ping", [](const Notification&) {});
                    post("ping");
                }
            });
        }
    }
    EXPECT_EQ(count, 800);
}
