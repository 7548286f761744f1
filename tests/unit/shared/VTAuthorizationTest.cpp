#include "AuthorizationFixture.h"

#include "ToolPath.h"

#include <array>
#include <cstdio>
#include <fcntl.h>
#include <fstream>
#include <gmock/gmock.h>
#include <mutex>
#include <set>
#include <thread>
#include <type_traits>
#include <unistd.h>

using testing::ElementsAre;
using testing::IsEmpty;
using Credentials = platform::Authorization::Credentials;
using ServiceRun = FakeAuthorization::Run;
using Status = platform::Authorization::Status;

static_assert(!std::is_copy_constructible_v<VTAuthorization> && !std::is_copy_assignable_v<VTAuthorization>);
static_assert(!std::is_constructible_v<VTAuthorization, bool> && !std::is_destructible_v<VTAuthorization>);

namespace {

constexpr const char* kFailed = "Authorization failed. Invalid username or password";

class VTAuthorizationTest : public AuthorizationTest {
protected:
    // A controller of a kind of its own, in place of `controller()`.
    static RecordingAuthorization withoutGUI() { return RecordingAuthorization(false); }

    static std::shared_ptr<FakeAuthorization::Reference> reference() {
        return std::make_shared<FakeAuthorization::Reference>(true);
    }
    void refuse() {
        service().onCopyRights = [](const auto&) { return FakeAuthorization::kDenied; };
    }
};

using VTAuthorizationAs = AuthorizationAs;

// A text that memory holds only where it has been put.
class Hidden {
public:
    explicit Hidden(std::size_t length) {
        for (std::size_t i = 0; i < length; ++i) {
            masked_.push_back(static_cast<char>(mask(i) ^ ('A' + (i * 7 + length) % 26)));
        }
    }
    void putInto(std::string& text) const {
        text.resize(masked_.size());
        for (std::size_t i = 0; i < masked_.size(); ++i) {
            text[i] = at(i);
        }
    }
    bool is(const char* bytes) const {
        for (std::size_t i = 0; i < masked_.size(); ++i) {
            if (bytes[i] != at(i)) {
                return false;
            }
        }
        return true;
    }
    std::size_t size() const { return masked_.size(); }

private:
    static int mask(std::size_t i) { return static_cast<int>(0x80 | (i * 13 % 128)); }
    char at(std::size_t i) const { return static_cast<char>(masked_[i] ^ mask(i)); }

    std::string masked_;
};

// How often the text stands in what this process may write to.
int occurrences(const Hidden& text) {
    constexpr std::size_t kLargest = std::size_t{1} << 28; // beyond are the sanitizers' own tables
    std::vector<std::pair<std::size_t, std::size_t>> places;
    {
        std::ifstream maps("/proc/self/maps");
        for (std::string line; std::getline(maps, line);) {
            std::size_t begin = 0;
            std::size_t end = 0;
            std::array<char, 5> access{};
            if (std::sscanf(line.c_str(), "%zx-%zx %4s", &begin, &end, access.data()) == 3 &&
                access[1] == 'w' && end - begin < kLargest) {
                places.emplace_back(begin, end);
            }
        }
    }
    const int memory = ::open("/proc/self/mem", O_RDONLY | O_CLOEXEC);
    EXPECT_GE(memory, 0);
    int found = 0;
    std::vector<char> page(4096 + text.size());
    for (const auto& [begin, end] : places) {
        for (auto at = begin; at < end; at += 4096) {
            const auto length = ::pread(memory, page.data(), page.size(), static_cast<off_t>(at));
            for (ssize_t i = 0; i + static_cast<ssize_t>(text.size()) <= length && i < 4096; ++i) {
                const bool isOwn =
                    at + static_cast<std::size_t>(i) >= reinterpret_cast<std::size_t>(page.data()) &&
                    at + static_cast<std::size_t>(i) <
                        reinterpret_cast<std::size_t>(page.data() + page.size());
                found += !isOwn && text.is(page.data() + i);
            }
            ::explicit_bzero(page.data(), page.size());
        }
    }
    ::close(memory);
    return found;
}

} // namespace

INSTANTIATE_TEST_SUITE_P(As, VTAuthorizationAs, testing::Values(Role::User, Role::Root), kNameOfRole);

