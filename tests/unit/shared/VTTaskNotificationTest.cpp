#include "VTTaskNotification.h"

#include "BusInspection.h"
#include "Exception.h"
#include "LogFixture.h"
#include "PrivateBus.h"
#include "WaitUntil.h"
#include "linux/BusMessagePorts.h"

#include <array>
#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <functional>
#include <gmock/gmock.h>
#include <sstream>
#include <sys/resource.h>
#include <thread>

using platform::PropertyList;
using platform::RemoteObject;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;
using Texts = std::vector<std::string>;

namespace {

constexpr const char* kCurrentPort = "VTVarnClientCallback";
constexpr const char* kEarlierPort = "VTOSTLClientCallback";
constexpr const char* kProcess = "shared_tests";
constexpr const char* kNobodyAnswers =
    "Exception in +[VTTaskNotification postTaskFinished]. NSPortTimeoutException - nobody answers at "
    "/com/vantorel/VTVarnClientCallback.\n";

constexpr std::array kMessages{"incrementRemoteProgress", "postFinishedTask", "postErrorForApp", "postError",
                               "postErrorStringUserInfo", "postErrorString",  "postDisconnect"};

struct Controller {
    std::string port;
    std::string kind;
};

platform::Platform withPorts(std::shared_ptr<platform::MessagePorts> ports) {
    auto services = platform::current();
    services.messagePorts = std::move(ports);
    return services;
}

// A private bus and controllers on it, each a process of its own.
class VTTaskNotificationTest : public LogTest {
protected:
    explicit VTTaskNotificationTest(
        std::shared_ptr<platform::MessagePorts> ports = std::make_shared<platform::BusMessagePorts>())
        : scope_(withPorts(std::move(ports))) {
        sandbox::users().console = std::nullopt; // the session is our own, also for root
        makeCurrentFile();
    }
    ~VTTaskNotificationTest() override { VTLog::finishWriting(); } // while the services are there
    void startControllers(const std::vector<Controller>& controllers) {
        std::vector<PrivateBus::Service> services;
        for (const auto& [port, kind] : controllers) {
            const auto command = std::string(VT_CONTROLLER_PEER) + " " + port + " " + kind + " ";
            services.push_back({"com.vantorel." + port, command + file(port)});
        }
        bus = std::make_unique<PrivateBus>(services);
        setenv("DBUS_SESSION_BUS_ADDRESS", bus->address().c_str(), 1);
        for (const auto& service : services) {
            bus->start(service.name);
        }
    }

    // What the controller has got. Its answer comes after all that was sent to it before.
    Texts received(const std::string& port) {
        call(bus->connect().get(), ("com.vantorel." + port).c_str(), "/", "org.freedesktop.DBus.Peer", "Ping",
             "");
        std::istringstream text(sandbox::readFile(file(port)));
        Texts lines;
        for (std::string line; std::getline(text, line);) {
            lines.push_back(line);
        }
        return lines;
    }

    static std::string file(const std::string& port) { return sandbox::folder() + "/" + port; }

    static void postAll() {
        VTTaskNotification::postIncrementProgress();
        VTTaskNotification::postTaskError("broken");
        VTTaskNotification::postTaskErrorString("too bad");
        VTTaskNotification::postTaskFinished();
        VTTaskNotification::postDisconnect();
    }

    // No thread, descriptor, connection or match rule is left of work that prints this.
    void expectNothingLeft(const std::function<void()>& work, const testing::Matcher<std::string>& printed) {
        const BusInspection inspection(*bus);
        platform::BusMessagePorts().rootProxy({});
        VTLog::appendLog("What is kept after the first use is there now.");
        VTLog::finishWriting();
        const auto threads = countOfOwn("task");
        const auto descriptors = countOfOwn("fd");
        const auto connections = inspection.connections();
        EXPECT_THAT(output(work), printed);
        EXPECT_EQ(countOfOwn("task"), threads);
        EXPECT_EQ(countOfOwn("fd"), descriptors);
        EXPECT_THAT(inspection.matchRules(""), IsEmpty());
        waitUntil([&] { return inspection.connections().size() <= connections.size(); },
                  "the bus to notice that connections have gone");
    }

