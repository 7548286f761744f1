#include "BusInspection.h"
#include "LoginManager.h"
#include "TestSandbox.h"
#include "UserBus.h"
#include "linux/BusNotifications.h"
#include "linux/FileDescriptor.h"

#include <array>
#include <atomic>
#include <filesystem>
#include <fstream>
#include <gmock/gmock.h>
#include <grp.h>
#include <map>
#include <sstream>
#include <sys/socket.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <thread>

using testing::Pair;
using testing::UnorderedElementsAre;

namespace {

using Strings = std::vector<std::string>;

constexpr int kPosted = 0;
constexpr int kNotPosted = 1;
constexpr int kUsage = 2;

// vtpost, and BusNotifications, run by root for an ordinary user.
class VtpostTest : public testing::Test {
protected:
    void SetUp() override {
        if (auto obstacle = UserBus::obstacle(); !obstacle.empty()) {
            GTEST_SKIP() << obstacle;
        }
        bus = std::make_unique<UserBus>();
        // Where everybody may run it.
        std::filesystem::copy_file(VT_POST, program);
    }
    int post(const Strings& arguments, const Strings& environment) const {
        Strings words{program};
        words.insert(words.end(), arguments.begin(), arguments.end());
        return statusOf(words, environment);
    }

    // Stops the bus; in its place is a socket that takes connections and stays silent.
    platform::FileDescriptor silentBus() const {
        bus->stop();
        platform::FileDescriptor socket(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
        sockaddr_un address{.sun_family = AF_UNIX, .sun_path = {}};
        const auto path = "/run/user/" + std::to_string(UserBus::user().userID) + "/bus";
        path.copy(address.sun_path, sizeof address.sun_path - 1);
        std::filesystem::remove(path);
        succeed(-::bind(socket.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address), "bind");
        succeed(-::chown(path.c_str(), UserBus::user().userID, UserBus::user().groupID), "chown");
        succeed(-::listen(socket.get(), 1), "listen");
        return socket;
    }
    // What the system says of a process: its identities, groups and capabilities.
    static std::map<std::string, std::string> rightsOf(pid_t process) {
        std::map<std::string, std::string> rights;
        std::ifstream status("/proc/" + std::to_string(process) + "/status");
        for (std::string line; std::getline(status, line);) {
            const auto colon = line.find(':');
            for (const std::string name : {"Uid", "Gid", "Groups", "CapPrm", "CapEff"}) {
                if (line.substr(0, colon) == name) {
                    std::istringstream words(line.substr(colon + 1));
                    for (std::string word; words >> word;) {
                        rights[name] += word + " ";
                    }
                }
            }
        }
        return rights;
    }

    const std::string program = "/run/vtpost";
    const std::string invoker = "PKEXEC_UID=" + std::to_string(UserBus::user().userID);
    std::unique_ptr<UserBus> bus;
};

} // namespace

TEST_F(VtpostTest, ServesWhoStartedTheRightsDialogAndLooksAtNothingElse) {
    bus->listen();
    const PrivateBus elsewhere;
    const BusInspection inspection(elsewhere);
    const Strings misleading{invoker,
                             "DBUS_SESSION_BUS_ADDRESS=" + elsewhere.address(),
                             "DBUS_SYSTEM_BUS_ADDRESS=" + elsewhere.address(),
                             "DBUS_STARTER_ADDRESS=" + elsewhere.address(),
                             "XDG_RUNTIME_DIR=" + sandbox::folder() + "/bus",
                             "SUDO_UID=0",
                             "HOME=" + sandbox::home()};
    EXPECT_EQ(post({"VTKVDPurgelComplete"}, misleading), kPosted);
    EXPECT_EQ(post({"Another", "whom"}, misleading), kPosted);
    EXPECT_EQ(bus->next(), "VTKVDPurgelComplete ");
    EXPECT_EQ(bus->next(), "Another whom");
}

TEST_F(VtpostTest, ServesTheUserAtTheConsoleWhenNobodyAskedForRights) {
    bus->listen();
    LoginManager loginManager;
    loginManager.addSeat("seat0");
    loginManager.addSession("c1", "seat0", "nobody");
    std::filesystem::create_directory("/run/dbus");
    const auto path = loginManager.address().substr(std::string("unix:path=").size());
    std::filesystem::create_symlink(path.substr(0, path.find(',')), "/run/dbus/system_bus_socket");
    EXPECT_EQ(post({"first"}, {}), kPosted);
    EXPECT_EQ(post({"second"}, {"PKEXEC_UID=0"}), kPosted); // root asked
    EXPECT_EQ(bus->next(), "first ");
    EXPECT_EQ(bus->next(), "second ");
    loginManager.setText("c1", "Class", "greeter");
    EXPECT_EQ(post({"third"}, {}), kNotPosted);
}

TEST_F(VtpostTest, SaysWhenItCannotPost) {
    EXPECT_EQ(post({}, {invoker}), kUsage);
    EXPECT_EQ(post({"name", "object", "more"}, {invoker}), kUsage);
    EXPECT_EQ(post({"name"}, {"SUDO_UID=" + std::to_string(UserBus::user().userID)}), kNotPosted);
    for (const char* number : {"", "x", "-1", "1x", " 1", "99999999999", "4294967294"}) {
        EXPECT_EQ(post({"name"}, {std::string("PKEXEC_UID=") + number}), kNotPosted) << number;
    }
    EXPECT_EQ(post({"\xFF"}, {invoker}), kNotPosted);
    EXPECT_EQ(post({"name"}, {invoker}), kPosted);
    bus->stop();
    EXPECT_EQ(post({"name"}, {invoker}), kNotPosted);
}

TEST_F(VtpostTest, HasGivenUpEverythingBeforeItConnects) {
    ASSERT_EQ(::setgroups(1, std::array<gid_t, 1>{4}.data()), 0); // which it would inherit
    auto socket = silentBus();
    int status = 99;
    std::jthread child([&] { status = post({"name"}, {invoker}); });
    const platform::FileDescriptor connection(::accept(socket.get(), nullptr, nullptr));
    ucred peer{};
    socklen_t length = sizeof peer;
    ASSERT_EQ(::getsockopt(connection.get(), SOL_SOCKET, SO_PEERCRED, &peer, &length), 0);
    const auto rights = rightsOf(peer.pid);
    const auto fourTimes = [](auto number) {
        const auto text = std::to_string(number) + " ";
        return text + text + text + text;
    };
    EXPECT_THAT(rights, UnorderedElementsAre(Pair("Uid", fourTimes(UserBus::user().userID)),
                                             Pair("Gid", fourTimes(UserBus::user().groupID)),
                                             Pair("CapPrm", "0000000000000000 "),
                                             Pair("CapEff", "0000000000000000 ")));
    ::shutdown(connection.get(), SHUT_RDWR);
    child.join();
    EXPECT_EQ(status, kNotPosted);
}

TEST_F(VtpostTest, AnOrdinaryUserPostsForThemselves) {
    bus->listen();
    const auto number = std::to_string(UserBus::user().userID);
    const Strings words{"setpriv", "--reuid=" + number, "--regid=" + number, "--clear-groups", program,
                        "own"};
    EXPECT_EQ(statusOf(words, {"PATH=/usr/bin", "PKEXEC_UID=0"}), kPosted);
    EXPECT_EQ(bus->next(), "own ");
}

TEST_F(VtpostTest, ARootProcessPostsAsTheConsoleUserToo) {
    bus->listen();
    sandbox::users().console = "nobody";
    const auto descriptors = countOfOwn("fd");
    platform::BusNotifications notifications;
    EXPECT_TRUE(notifications.post("one", "object", {{"key", "value"}}));
    EXPECT_EQ(bus->next(), "one object");
    EXPECT_EQ(countOfOwn("fd"), descriptors);
    bus->stop();
    EXPECT_FALSE(notifications.post("two", "", {}));
    EXPECT_EQ(waitpid(-1, nullptr, WNOHANG), -1); // no child is left
}

TEST_F(VtpostTest, ARootProcessListensWithTheConsoleUser) {
    sandbox::users().console = "nobody";
    platform::BusNotifications notifications;
    std::atomic<bool> isHeard = false;
    auto observer = notifications.addObserver("name", [&](const auto&, const auto&) { isHeard = true; });
    while (!isHeard) {
        EXPECT_EQ(post({"name"}, {invoker}), kPosted);
    }
}
