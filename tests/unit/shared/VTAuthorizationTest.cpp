#include "AuthorizationFixture.h"

#include <gmock/gmock.h>
#include <mutex>
#include <set>
#include <thread>
#include <type_traits>

using testing::ElementsAre;
using testing::IsEmpty;
using Credentials = platform::Authorization::Credentials;

static_assert(!std::is_copy_constructible_v<VTAuthorization> && !std::is_copy_assignable_v<VTAuthorization>);
static_assert(!std::is_constructible_v<VTAuthorization, bool> && !std::is_destructible_v<VTAuthorization>);

namespace {

constexpr const char* kFailed = "Authorization failed. Invalid username or password";

class VTAuthorizationTest : public AuthorizationTest {};

class VTAuthorizationAs : public AuthorizationAs {};

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
    EXPECT_THAT(service().events, ElementsAre("privilegedReference", "create", "askForRights"));
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
    EXPECT_THAT(service().events, ElementsAre("privilegedReference", "create", "askForRights", "free"));
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
        EXPECT_EQ(credentials.value().password.view(), "pass wörd 日本 of some length");
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
        return credentials.value().user.empty() && credentials.value().password.view().empty() ? 0 : 1;
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
