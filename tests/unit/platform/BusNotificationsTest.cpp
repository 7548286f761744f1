#include "linux/BusNotifications.h"

#include "BusInspection.h"
#include "MuteSocket.h"
#include "TestSandbox.h"
#include "WaitUntil.h"

#include <atomic>
#include <condition_variable>
#include <cstdlib>
#include <deque>
#include <gmock/gmock.h>
#include <mutex>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

using platform::BusNotifications;
using platform::PropertyList;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

namespace {

constexpr const char* kPath = "/com/vantorel/DistributedNotification";
constexpr const char* kInterface = "com.vantorel.DistributedNotification";
constexpr const char* kName = "VTKVDPurgelComplete";

// What was heard, in order, as "name" or "name object".
class Heard {
public:
    BusNotifications::Handler recorder(const std::string& name) {
        return [this, name](const std::string& object, const PropertyList::Dictionary& userInfo) {
            std::lock_guard lock(mutex_);
            texts_.push_back(object.empty() ? name : name + " " + object);
            userInfo_ = userInfo;
            changed_.notify_all();
        };
    }
    std::vector<std::string> wait(std::size_t count) {
        std::unique_lock lock(mutex_);
        changed_.wait(lock, [&] { return texts_.size() >= count; });
        return texts_;
    }
    std::vector<std::string> soFar() {
        std::lock_guard lock(mutex_);
        return texts_;
    }
    PropertyList::Dictionary userInfo() {
        std::lock_guard lock(mutex_);
        return userInfo_;
    }

private:
    std::mutex mutex_;
    std::condition_variable changed_;
    std::vector<std::string> texts_;
    PropertyList::Dictionary userInfo_;
};

// A main thread that does nothing before it is told to, and counts what it is given.
class HeldMainThread : public platform::MainThread {
public:
    void perform(std::function<void()> work, platform::Wait) override {
        std::lock_guard lock(mutex_);
        ++given_;
        waiting_.push_back(std::move(work));
        changed_.notify_all();
    }
    void performAfter(std::chrono::milliseconds, std::function<void()>) override {
        ADD_FAILURE() << "no notification waits for a time";
    }
    std::size_t given() {
        std::lock_guard lock(mutex_);
        return given_;
    }
    void waitUntilGiven(std::size_t count) {
        std::unique_lock lock(mutex_);
        changed_.wait(lock, [&] { return given_ >= count; });
    }
    void run() {
        std::deque<std::function<void()>> work;
        {
            std::lock_guard lock(mutex_);
            work.swap(waiting_);
        }
        for (const auto& piece : work) {
            piece();
        }
    }

private:
    std::mutex mutex_;
    std::condition_variable changed_;
    std::deque<std::function<void()>> waiting_;
    std::size_t given_ = 0;
};

class BusNotificationsTest : public testing::Test {
protected:
    BusNotificationsTest() {
        setenv("DBUS_SESSION_BUS_ADDRESS", bus->address().c_str(), 1);
        sandbox::users().console = std::nullopt; // the session is our own, also for root
    }

    // The threads of this process, with those that a sanitizer starts along with the first.
    static std::size_t countOfThreads() {
        pid_t first = 0;
        std::thread([&first] { first = gettid(); }).join();
        const auto entry = "/proc/self/task/" + std::to_string(first);
        waitUntil([&] { return !sandbox::exists(entry); }, "a thread's entry to go"); // a little later
        return countOfOwn("task");
    }

    // Adds an observer and waits until the bus knows so many names.
    std::shared_ptr<void> observe(const std::string& name, BusNotifications::Handler handler,
                                  std::size_t names = 1) {
        auto observer = notifications.addObserver(name, std::move(handler));
        inspection->waitForRules("DistributedNotification", names);
        return observer;
    }

    void emit(sd_bus* sender, const char* path, const char* name) const {
        succeed(sd_bus_emit_signal(sender, path, kInterface, "Posted", "ssa{sv}", name, "", 0), "emit");
    }

    // To one receiver alone, with further values behind an empty dictionary.
    template <typename... Values>
    static void emitTo(const std::string& receiver, sd_bus* sender, const char* path, const char* signature,
                       const char* name, Values... more) {
        sd_bus_message* made = nullptr;
        succeed(sd_bus_message_new_signal(sender, &made, path, kInterface, "Posted"), "signal");
        succeed(sd_bus_message_append(made, signature, name, "", 0, more...), "append");
        sd_bus_send_to(sender, made, receiver.c_str(), nullptr);
        sd_bus_message_unref(made);
    }

