#include "AuthorizationFixture.h"

#include "ToolPath.h"

#include <gmock/gmock.h>

using testing::ElementsAre;
using testing::IsEmpty;
using ServiceRun = FakeAuthorization::Run;
using Status = platform::Authorization::Status;

namespace {

class VTAuthorizationRun : public AuthorizationTest {};
class VTAuthorizationRunAs : public AuthorizationAs {};

} // namespace

INSTANTIATE_TEST_SUITE_P(As, VTAuthorizationRunAs, testing::Values(Role::User, Role::Root), kNameOfRole);

TEST_P(VTAuthorizationRunAs, AToolThatIsMissingIsNotAskedFor) {
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

TEST_F(VTAuthorizationRun, AToolAsksForTheRightsItNeeds) {
    EXPECT_EQ(controller().authExecTask("/bin/rm", {"one", "two"}), 0);
    EXPECT_THAT(service().events,
                ElementsAre("privilegedReference", "create", "askForRights for /bin/rm", "execute /bin/rm"));
    EXPECT_EQ(controller().authExecTask("/bin/rm", {"three"}), 0);
    EXPECT_EQ(service().events.size(), 5U);
    EXPECT_THAT(started(), ElementsAre(ToolRun{"/bin/rm", {"one", "two"}}, ToolRun{"/bin/rm", {"three"}}));
}

TEST_F(VTAuthorizationRun, ARefusalIsMinusOne) {
    refuse();
    EXPECT_EQ(controller().authExecTask("/bin/rm", {"x"}), -1);
    EXPECT_EQ(controller().authExecTask("/bin/rm", {"x"}, false), -1);
    EXPECT_THAT(service().events, ElementsAre("privilegedReference", "create", "askForRights for /bin/rm",
                                              "free", "create", "askForRights for /bin/rm", "free"));
    EXPECT_THAT(started(), IsEmpty());
}

TEST_F(VTAuthorizationRun, AnotherStatusIsThePlatforms) {
    for (Status status : {-60031, 7, -1, -2}) {
        service().onExecute = [status](const ServiceRun&) { return status; };
        EXPECT_EQ(controller().authExecTask("/bin/rm", {}), status);
        EXPECT_EQ(controller().authExecTask("/bin/rm", {}, false), status);
    }
    EXPECT_TRUE(controller().isAuthorized());
    EXPECT_THAT(console(), IsEmpty());
}

TEST_F(VTAuthorizationRun, ExpiredRightsAreDropped) {
    for (Status status : {-60005, -60006, -60008}) {
        for (bool hasGUI : {true, false}) {
            service().handedDown = reference();
            service().freed.clear();
            service().onExecute = [status](const ServiceRun&) { return status; };
            RecordingAuthorization controller(hasGUI);
            EXPECT_EQ(controller.authExecTask("/bin/rm", {}, hasGUI), -1);
            EXPECT_EQ(controller.authRef(), nullptr);
            EXPECT_FALSE(controller.isAuthorized());
            EXPECT_THAT(service().freed, ElementsAre(service().handedDown));
        }
    }
    EXPECT_THAT(console(), testing::Each("Unable to authorize")); // without an interface
    EXPECT_EQ(console().size(), 3U);
}

TEST_F(VTAuthorizationRun, TheEndOfAToolIsWaitedForOnDemand) {
    EXPECT_EQ(controller().authExecTask("/bin/rm", {"x"}), 0);
    EXPECT_EQ(controller().authExecTask("/bin/rm", {"x"}, true), 0);
    EXPECT_EQ(controller().authExecTask("/bin/rm", {"x"}, false), 0);
    EXPECT_THAT(service().runs, ElementsAre(ServiceRun{"/bin/rm", {"x"}, false, true},
                                            ServiceRun{"/bin/rm", {"x"}, false, true},
                                            ServiceRun{"/bin/rm", {"x"}, true, true}));
}

TEST_F(VTAuthorizationRun, ExpiredRightsAreAskedForOnlyWithAnInterface) {
    service().handedDown = reference();
    for (bool hasGUI : {true, false}) {
        RecordingAuthorization controller(hasGUI);
        EXPECT_EQ(controller.authExecTask("/bin/rm", {}), 0);
        EXPECT_EQ(service().runs.back().mayAsk, hasGUI);
    }
}

TEST_F(VTAuthorizationRun, RootRunsToolsThroughTheTaskRunner) {
    become(Role::Root);
    const VTAuthorization::Arguments arguments{"-x", "", "two words", "line\nbreak", "\xFF\xFE", "--"};
    EXPECT_EQ(controller().authExecTask("/bin/rm", arguments), 0);
    EXPECT_THAT(started(), ElementsAre(ToolRun{"/bin/rm", arguments}));
    EXPECT_EQ(controller().authExecTask("/bin/rm", arguments, false), 0);
    EXPECT_THAT(controller().waitedFor, ElementsAre(ToolRun{"/bin/rm", arguments}));
    EXPECT_THAT(controller().started, IsEmpty());
    EXPECT_THAT(service().events, ElementsAre("privilegedReference"));
}

TEST_F(VTAuthorizationRun, ArgumentsArriveAsTheyAre) {
    const VTAuthorization::Arguments arguments{"-x", "", "two words", "line\nbreak", "\xFF\xFE", "--", "%@"};
    EXPECT_EQ(controller().authExecTask("/bin/rm", arguments), 0);
    EXPECT_THAT(started(), ElementsAre(ToolRun{"/bin/rm", arguments}));
}

TEST_F(VTAuthorizationRun, AToolThatIsKeptElsewhereIsFound) {
    EXPECT_EQ(controller().authExecTask("/usr/sbin/chown", {"x"}), 0);
    EXPECT_THAT(started(), ElementsAre(ToolRun{platform::toolPath("/usr/sbin/chown"), {"x"}}));
    become(Role::Root); // the task runner looks it up itself
    EXPECT_EQ(controller().authExecTask("/usr/sbin/chown", {"x"}), 0);
    EXPECT_THAT(started(), ElementsAre(ToolRun{"/usr/sbin/chown", {"x"}}));
}

TEST_F(VTAuthorizationRun, RootsToolsReallyRun) {
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

TEST_F(VTAuthorizationRun, RootsToolsMayFailUnseen) {
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
