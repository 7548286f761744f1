#include "linux/ItemPlace.h"

#include "TestSandbox.h"
#include "linux/LinuxFileManager.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

namespace {

constexpr uid_t kAlice = 1234;
constexpr gid_t kAlicesGroup = 2345;

// A process of user id 0 at work in the home of alice, who sits at the console.
class RootInAHome : public testing::Test {
protected:
    void SetUp() override {
        if (geteuid() != 0) {
            GTEST_SKIP() << "gives files away, which takes root";
        }
        sandbox::users().userID = 0;
        sandbox::users().home = path("root's own");
        sandbox::users().console = "alice";
        sandbox::users().homes["alice"] = home();
        sandbox::makeFolder(home());
        sandbox::makeFolder(path("root's own"));
        sandbox::writeFile(path("outside/file"), "outside");
        ASSERT_EQ(chown(home().c_str(), kAlice, kAlicesGroup), 0);
    }

    static std::string path(const std::string& name) { return sandbox::folder() + "/" + name; }
    static std::string home() { return path("alice"); }

    static void expectOwner(const std::string& item, uid_t user, gid_t group) {
        struct stat status {};
        ASSERT_EQ(lstat(item.c_str(), &status), 0) << item;
        EXPECT_EQ(status.st_uid, user) << item;
        EXPECT_EQ(status.st_gid, group) << item;
    }

    static void expectOutsideUntouched() {
        EXPECT_EQ(sandbox::readFile(path("outside/file")), "outside");
        std::error_code error;
        auto entries = platform::LinuxFileManager()
                           .openFolder(path("outside"))
                           ->entries(platform::Listing::Everything, error);
        EXPECT_EQ(entries.size(), 1U);
    }

    platform::LinuxFileManager files_;
};

} // namespace

TEST_F(RootInAHome, GivesNewItemsToItsOwner) {
    const auto folder = home() + "/Library/Logs/Vantorel";
    EXPECT_FALSE(files_.createDirectory(folder));
    for (const auto& made : {home() + "/Library", home() + "/Library/Logs", folder}) {
        expectOwner(made, kAlice, kAlicesGroup);
    }
    EXPECT_FALSE(files_.writeAtomically(folder + "/file", "x"));
    expectOwner(folder + "/file", kAlice, kAlicesGroup);
    EXPECT_FALSE(files_.writeAtomically(home() + "/file", "x"));
    expectOwner(home() + "/file", kAlice, kAlicesGroup);
}

TEST_F(RootInAHome, KeepsTheOwnerOfWhatItReplaces) {
    sandbox::writeFile(home() + "/file", "before");
    ASSERT_EQ(chown((home() + "/file").c_str(), 77, 78), 0);
    chmod((home() + "/file").c_str(), 0604);
    EXPECT_FALSE(files_.writeAtomically(home() + "/file", "after"));
    EXPECT_EQ(sandbox::readFile(home() + "/file"), "after");
    expectOwner(home() + "/file", 77, 78);
}

TEST_F(RootInAHome, WorksInFoldersThatAreNoLinks) {
    sandbox::writeFile(home() + "/folder/file", "x");
    EXPECT_TRUE(files_.openForWriting(home() + "/folder/file"));
    EXPECT_FALSE(files_.moveItem(home() + "//folder//file", home() + "/moved"));
    EXPECT_EQ(sandbox::readFile(home() + "/moved"), "x");
    EXPECT_FALSE(files_.removeItem(home() + "/folder"));
    EXPECT_FALSE(sandbox::exists(home() + "/folder"));
}

TEST_F(RootInAHome, FollowsNoLinkOnTheWay) {
    symlink("../outside", (home() + "/link").c_str());
    sandbox::writeFile(home() + "/file", "inside");
    EXPECT_TRUE(files_.createDirectory(home() + "/link/new"));
    EXPECT_TRUE(files_.createDirectory(home() + "/link/new/deep"));
    EXPECT_TRUE(files_.writeAtomically(home() + "/link/file", "x"));
    EXPECT_TRUE(files_.writeAtomically(home() + "/link/new", "x"));
    EXPECT_TRUE(files_.removeItem(home() + "/link/file"));
    EXPECT_TRUE(files_.moveItem(home() + "/link/file", home() + "/moved"));
    EXPECT_TRUE(files_.moveItem(home() + "/file", home() + "/link/moved"));
    EXPECT_EQ(files_.openForWriting(home() + "/link/file"), nullptr);
    expectOutsideUntouched();
    EXPECT_EQ(sandbox::readFile(home() + "/file"), "inside");
    EXPECT_FALSE(sandbox::exists(home() + "/moved"));
}