    std::unique_ptr<PrivateBus> bus = std::make_unique<PrivateBus>();
    std::unique_ptr<BusInspection> inspection = std::make_unique<BusInspection>(*bus);
    Heard heard; // outlives the observers
    BusNotifications notifications;
};

} // namespace

TEST_F(BusNotificationsTest, GoFromOneProcessToAnotherAndBack) {
    // The other process answers "ask" with "answer" and what it was told.
    const pid_t other = fork();
    if (other == 0) {
        Heard asked;
        BusNotifications others;
        auto observer = others.addObserver("ask", asked.recorder("ask"));
        const auto texts = asked.wait(1);
        _exit(others.post("answer", texts.front(), asked.userInfo()) ? 0 : 1);
    }
    inspection->waitForRules("'ask'", 1);
    auto observer = observe("answer", heard.recorder("answer"), 2);
    const PropertyList::Dictionary inner{{"path", "/tmp/ü"}};
    const PropertyList::Dictionary userInfo{{"array", PropertyList::Array{1, "two", PropertyList::Array{}}},
                                            {"data", PropertyList::Data{std::string("\0\xFF", 2)}},
                                            {"date", PropertyList::Date{12.5}},
                                            {"dictionary", inner},
                                            {"false", false},
                                            {"integer", std::int64_t{-7}},
                                            {"large", ~std::uint64_t{0}},
                                            {"nothing", PropertyList::Data{}},
                                            {"real", 0.25},
                                            {"true", true}};
    EXPECT_TRUE(notifications.post("ask", "whom", userInfo));
    EXPECT_THAT(heard.wait(1), ElementsAre("answer ask whom"));
    EXPECT_EQ(heard.userInfo(), userInfo);
    int status = -1;
    waitpid(other, &status, 0);
    EXPECT_EQ(status, 0);
}

TEST_F(BusNotificationsTest, AreHeardInOrderByAllWhoListenForTheName) {
    auto first = observe("one", heard.recorder("one"));
    auto second = notifications.addObserver("one", heard.recorder("one again"));
    auto other = observe("it's", heard.recorder("it's"), 2);
    for (const char* name : {"one", "unheard", "it's", "one"}) {
        EXPECT_TRUE(notifications.post(name, "", {}));
    }
    EXPECT_THAT(heard.wait(5), ElementsAre("one", "one again", "it's", "one", "one again"));
    second.reset();
    EXPECT_TRUE(notifications.post("one", "last", {}));
    EXPECT_THAT(heard.wait(6).back(), "one last");
}

TEST_F(BusNotificationsTest, ThereIsAConnectionOnlyWhileSomebodyListens) {
    notifications.post(kName, "", {}); // what a library keeps after its first use is there now
    inspection->waitUntilAlone();
    const auto threads = countOfThreads();
    const auto descriptors = countOfOwn("fd");
    for (int round = 0; round < 20; ++round) {
        auto observer = observe(kName, heard.recorder(kName));
        auto same = notifications.addObserver(kName, heard.recorder(kName));
        auto other = observe("other", heard.recorder("other"), 2);
        EXPECT_THAT(inspection->connections(), SizeIs(1));
        EXPECT_EQ(countOfOwn("task"), threads + 1);
        other.reset();
        inspection->waitForRules("DistributedNotification", 1);
        same.reset();
        EXPECT_THAT(inspection->connections(), SizeIs(1));
        observer.reset();
        inspection->waitUntilAlone();
        waitUntil([&] { return countOfOwn("task") == threads; }, "the thread's end");
    }
    EXPECT_THAT(inspection->matchRules("DistributedNotification"), IsEmpty());
    EXPECT_EQ(countOfOwn("fd"), descriptors);
}