    std::unique_ptr<PrivateBus> bus;

private:
    platform::ScopedPlatform scope_;
};

// A controller in this process, and what happens to it.
class MadeUpPorts : public platform::MessagePorts {
public:
    std::vector<std::vector<RemoteObject::Argument>> arguments;
    Texts events;
    bool isPublished = true;
    Texts messages{kMessages.begin(), kMessages.end()}; // that the controller has
    std::string failing;                                // the event at which an exception is thrown

    void happens(const std::string& event) {
        events.push_back(event);
        if (event == failing) {
            throw platform::Exception(platform::kPortTimeoutException, "no answer");
        }
    }
    std::unique_ptr<RemoteObject> rootProxy(const std::vector<std::string>& names) override {
        for (const auto& name : names) {
            happens(name);
        }
        return isPublished ? std::make_unique<Object>(*this) : nullptr;
    }

private:
    class Object : public RemoteObject {
    public:
        explicit Object(MadeUpPorts& ports) : ports_(ports) {}
        ~Object() override { ports_.events.emplace_back("released"); }
        void setProtocol(const std::string& protocol) override { ports_.happens(protocol); }
        bool respondsTo(const std::string& message) override {
            ports_.happens(message + "?");
            return std::ranges::find(ports_.messages, message) != ports_.messages.end();
        }
        void send(const std::string& message, const std::vector<Argument>& arguments) override {
            ports_.arguments.push_back(arguments);
            ports_.happens(message);
        }

    private:
        MadeUpPorts& ports_;
    };
};

class VTTaskNotificationStepsTest : public VTTaskNotificationTest {
protected:
    explicit VTTaskNotificationStepsTest(std::shared_ptr<MadeUpPorts> made = std::make_shared<MadeUpPorts>())
        : VTTaskNotificationTest(made), ports(*made) {}

    // What has been sent, without what was asked and done for it.
    Texts sent() const {
        Texts messages;
        std::ranges::copy_if(ports.events, std::back_inserter(messages), [](const auto& event) {
            return std::ranges::find(kMessages, event) != kMessages.end();
        });
        return messages;
    }

    MadeUpPorts& ports;
};

// How often this thread has let go of the processor of its own accord.
long countOfPauses() {
    rusage usage{};
    EXPECT_EQ(getrusage(RUSAGE_THREAD, &usage), 0);
    return usage.ru_nvcsw;
}

} // namespace

TEST_F(VTTaskNotificationTest, OfTwoControllersTheCurrentOneGetsEverything) {
    startControllers({{kEarlierPort, "new"}, {kCurrentPort, "new"}});
    postAll();
    EXPECT_THAT(received(kCurrentPort),
                ElementsAre("incrementRemoteProgress", std::string("postErrorForApp <broken> ") + kProcess,
                            std::string("postErrorStringUserInfo too bad appName=") + kProcess,
                            "postFinishedTask", "postDisconnect"));
    EXPECT_THAT(received(kEarlierPort), IsEmpty());
}

TEST_F(VTTaskNotificationTest, TheEarlierControllerGetsEverythingWhenItIsAlone) {
    startControllers({{kEarlierPort, "new"}});
    postAll();
    EXPECT_THAT(received(kEarlierPort), SizeIs(5));
}

TEST_F(VTTaskNotificationTest, AnOldControllerGetsErrorsAlone) {
    startControllers({{kCurrentPort, "old"}});
    postAll();
    VTTaskNotification::postTaskError(PropertyList::Dictionary{{"code", "7"}, {"domain", "disk"}});
    EXPECT_THAT(received(kCurrentPort),
                ElementsAre("incrementRemoteProgress", "postError <broken>", "postErrorString too bad",
                            "postFinishedTask", "postDisconnect", "postError < code=7 domain=disk >"));
}