TEST_F(VTAuthorizationTest, ThereIsOnePerProcess) {
    std::mutex mutex;
    std::set<VTAuthorization*> seen;
    {
        std::vector<std::jthread> threads;
        for (int i = 0; i < 8; ++i) {
            threads.emplace_back([&] {
                auto* controller = &VTAuthorization::sharedController(false);
                std::lock_guard lock(mutex);
                seen.insert(controller);
            });
        }
    }
    EXPECT_EQ(seen.size(), 1U);
    EXPECT_EQ(&VTAuthorization::sharedController(true), *seen.begin());
    EXPECT_EQ(&VTAuthorization::sharedController(), *seen.begin());
    EXPECT_FALSE(VTAuthorization::sharedController().hasGUI()); // the first call's word holds
    EXPECT_THAT(service().events, ElementsAre("privilegedReference"));
}

TEST_F(VTAuthorizationTest, TheOneOfTheProcessMayAskUnlessToldOtherwise) {
    EXPECT_TRUE(VTAuthorization::sharedController().hasGUI());
}

TEST_F(VTAuthorizationTest, BeginsWithoutRights) {
    EXPECT_EQ(controller().authRef(), nullptr);
    EXPECT_FALSE(controller().isAuthorized());
    EXPECT_TRUE(controller().hasGUI());
    EXPECT_FALSE(withoutGUI().hasGUI());
}

TEST_P(VTAuthorizationAs, TakesTheRightsThatAreHandedDown) {
    service().handedDown = std::make_shared<FakeAuthorization::Reference>(true);
    EXPECT_EQ(controller().authRef(), service().handedDown);
    EXPECT_TRUE(controller().isAuthorized());
    EXPECT_TRUE(controller().authStart());
    EXPECT_EQ(RecordingAuthorization(false).canAuthorize(), isRoot()); // they do not count there
    EXPECT_EQ(controller().authExecTask("/bin/rm", {"x"}), 0);
    EXPECT_THAT(started(), ElementsAre(ToolRun{"/bin/rm", {"x"}}));
}

TEST_P(VTAuthorizationAs, AccessorsReadAndWriteTheFields) {
    const auto first = std::make_shared<FakeAuthorization::Reference>(true);
    controller().setAuthRef(first);
    EXPECT_EQ(controller().authRef(), first);
    controller().setAuthRef(std::make_shared<FakeAuthorization::Reference>(true));
    EXPECT_NE(controller().authRef(), first);
    EXPECT_THAT(service().freed, IsEmpty());
    controller().setHasGUI(false);
    EXPECT_FALSE(controller().hasGUI());
    controller().setHasGUI(true);
    EXPECT_TRUE(controller().hasGUI());
}

TEST_P(VTAuthorizationAs, CanAuthorizeWithAnInterfaceOrAsRoot) {
    EXPECT_TRUE(controller().canAuthorize());
    controller().setHasGUI(false);
    EXPECT_EQ(controller().canAuthorize(), isRoot());
    EXPECT_EQ(controller().isAuthorized(), isRoot());
}

TEST_F(VTAuthorizationTest, AsksOnce) {
    service().onCopyRights = [&](const auto& credentials) {
        EXPECT_FALSE(credentials);
        EXPECT_NE(controller().authRef(), nullptr);
        return 0;
    };
    EXPECT_TRUE(controller().authStart());
    EXPECT_THAT(service().events, ElementsAre("privilegedReference", "create", "copyRights"));
    const auto held = controller().authRef();
    EXPECT_NE(held, nullptr);
    EXPECT_TRUE(controller().isAuthorized());
    EXPECT_TRUE(controller().authStart());
    EXPECT_EQ(controller().authRef(), held);
    EXPECT_EQ(service().events.size(), 3U);
    EXPECT_THAT(console(), IsEmpty());
}

TEST_F(VTAuthorizationTest, ARefusalLeavesNoRights) {
    refuse();
    EXPECT_FALSE(controller().authStart());
    EXPECT_EQ(controller().authRef(), nullptr);
    EXPECT_FALSE(controller().isAuthorized());
    EXPECT_EQ(service().freed.size(), 1U);
    EXPECT_THAT(service().events, ElementsAre("privilegedReference", "create", "copyRights", "free"));
    EXPECT_THAT(console(), IsEmpty());
    EXPECT_THAT(logged(), IsEmpty());
    service().onCopyRights = nullptr; // asked again, and granted
    EXPECT_TRUE(controller().authStart());
}