TEST_F(RootInAHome, FollowsNoLinkAtTheEnd) {
    auto makeLink = [] { symlink("../outside/file", (home() + "/link").c_str()); };
    makeLink();
    EXPECT_EQ(files_.openForWriting(home() + "/link"), nullptr);
    EXPECT_FALSE(files_.writeAtomically(home() + "/link", "x")); // takes the link's place
    EXPECT_EQ(sandbox::readFile(home() + "/link"), "x");
    expectOwner(home() + "/link", kAlice, kAlicesGroup);
    EXPECT_FALSE(files_.removeItem(home() + "/link"));
    makeLink();
    EXPECT_FALSE(files_.removeItem(home() + "/link"));
    EXPECT_FALSE(sandbox::exists(home() + "/link"));
    expectOutsideUntouched();
}

TEST_F(RootInAHome, DoesNotLeaveItByADetour) {
    EXPECT_EQ(files_.writeAtomically(home() + "/../outside/file", "x"), std::errc::invalid_argument);
    EXPECT_EQ(files_.createDirectory(home() + "/../outside/new"), std::errc::invalid_argument);
    EXPECT_EQ(files_.removeItem(home() + "/../outside/file"), std::errc::invalid_argument);
    expectOutsideUntouched();
}

TEST_F(RootInAHome, DoesAsEverywhereElseOutsideOfIt) {
    const auto neighbour = path("alice's neighbour"); // a home is a whole component
    EXPECT_FALSE(files_.createDirectory(neighbour));
    EXPECT_FALSE(files_.writeAtomically(neighbour + "/file", "x"));
    expectOwner(neighbour, 0, 0);
    expectOwner(neighbour + "/file", 0, 0);
    symlink("../outside/file", (neighbour + "/link").c_str());
    EXPECT_TRUE(files_.openForWriting(neighbour + "/link"));
}

TEST_F(RootInAHome, DoesAsEverywhereElseInItsOwn) {
    sandbox::users().console.reset();
    const auto own = path("root's own");
    symlink("../outside/file", (own + "/link").c_str());
    EXPECT_FALSE(files_.writeAtomically(own + "/link", "through the link"));
    EXPECT_EQ(sandbox::readFile(path("outside/file")), "through the link");
    EXPECT_FALSE(files_.createDirectory(own + "/folder"));
    expectOwner(own + "/folder", 0, 0);
}

TEST_F(RootInAHome, IsCarefulInItsOwnWhenThatIsSomebodyElses) {
    sandbox::users().console.reset();
    sandbox::users().home = home(); // kept from the user who became root
    symlink("../outside/file", (home() + "/link").c_str());
    EXPECT_FALSE(files_.createDirectory(home() + "/folder"));
    expectOwner(home() + "/folder", kAlice, kAlicesGroup);
    EXPECT_EQ(files_.openForWriting(home() + "/link"), nullptr);
}

TEST_F(RootInAHome, IsNoMatterToAnOrdinaryUser) {
    sandbox::users().userID = kAlice;
    sandbox::users().home = home();
    symlink("../outside", (home() + "/link").c_str());
    EXPECT_FALSE(files_.writeAtomically(home() + "/link/file", "through the link"));
    EXPECT_EQ(sandbox::readFile(path("outside/file")), "through the link");
    EXPECT_FALSE(files_.createDirectory(home() + "/link/new"));
    EXPECT_TRUE(sandbox::exists(path("outside/new")));
}

TEST(ItemPlace, IsAFolderAndAName) {
    using Place = platform::ItemPlace;
    sandbox::makeFolder(sandbox::folder() + "/folder");
    for (const auto* form : {"/folder/item", "/folder//item", "/folder/item/", "//folder/item"}) {
        Place place(sandbox::folder() + form, Place::FinalLink::Kept);
        EXPECT_FALSE(place.error()) << form;
        EXPECT_STREQ(place.name(), "item") << form;
        EXPECT_GE(place.folder(), 0) << form;
        EXPECT_FALSE(place.owner()) << form;
    }
    Place relative("item", Place::FinalLink::Kept);
    EXPECT_FALSE(relative.error());
    EXPECT_STREQ(relative.name(), "item");
    Place top("/", Place::FinalLink::Kept);
    EXPECT_STREQ(top.name(), ""); // nothing can be made or removed by that name
    EXPECT_EQ(Place("/none/item", Place::FinalLink::Kept).error(), std::errc::no_such_file_or_directory);
}