TEST_F(BusNotificationsTest, AFloodOfOthersNeverReachesTheMainThread) {
    auto mainThread = std::make_shared<HeldMainThread>();
    auto services = platform::current();
    services.mainThread = mainThread;
    platform::ScopedPlatform scope(services);
    auto observer = observe(kName, heard.recorder(kName));
    auto sender = bus->connect();
    const auto listener = inspection->connections();
    constexpr int kEach = 2'500;
    for (int i = 0; i < kEach; ++i) {
        emit(sender.get(), kPath, "AnotherName");
        emit(sender.get(), "/com/vantorel/Elsewhere", kName);
        succeed(sd_bus_emit_signal(sender.get(), kPath, kInterface, "Posted", "ss", kName, ""), "emit");
        // To the listener alone, which the bus hands on whatever was asked for.
        for (const auto& name : listener) {
            emitTo(name, sender.get(), kPath, "ssa{sv}", "AnotherName");
            emitTo(name, sender.get(), "/com/vantorel/Elsewhere", "ssa{sv}", kName);
            emitTo(name, sender.get(), kPath, "ssa{sv}s", kName, "more");
        }
    }
    EXPECT_EQ(mainThread->given(), 0U);
    emit(sender.get(), kPath, kName);
    sd_bus_flush(sender.get());
    mainThread->waitUntilGiven(1); // which came after all the others
    mainThread->run();
    EXPECT_THAT(heard.soFar(), ElementsAre(kName));
    EXPECT_EQ(mainThread->given(), 1U);
}

TEST_F(BusNotificationsTest, AFloodOfTheRightNameIsCutOff) {
    auto mainThread = std::make_shared<HeldMainThread>();
    auto services = platform::current();
    services.mainThread = mainThread;
    platform::ScopedPlatform scope(services);
    auto observer = observe(kName, heard.recorder(kName));
    auto other = observe("other", heard.recorder("other"), 2);
    auto sender = bus->connect();
    for (int i = 0; i < 10'000; ++i) {
        emit(sender.get(), kPath, kName);
    }
    emit(sender.get(), kPath, "other"); // has its own place
    sd_bus_flush(sender.get());
    mainThread->waitUntilGiven(65);
    mainThread->run();
    EXPECT_EQ(mainThread->given(), 65U);
    EXPECT_THAT(heard.soFar(), SizeIs(65));
    EXPECT_EQ(heard.soFar().back(), "other");
    emit(sender.get(), kPath, kName);
    sd_bus_flush(sender.get());
    mainThread->waitUntilGiven(66);
    mainThread->run();
    EXPECT_EQ(heard.soFar().back(), kName);
}

TEST_F(BusNotificationsTest, AFloodWhileNobodyListensFindsNobody) {
    auto sender = bus->connect();
    { auto observer = observe(kName, heard.recorder(kName)); }
    inspection->waitForRules("DistributedNotification", 0);
    for (int i = 0; i < 10'000; ++i) {
        emit(sender.get(), kPath, kName);
    }
    sd_bus_flush(sender.get());
    auto observer = observe("other", heard.recorder("other"));
    EXPECT_TRUE(notifications.post("other", "", {}));
    EXPECT_THAT(heard.wait(1), ElementsAre("other"));
}

TEST_F(BusNotificationsTest, NoneIsHeardOnceTheObserverHasGone) {
    auto mainThread = std::make_shared<HeldMainThread>();
    auto services = platform::current();
    services.mainThread = mainThread;
    platform::ScopedPlatform scope(services);
    auto first = observe(kName, heard.recorder("first"));
    std::shared_ptr<void> second;
    second = notifications.addObserver(kName, [&](const auto&, const auto&) { second.reset(); });
    auto third = notifications.addObserver(kName, heard.recorder("third"));
    notifications.post(kName, "", {});
    notifications.post(kName, "", {});
    mainThread->waitUntilGiven(2);
    first.reset(); // with two on their way
    mainThread->run();
    EXPECT_THAT(heard.soFar(), ElementsAre("third", "third"));
    EXPECT_EQ(second, nullptr);
}

TEST_F(BusNotificationsTest, CarryTextThatIsNotUtf8AsFarAsItGoes) {
    auto observer = observe(kName, heard.recorder("it"));
    EXPECT_TRUE(notifications.post(kName, "", {{"/a/\xFF", "\xFF"}}));
    EXPECT_THAT(heard.wait(1), SizeIs(1));
    EXPECT_EQ(heard.userInfo(), (PropertyList::Dictionary{{"/a/\uFFFD", "\uFFFD"}}));
}