TEST_F(VTAuthorizationTest, WithoutAReferenceNobodyIsAsked) {
    service().createStatus = -60008;
    EXPECT_FALSE(controller().authStart());
    EXPECT_EQ(controller().authRef(), nullptr);
    EXPECT_THAT(service().events, ElementsAre("privilegedReference", "create"));
    EXPECT_THAT(console(), IsEmpty());
}

TEST_F(VTAuthorizationTest, WithoutAnInterfaceNobodyIsAsked) {
    auto controller = withoutGUI();
    EXPECT_FALSE(controller.canAuthorize());
    EXPECT_FALSE(controller.authStart());
    EXPECT_THAT(console(), ElementsAre("Unable to authorize"));
    EXPECT_EQ(controller.authExecTask("/bin/rm", {"x"}), -1);
    EXPECT_EQ(controller.authExecTask("/bin/rm", {"x"}, false), -1);
    EXPECT_THAT(console(), ElementsAre("Unable to authorize", "Unable to authorize", "Unable to authorize"));
    EXPECT_THAT(service().events, ElementsAre("privilegedReference"));
    EXPECT_THAT(logged(), IsEmpty());
}

TEST_F(VTAuthorizationTest, RootIsNeverAsked) {
    become(Role::Root);
    for (bool hasGUI : {true, false}) {
        RecordingAuthorization controller(hasGUI);
        EXPECT_TRUE(controller.isAuthorized());
        EXPECT_TRUE(controller.authStart());
        EXPECT_TRUE(controller.authStartWithUser("admin", "secret"));
        EXPECT_TRUE(controller.authStartWithUser(std::nullopt, std::nullopt));
        EXPECT_EQ(controller.authRef(), nullptr);
    }
    EXPECT_THAT(service().events, ElementsAre("privilegedReference", "privilegedReference"));
    EXPECT_THAT(console(), IsEmpty());
}

TEST_F(VTAuthorizationTest, CredentialsAreCheckedAndNobodyIsAsked) {
    int calls = 0;
    service().onCopyRights = [&](const std::optional<Credentials>& credentials) {
        EXPECT_EQ(credentials.value().user, "Zoë\n");
        EXPECT_EQ(credentials.value().password, "pass wörd 日本 of some length");
        ++calls;
        return 0;
    };
    EXPECT_TRUE(controller().authStartWithUser("Zoë\n", "pass wörd 日本 of some length"));
    EXPECT_EQ(calls, 1);
    EXPECT_TRUE(controller().isAuthorized());
    EXPECT_THAT(service().events, ElementsAre("privilegedReference", "create", "copyRights as Zoë\n"));
    EXPECT_THAT(console(), IsEmpty());
    EXPECT_THAT(logged(), IsEmpty());
}

TEST_F(VTAuthorizationTest, EmptyCredentialsAreGiven) {
    service().onCopyRights = [](const std::optional<Credentials>& credentials) {
        return credentials.value().user.empty() && credentials.value().password.empty() ? 0 : 1;
    };
    EXPECT_TRUE(controller().authStartWithUser("", ""));
}

TEST_F(VTAuthorizationTest, AbsentCredentialsAreRefused) {
    EXPECT_FALSE(controller().authStartWithUser(std::nullopt, "secret"));
    EXPECT_FALSE(controller().authStartWithUser("admin", std::nullopt));
    EXPECT_FALSE(controller().authStartWithUser(std::nullopt, std::nullopt));
    EXPECT_THAT(service().events, ElementsAre("privilegedReference"));
    EXPECT_THAT(console(), IsEmpty());
    const auto held = reference();
    controller().setAuthRef(held);
    EXPECT_FALSE(controller().authStartWithUser("admin", std::nullopt));
    EXPECT_EQ(controller().authRef(), held);
}