TEST_F(VTTaskNotificationTest, AControllerWithoutMessagesGetsNoneAndThereIsAPause) {
    for (const char* kind : {"empty", "nothing"}) {
        SCOPED_TRACE(kind);
        startControllers({{kCurrentPort, kind}, {kEarlierPort, "new"}});
        const auto start = std::chrono::steady_clock::now();
        EXPECT_THAT(output(postAll), IsEmpty());
        EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(5 * 15));
        EXPECT_THAT(received(kCurrentPort), IsEmpty());
        EXPECT_THAT(received(kEarlierPort), IsEmpty());
    }
}

TEST_F(VTTaskNotificationTest, OneThatNeverAnswersIsATimeout) {
    startControllers({{kCurrentPort, "mute"}});
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(output(VTTaskNotification::postTaskFinished), kNobodyAnswers);
    const auto time = std::chrono::steady_clock::now() - start;
    EXPECT_GE(time, std::chrono::milliseconds(900));
    EXPECT_LT(time, std::chrono::seconds(20)); // left to itself the bus would take 25
}

TEST_F(VTTaskNotificationTest, OneThatIsSlowToAnswerIsWaitedFor) {
    startControllers({{kCurrentPort, "slow"}});
    EXPECT_THAT(output(VTTaskNotification::postTaskFinished), IsEmpty());
    EXPECT_THAT(received(kCurrentPort), ElementsAre("postFinishedTask"));
}

TEST_F(VTTaskNotificationTest, OneThatAnswersTooLateGetsNothing) {
    startControllers({{kCurrentPort, "late"}});
    EXPECT_EQ(output(VTTaskNotification::postTaskFinished), kNobodyAnswers);
    sandbox::writeFile(file(kCurrentPort) + ".go", "");
    EXPECT_THAT(received(kCurrentPort), IsEmpty());
}

TEST_F(VTTaskNotificationTest, OneThatHandlesMessagesSlowlyIsNotWaitedFor) {
    startControllers({{kCurrentPort, "busy"}});
    EXPECT_THAT(output(VTTaskNotification::postTaskFinished), IsEmpty());
    EXPECT_THAT(sandbox::readFile(file(kCurrentPort)), IsEmpty()); // still at it
    sandbox::writeFile(file(kCurrentPort) + ".go", "");
    EXPECT_THAT(received(kCurrentPort), ElementsAre("postFinishedTask"));
}

TEST_F(VTTaskNotificationTest, OneThatLeavesBeforeTheMessageGetsNoneAndNobodyIsTold) {
    startControllers({{kCurrentPort, "leaving"}, {kEarlierPort, "new"}});
    EXPECT_THAT(output(VTTaskNotification::postTaskFinished), IsEmpty());
    EXPECT_THAT(received(kEarlierPort), IsEmpty());
}

TEST_F(VTTaskNotificationTest, OneThatDiesIsATimeoutAndThenNoController) {
    startControllers({{kCurrentPort, "dying"}, {kEarlierPort, "old"}});
    EXPECT_EQ(output(VTTaskNotification::postIncrementProgress),
              "Exception in +[VTTaskNotification postIncrementProgress]. NSPortTimeoutException - nobody "
              "answers at /com/vantorel/VTVarnClientCallback.\n");
    EXPECT_THAT(received(kEarlierPort), IsEmpty());
    EXPECT_THAT(output(VTTaskNotification::postIncrementProgress), IsEmpty());
    EXPECT_THAT(received(kEarlierPort), ElementsAre("incrementRemoteProgress"));
}