TEST_F(BusNotificationsTest, CannotCarryEverything) {
    EXPECT_FALSE(notifications.post(std::string("zero\0", 5), "", {}));
    EXPECT_FALSE(notifications.post(kName, "\xFF", {}));
    EXPECT_FALSE(notifications.post(kName, "", {{"reference", PropertyList::Uid{1}}}));
    EXPECT_FALSE(notifications.post(kName, "", {{"array", PropertyList::Array{PropertyList::Uid{1}}}}));
    PropertyList deep = PropertyList::Array{};
    for (int level = 0; level < 100; ++level) {
        deep = PropertyList::Array{std::move(deep)};
    }
    EXPECT_FALSE(notifications.post(kName, "", {{"deep", deep}}));
}

TEST_F(BusNotificationsTest, UserInfoThatIsTooMuchOrUnknownIsNotHeard) {
    auto observer = observe(kName, heard.recorder(kName));
    const PropertyList::Array many(1'000, PropertyList(1));
    EXPECT_TRUE(notifications.post(kName, "many", {{"many", many}}));
    EXPECT_TRUE(notifications.post(kName, "long", {{"long", std::string(std::size_t{1} << 20, 'x')}}));
    PropertyList deep = PropertyList::Array{};
    for (int level = 0; level < 25; ++level) {
        deep = PropertyList::Array{std::move(deep)};
    }
    EXPECT_TRUE(notifications.post(kName, "deep", {{"deep", deep}}));
    auto sender = bus->connect();
    succeed(sd_bus_emit_signal(sender.get(), kPath, kInterface, "Posted", "ssa{sv}", kName, "path", 1, "key",
                               "o", "/"),
            "emit");
    succeed(sd_bus_emit_signal(sender.get(), kPath, kInterface, "Posted", "ssa{sv}", kName, "numbers", 6, "y",
                               "y", 1, "n", "n", -2, "q", "q", 3, "i", "i", -4, "u", "u", 5U, "as", "as", 2,
                               "six", "seven"),
            "emit");
    sd_bus_flush(sender.get());
    EXPECT_THAT(heard.wait(1), ElementsAre(std::string(kName) + " numbers"));
    EXPECT_EQ(heard.userInfo(), (PropertyList::Dictionary{{"as", PropertyList::Array{"six", "seven"}},
                                                          {"i", -4},
                                                          {"n", -2},
                                                          {"q", 3},
                                                          {"u", 5},
                                                          {"y", 1}}));
}

TEST_F(BusNotificationsTest, WithoutABusNothingHappens) {
    MuteSocket mute;
    for (const auto& address : {std::string("unix:path=/nonexistent"), MuteSocket::address()}) {
        setenv("DBUS_SESSION_BUS_ADDRESS", address.c_str(), 1);
        auto observer = notifications.addObserver(kName, heard.recorder(kName));
        EXPECT_FALSE(notifications.post(kName, "", {}));
        observer.reset();
        EXPECT_THAT(heard.soFar(), IsEmpty());
    }
}

TEST_F(BusNotificationsTest, AnotherObserverListensAgainAfterTheBusWasLost) {
    const auto threads = countOfThreads();
    auto observer = observe(kName, heard.recorder(kName));
    inspection.reset();
    bus.reset();
    waitUntil([&] { return countOfOwn("task") == threads; }, "the thread's end");
    EXPECT_FALSE(notifications.post(kName, "", {}));
    bus = std::make_unique<PrivateBus>();
    inspection = std::make_unique<BusInspection>(*bus);
    setenv("DBUS_SESSION_BUS_ADDRESS", bus->address().c_str(), 1);
    auto other = observe("other", heard.recorder("other"), 2);
    notifications.post(kName, "", {});
    EXPECT_THAT(heard.wait(1), ElementsAre(kName));
}

TEST_F(BusNotificationsTest, ObserversComeAndGoOnManyThreads) {
    std::vector<std::thread> threads;
    for (int thread = 0; thread < 4; ++thread) {
        threads.emplace_back([&, name = "name " + std::to_string(thread)] {
            for (int i = 0; i < 25; ++i) {
                auto observer = notifications.addObserver(name, heard.recorder(name));
                notifications.post(name, "", {});
            }
        });
    }
    for (auto& thread : threads) {
        thread.join();
    }
    inspection->waitForRules("DistributedNotification", 0);
}