TEST_F(VTAuthorizationTest, CredentialsNeedNoInterface) {
    auto controller = withoutGUI();
    EXPECT_TRUE(controller.authStartWithUser("admin", "secret"));
    EXPECT_EQ(controller.authExecTask("/bin/rm", {"x"}), 0);
    EXPECT_THAT(console(), IsEmpty());
}

TEST_F(VTAuthorizationTest, AWrongPasswordIsToldToBothLogs) {
    refuse();
    EXPECT_FALSE(controller().authStartWithUser("admin", "wrong"));
    EXPECT_EQ(controller().authRef(), nullptr);
    EXPECT_FALSE(controller().isAuthorized());
    EXPECT_THAT(service().events,
                ElementsAre("privilegedReference", "create", "copyRights as admin", "free"));
    EXPECT_THAT(console(), ElementsAre(kFailed));
    EXPECT_THAT(logged(), ElementsAre(kFailed));
}

TEST_F(VTAuthorizationTest, AReferenceThatCannotBeMadeIsToldToTheConsole) {
    service().createStatus = -60008;
    controller().setAuthRef(reference());
    EXPECT_FALSE(controller().authStartWithUser("admin", "secret"));
    EXPECT_EQ(controller().authRef(), nullptr);
    EXPECT_THAT(service().events, ElementsAre("privilegedReference", "create"));
    EXPECT_THAT(console(), ElementsAre("Unable to create authRef - error -60008"));
    EXPECT_THAT(logged(), IsEmpty());
}

TEST_F(VTAuthorizationTest, CredentialsReplaceTheRightsHeldWithoutFreeingThem) {
    const auto held = reference();
    controller().setAuthRef(held);
    EXPECT_TRUE(controller().authStartWithUser("admin", "secret"));
    const auto replacing = controller().authRef();
    EXPECT_NE(replacing, held);
    EXPECT_THAT(service().freed, IsEmpty());
    refuse();
    EXPECT_FALSE(controller().authStartWithUser("admin", "wrong"));
    EXPECT_EQ(controller().authRef(), nullptr);
    ASSERT_EQ(service().freed.size(), 1U); // the new one
    EXPECT_NE(service().freed.front(), held);
    EXPECT_NE(service().freed.front(), replacing);
}

TEST_F(VTAuthorizationTest, NothingIsLeftOfAPassword) {
    enum class Case { Granted, Refused, NoReference, NoUser, Root };
    for (std::size_t length : {12U, 15U, 16U, 40U, 5000U}) { // in the string itself, and outside
        for (auto outcome : {Case::Granted, Case::Refused, Case::NoReference, Case::NoUser, Case::Root}) {
            const Hidden secret(length);
            int seen = 0;
            service().createStatus = outcome == Case::NoReference ? 1 : 0;
            service().onCopyRights = [&](const std::optional<Credentials>& credentials) {
                seen += secret.is(credentials.value().password.c_str());
                return outcome == Case::Refused ? 1 : 0;
            };
            become(outcome == Case::Root ? Role::Root : Role::User);
            std::optional<std::string> password(std::in_place);
            secret.putInto(*password);
            EXPECT_EQ(occurrences(secret), 1) << length;
            const auto user = outcome == Case::NoUser ? std::nullopt : std::optional<std::string>("admin");
            EXPECT_EQ(controller().authStartWithUser(user, std::move(password)),
                      outcome == Case::Granted || outcome == Case::Root);
            EXPECT_EQ(seen, outcome == Case::Granted || outcome == Case::Refused);
            EXPECT_EQ(password, "");
            EXPECT_EQ(occurrences(secret), 0) << length << " " << static_cast<int>(outcome);
        }
    }
}

TEST_F(VTAuthorizationTest, RightsAreGivenBack) {
    EXPECT_TRUE(controller().authStart());
    const auto held = controller().authRef();
    controller().authEnd();
    EXPECT_EQ(controller().authRef(), nullptr);
    EXPECT_FALSE(controller().isAuthorized());
    EXPECT_THAT(service().freed, ElementsAre(held));
    controller().authEnd(); // nothing left
    EXPECT_EQ(service().freed.size(), 1U);
    refuse();
    EXPECT_EQ(controller().authExecTask("/bin/rm", {"x"}), -1);
    EXPECT_THAT(started(), IsEmpty());
}