TEST_F(VTTaskNotificationTest, WhatCannotBeSentIsLogged) {
    startControllers({{kCurrentPort, "old"}});
    EXPECT_EQ(
        output([] { VTTaskNotification::postTaskError(PropertyList::Uid{1}); }),
        "Exception in +[VTTaskNotification postTaskError:]. NSInvalidArgumentException - an argument of "
        "postError cannot be sent.\n");
    EXPECT_THAT(received(kCurrentPort), IsEmpty());
}

TEST_F(VTTaskNotificationTest, TextThatIsNotUtf8ArrivesAllTheSame) {
    startControllers({{kCurrentPort, "new"}});
    char process[] = "work\xFFr";
    program_invocation_short_name = process;
    const auto printed = output([] {
        VTTaskNotification::postTaskErrorString(std::string("cannot copy /a/\xFF\0b", 18));
        VTTaskNotification::postTaskError("/a/\xFF");
        VTTaskNotification::postTaskError(PropertyList::Dictionary{{"pa\xFFth", "/a/\xFF"}});
    });
    EXPECT_THAT(printed, IsEmpty());
    EXPECT_THAT(received(kCurrentPort),
                ElementsAre("postErrorStringUserInfo cannot copy /a/\uFFFD\uFFFDb appName=work\uFFFDr",
                            "postErrorForApp </a/\uFFFD> work\uFFFDr",
                            "postErrorForApp < pa\uFFFDth=/a/\uFFFD > work\uFFFDr"));
}

TEST_F(VTTaskNotificationTest, AThousandFromFourThreadsArriveOnceAndInOrder) {
    startControllers({{kCurrentPort, "old"}});
    constexpr int kThreads = 4;
    constexpr int kEach = 250;
    std::vector<std::thread> threads;
    for (int thread = 0; thread < kThreads; ++thread) {
        threads.emplace_back([thread] {
            for (int i = 0; i < kEach; ++i) {
                VTTaskNotification::postTaskErrorString(std::to_string(thread) + " " + std::to_string(i));
            }
        });
    }
    for (auto& thread : threads) {
        thread.join();
    }
    const auto lines = received(kCurrentPort);
    EXPECT_THAT(lines, SizeIs(kThreads * kEach));
    for (int thread = 0; thread < kThreads; ++thread) {
        const auto prefix = "postErrorString " + std::to_string(thread) + " ";
        Texts expected;
        for (int i = 0; i < kEach; ++i) {
            expected.push_back(prefix + std::to_string(i));
        }
        Texts ofThread;
        std::ranges::copy_if(lines, std::back_inserter(ofThread),
                             [&](const auto& line) { return line.starts_with(prefix); });
        EXPECT_EQ(ofThread, expected);
    }
}

TEST_F(VTTaskNotificationTest, NothingIsLeftOfTenThousandCallsWithoutAController) {
    startControllers({});
    expectNothingLeft(
        [] {
            for (int i = 0; i < 2'000; ++i) {
                postAll();
            }
        },
        IsEmpty());
}

TEST_F(VTTaskNotificationTest, NothingIsLeftOfCallsWithControllersOfAllKinds) {
    for (const char* kind : {"new", "old", "empty", "nothing", "mute", "leaving"}) {
        SCOPED_TRACE(kind);
        startControllers({{kCurrentPort, kind}, {kEarlierPort, "old"}});
        const bool isMute = kind == std::string_view("mute");
        expectNothingLeft(VTTaskNotification::postTaskFinished, isMute ? kNobodyAnswers : "");
    }
}

TEST_F(VTTaskNotificationTest, WithoutABusNothingHappens) {
    setenv("DBUS_SESSION_BUS_ADDRESS", "unix:path=/nonexistent", 1);
    EXPECT_THAT(output(postAll), IsEmpty());
    const platform::ScopedPlatform withoutPorts(withPorts(nullptr));
    EXPECT_THAT(output(postAll), IsEmpty());
}