TEST_F(VTAuthorizationTest, RootDropsWhatItWasHandedDown) {
    become(Role::Root);
    service().handedDown = reference();
    controller().authEnd();
    EXPECT_EQ(controller().authRef(), nullptr);
    EXPECT_TRUE(controller().isAuthorized());
    EXPECT_THAT(service().freed, IsEmpty());
}

TEST_F(VTAuthorizationTest, RightsEndWithTheController) {
    const auto held = reference();
    service().handedDown = held;
    { const RealAuthorization controller; }
    EXPECT_THAT(service().freed, ElementsAre(held));
    become(Role::Root);
    { const RealAuthorization controller; }
    EXPECT_EQ(service().freed.size(), 1U);
}

TEST_P(VTAuthorizationAs, AToolThatIsMissingIsNotAskedFor) {
    EXPECT_EQ(controller().authExecTask(file("missing"), {"x"}), -2);
    EXPECT_EQ(controller().authExecTask(file("mis%@sing"), {"x"}, false), -2);
    EXPECT_EQ(controller().authExecTask("bin/rm", {"x"}), -2); // wherever this process may be
    EXPECT_EQ(controller().authExecTask("", {}), -2);
    EXPECT_EQ(controller().authExecTask(std::nullopt, {}), -2);
    EXPECT_THAT(console(), ElementsAre("Unable to execute task: path " + file("missing") + " doesn't exist",
                                       "Unable to execute task: path " + file("mis%@sing") + " doesn't exist",
                                       "Unable to execute task: path bin/rm doesn't exist",
                                       "Unable to execute task: path  doesn't exist",
                                       "Unable to execute task: path (null) doesn't exist"));
    EXPECT_THAT(service().events, ElementsAre("privilegedReference"));
    EXPECT_THAT(started(), IsEmpty());
    EXPECT_THAT(logged(), IsEmpty());
}

TEST_F(VTAuthorizationTest, AToolAsksForTheRightsItNeeds) {
    EXPECT_EQ(controller().authExecTask("/bin/rm", {"one", "two"}), 0);
    EXPECT_THAT(service().events,
                ElementsAre("privilegedReference", "create", "copyRights", "execute /bin/rm"));
    EXPECT_EQ(controller().authExecTask("/bin/rm", {"three"}), 0);
    EXPECT_EQ(service().events.size(), 5U);
    EXPECT_THAT(started(), ElementsAre(ToolRun{"/bin/rm", {"one", "two"}}, ToolRun{"/bin/rm", {"three"}}));
}

TEST_F(VTAuthorizationTest, ARefusalIsMinusOne) {
    refuse();
    EXPECT_EQ(controller().authExecTask("/bin/rm", {"x"}), -1);
    EXPECT_EQ(controller().authExecTask("/bin/rm", {"x"}, false), -1);
    EXPECT_THAT(service().events, ElementsAre("privilegedReference", "create", "copyRights", "free", "create",
                                              "copyRights", "free"));
    EXPECT_THAT(started(), IsEmpty());
}

TEST_F(VTAuthorizationTest, AnotherStatusIsThePlatforms) {
    for (Status status : {-60005, -60031, 7, -1, -2}) {
        service().onExecute = [status](const ServiceRun&) { return status; };
        EXPECT_EQ(controller().authExecTask("/bin/rm", {}), status);
        EXPECT_EQ(controller().authExecTask("/bin/rm", {}, false), status);
    }
    EXPECT_TRUE(controller().isAuthorized());
    EXPECT_THAT(console(), IsEmpty());
}

TEST_F(VTAuthorizationTest, TheEndOfAToolIsWaitedForOnDemand) {
    EXPECT_EQ(controller().authExecTask("/bin/rm", {"x"}), 0);
    EXPECT_EQ(controller().authExecTask("/bin/rm", {"x"}, true), 0);
    EXPECT_EQ(controller().authExecTask("/bin/rm", {"x"}, false), 0);
    EXPECT_THAT(service().runs, ElementsAre(ServiceRun{"/bin/rm", {"x"}, false, true},
                                            ServiceRun{"/bin/rm", {"x"}, false, true},
                                            ServiceRun{"/bin/rm", {"x"}, true, true}));
}

TEST_F(VTAuthorizationTest, ExpiredRightsAreAskedForOnlyWithAnInterfaceAndWithoutCredentials) {
    auto mayAsk = [&](VTAuthorization& controller) {
        EXPECT_EQ(controller.authExecTask("/bin/rm", {}), 0);
        return service().runs.back().mayAsk;
    };
    service().handedDown = reference();
    auto silent = withoutGUI();
    EXPECT_FALSE(mayAsk(silent));
    EXPECT_TRUE(mayAsk(controller()));
    controller().authEnd();
    EXPECT_TRUE(controller().authStartWithUser("admin", "secret"));
    EXPECT_FALSE(mayAsk(controller()));
    controller().authEnd();
    EXPECT_TRUE(mayAsk(controller())); // has been asked for
}

TEST_F(VTAuthorizationTest, RootRunsToolsThroughTheTaskRunner) {
    become(Role::Root);
    const VTAuthorization::Arguments arguments{"-x", "", "two words", "line\nbreak", "\xFF\xFE", "--"};
    EXPECT_EQ(controller().authExecTask("/bin/rm", arguments), 0);
    EXPECT_THAT(started(), ElementsAre(ToolRun{"/bin/rm", arguments}));
    EXPECT_EQ(controller().authExecTask("/bin/rm", arguments, false), 0);
    EXPECT_THAT(controller().waitedFor, ElementsAre(ToolRun{"/bin/rm", arguments}));
    EXPECT_THAT(controller().started, IsEmpty());
    EXPECT_THAT(service().events, ElementsAre("privilegedReference"));
}

TEST_F(VTAuthorizationTest, ArgumentsArriveAsTheyAre) {
    const VTAuthorization::Arguments arguments{"-x", "", "two words", "line\nbreak", "\xFF\xFE", "--", "%@"};
    EXPECT_EQ(controller().authExecTask("/bin/rm", arguments), 0);
    EXPECT_THAT(started(), ElementsAre(ToolRun{"/bin/rm", arguments}));
}

TEST_F(VTAuthorizationTest, AToolThatIsKeptElsewhereIsFound) {
    EXPECT_EQ(controller().authExecTask("/usr/sbin/chown", {"x"}), 0);
    EXPECT_THAT(started(), ElementsAre(ToolRun{platform::toolPath("/usr/sbin/chown"), {"x"}}));
    become(Role::Root); // the task runner looks it up itself
    EXPECT_EQ(controller().authExecTask("/usr/sbin/chown", {"x"}), 0);
    EXPECT_THAT(started(), ElementsAre(ToolRun{"/usr/sbin/chown", {"x"}}));
}

TEST_F(VTAuthorizationTest, RootsToolsReallyRun) {
    become(Role::Root);
    RealAuthorization controller;
    const auto path = script("run", "printf '%s|' \"$@\" >" + file("result") + "; exit 3");
    EXPECT_EQ(controller.authExecTask(path, {"two words", "line\nbreak", "\xFF"}, false), 0);
    EXPECT_EQ(sandbox::readFile(file("result")), "two words|line\nbreak|\xFF|");

    const auto gate = fifo("gate");
    const auto done = fifo("done");
    EXPECT_EQ(controller.authExecTask(script("slow", "read line <" + gate + "; echo $1 >" + done), {"end"}),
              0);
    letGo(gate); // it has not been waited for
    EXPECT_EQ(sandbox::readFile(done), "end\n");
}

TEST_F(VTAuthorizationTest, RootsToolsMayFailUnseen) {
    become(Role::Root);
    RealAuthorization controller;
    sandbox::writeFile(file("text"), "text");
    const auto logFile = path(1, machineFolder()); // where a root process logs
    sandbox::writeFile(logFile, "");
    output([&] {
        EXPECT_EQ(controller.authExecTask(file("text"), {}), 0);
        EXPECT_EQ(controller.authExecTask(file("text"), {}, false), 0);
    });
    VTLog::finishWriting();
    EXPECT_THAT(entries(logFile), ElementsAre(notExecutable(file("text")), notExecutable(file("text"))));
    EXPECT_THAT(console(), ElementsAre(notExecutable(file("text"))));
}