TEST_F(VTTaskNotificationStepsTest, GoThroughInOrder) {
    VTTaskNotification::postTaskError(7);
    EXPECT_THAT(ports.events, ElementsAre(kCurrentPort, kEarlierPort, "VTOSTLErrorCallbackProtocol",
                                          "postErrorForApp?", "postErrorForApp", "released"));
    EXPECT_EQ(ports.arguments.front(),
              (std::vector<RemoteObject::Argument>{RemoteObject::AnyObject{7}, std::string(kProcess)}));
}

TEST_F(VTTaskNotificationStepsTest, AControllerIsAskedForEachMessageAndSentNoneThatItDoesNotHave) {
    ports.messages.clear();
    postAll();
    const auto steps = [](const Texts& questions) {
        Texts events{kCurrentPort, kEarlierPort, "VTOSTLErrorCallbackProtocol"};
        events.insert(events.end(), questions.begin(), questions.end());
        events.emplace_back("released");
        return events;
    };
    Texts expected;
    for (const auto& questions : {Texts{"incrementRemoteProgress?"}, Texts{"postErrorForApp?", "postError?"},
                                  Texts{"postErrorStringUserInfo?", "postErrorString?"},
                                  Texts{"postFinishedTask?"}, Texts{"postDisconnect?"}}) {
        std::ranges::copy(steps(questions), std::back_inserter(expected));
    }
    EXPECT_EQ(ports.events, expected);
}

TEST_F(VTTaskNotificationStepsTest, AControllerWithOneMessageIsSentThatOne) {
    for (const char* message : kMessages) {
        ports.messages = {message};
        ports.events.clear();
        postAll();
        EXPECT_THAT(sent(), ElementsAre(message));
    }
}

TEST_F(VTTaskNotificationStepsTest, AControllerWithAllMessagesIsSentThePreferredOnes) {
    postAll();
    EXPECT_THAT(sent(), ElementsAre("incrementRemoteProgress", "postErrorForApp", "postErrorStringUserInfo",
                                    "postFinishedTask", "postDisconnect"));
}

TEST_F(VTTaskNotificationStepsTest, WithoutAControllerThereIsTheLookUpAloneAndNoPause) {
    ports.isPublished = false;
    constexpr int kRounds = 20;
    const auto pauses = countOfPauses();
    EXPECT_THAT(output([] {
                    for (int round = 0; round < kRounds; ++round) {
                        postAll();
                    }
                }),
                IsEmpty());
    EXPECT_LT(countOfPauses() - pauses, 5 * kRounds);
    Texts expected;
    for (int call = 0; call < 5 * kRounds; ++call) {
        expected.insert(expected.end(), {kCurrentPort, kEarlierPort});
    }
    EXPECT_EQ(ports.events, expected);
}

TEST_F(VTTaskNotificationStepsTest, TheDisconnectionHasAnEmptySlot) {
    VTTaskNotification::postDisconnect();
    EXPECT_EQ(ports.arguments.front(), std::vector<RemoteObject::Argument>{std::monostate()});
}

TEST_F(VTTaskNotificationStepsTest, AnExceptionAtAnyStepIsLoggedWithTheOperation) {
    ports.failing = kEarlierPort; // which all of them look for
    const auto exception = [](const char* operation) {
        return "Exception in +[VTTaskNotification " + std::string(operation) +
               "]. NSPortTimeoutException - no answer.\n";
    };
    EXPECT_EQ(output(postAll), exception("postIncrementProgress") + exception("postTaskError:") +
                                   exception("postTaskErrorString:") + exception("postTaskFinished") +
                                   exception("postDisconnect"));
    for (const char* step : {"VTOSTLErrorCallbackProtocol", "postFinishedTask?", "postFinishedTask"}) {
        ports.failing = step;
        ports.events.clear();
        const auto start = std::chrono::steady_clock::now();
        EXPECT_EQ(output(VTTaskNotification::postTaskFinished), exception("postTaskFinished")) << step;
        EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(15));
        EXPECT_EQ(ports.events.back(), "released");
    }
}
