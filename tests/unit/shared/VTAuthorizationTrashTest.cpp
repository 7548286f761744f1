#include "AuthorizationFixture.h"

#include <algorithm>
#include <cstdlib>
#include <ctime>
#include <gmock/gmock.h>
#include <sys/stat.h>
#include <unistd.h>

using testing::ElementsAre;
using testing::IsEmpty;
using testing::MatchesRegex;

namespace {

class VTAuthorizationTrash : public AuthorizationFiles {};
class VTAuthorizationTrashOfUser : public AuthorizationFiles {};
class VTAuthorizationTrashOfRoot : public AuthorizationFiles {};

// A controller of a process that was a user's when it began and now runs as root.
class VTAuthorizationBecomingRoot : public AuthorizationTest {
protected:
    VTAuthorizationBecomingRoot() {
        controller();
        become(Role::Root);
    }
};

} // namespace

INSTANTIATE_TEST_SUITE_P(As, VTAuthorizationTrash, testing::Values(Role::User, Role::Root), kNameOfRole);
INSTANTIATE_TEST_SUITE_P(As, VTAuthorizationTrashOfUser, testing::Values(Role::User), kNameOfRole);
INSTANTIATE_TEST_SUITE_P(As, VTAuthorizationTrashOfRoot, testing::Values(Role::Root), kNameOfRole);

TEST_P(VTAuthorizationTrash, ANameThatIsTakenInTheTrashGetsTheTime) {
    const std::pair<const char*, const char*> cases[] = {
        {"a.txt", "a_[0-9]{14}[.]txt"},
        {"Foo", "Foo_[0-9]{14}[.]"}, // with a dot of its own
        {"a.tar.gz", "a[.]tar_[0-9]{14}[.]gz"},
        {".hidden", "[.]hidden_[0-9]{14}[.]"},
        {"dot.", "dot[.]_[0-9]{14}[.]"},
        {"Tool.app", "Tool_[0-9]{14}[.]app"},
        {"line\nbreak.\xFFx", "line\nbreak_[0-9]{14}[.]\xFFx"},
    };
    for (const auto& [name, pattern] : cases) {
        const auto item = makeFile(file("items/" + std::string(name)));
        EXPECT_TRUE(controller().authTrashFile(item));
        EXPECT_EQ(destination(), trash(name));
        makeFile(trash(name));
        EXPECT_TRUE(controller().authTrashFile(item));
        const auto moved = destination();
        ASSERT_TRUE(moved.starts_with(trash(""))) << moved;
        // The bytes that are no text would not match.
        auto text = [](std::string bytes) {
            std::ranges::replace(bytes, '\xFF', '?');
            std::ranges::replace(bytes, '\n', ' ');
            return bytes;
        };
        std::string expected = text(pattern);
        if (auto mark = expected.find('?'); mark != std::string::npos) {
            expected.replace(mark, 1, "[?]");
        }
        EXPECT_THAT(text(moved.substr(trash("").size())), MatchesRegex(expected));
    }
    const auto folder = file("items/Plain");
    sandbox::makeFolder(folder);
    sandbox::makeFolder(trash("Plain"));
    EXPECT_TRUE(controller().authTrashFile(folder + "/")); // the slash is no part of the name
    EXPECT_THAT(destination(), MatchesRegex(trash("Plain_[0-9]{14}[.]")));
    EXPECT_THAT(console(), IsEmpty());
}

TEST_P(VTAuthorizationTrash, TheTimeInATrashNameIsLocal) {
    ::setenv("TZ", "XYZ-11:30", 1);
    ::tzset();
    const auto item = makeFile(file("a.txt"));
    makeFile(trash("a.txt"));
    auto expected = [] {
        const auto shifted = std::time(nullptr) + 11 * 3600 + 30 * 60;
        std::tm time{};
        ::gmtime_r(&shifted, &time);
        char text[32];
        return trash("a_") + std::string(text, std::strftime(text, sizeof text, "%Y%m%d%H%M%S", &time)) +
               ".txt";
    };
    const auto earliest = expected();
    EXPECT_TRUE(controller().authTrashFile(item));
    const auto moved = destination();
    EXPECT_LE(earliest, moved);
    EXPECT_LE(moved, expected());
    ::unsetenv("TZ");
    ::tzset();
}

TEST_P(VTAuthorizationTrash, ADatedNameIsNotLookedForAgain) {
    class EveryNameIsTaken : public FailingFileManager {
    public:
        using FailingFileManager::FailingFileManager;
        bool fileExists(const std::string& path) override {
            return path.starts_with(trash("")) || FailingFileManager::fileExists(path);
        }
    };
    auto services = platform::current();
    services.fileManager = std::make_shared<EveryNameIsTaken>(services.fileManager);
    const platform::ScopedPlatform scope(services);
    EXPECT_TRUE(controller().authTrashFile(makeFile(file("a.txt"))));
    EXPECT_THAT(destination(), MatchesRegex(trash("a_[0-9]{14}[.]txt")));
}

TEST_P(VTAuthorizationTrash, TheTrashIsMadeForWhatGoesThere) {
    const auto mask = ::umask(0);
    const auto item = makeFile(file("item"));
    EXPECT_TRUE(controller().authTrashFile(item));
    EXPECT_EQ(modeOf(home(".Trash")), 0700U);
    ASSERT_EQ(::chmod(home(".Trash").c_str(), 0750), 0);
    EXPECT_TRUE(controller().authTrashFile(item));
    EXPECT_EQ(modeOf(home(".Trash")), 0750U); // one that is there stays as it is
    ::umask(mask);
}

TEST_P(VTAuthorizationTrashOfRoot, TheTrashBelongsToTheUser) {
    if (::geteuid() != 0) {
        GTEST_SKIP() << "gives files away, which takes root";
    }
    constexpr uid_t kAlice = 1234;
    ASSERT_EQ(::chown(sandbox::home().c_str(), kAlice, kAlice), 0);
    EXPECT_TRUE(controller().authTrashFile(makeFile(file("item"))));
    struct stat status {};
    ASSERT_EQ(::lstat(home(".Trash").c_str(), &status), 0);
    EXPECT_EQ(status.st_uid, kAlice);
    EXPECT_EQ(status.st_gid, kAlice);
}

TEST_P(VTAuthorizationTrash, WithoutATrashNothingGoesThere) {
    const auto item = makeFile(file("item"));
    fileManager().createDirectoryFailure = [](const std::string&) {
        return std::make_error_code(std::errc::no_space_on_device);
    };
    EXPECT_FALSE(controller().authTrashFile(item));
    EXPECT_THAT(console(), ElementsAre("Unable to create " + home(".Trash") + ": No space left on device"));
    fileManager().createDirectoryFailure = nullptr;
    ::symlink("nowhere", home(".Trash").c_str());
    EXPECT_FALSE(controller().authTrashFile(item));
    EXPECT_EQ(console().back(), "Unable to create " + home(".Trash") + ": File exists");
    EXPECT_THAT(started(), IsEmpty());
}

TEST_P(VTAuthorizationTrash, WithoutAHomeThereIsNoTrash) {
    sandbox::users().home.reset();
    sandbox::users().homes.clear();
    EXPECT_FALSE(controller().authTrashFile(makeFile(file("item"))));
    EXPECT_THAT(console(), ElementsAre("Error in authMoveFile: new path is null"));
    EXPECT_THAT(started(), IsEmpty());
}

TEST_P(VTAuthorizationTrashOfUser, NothingIsDeletedInPlaceOfTrashing) {
    const auto item = makeFile(file("folder/item"));
    EXPECT_TRUE(controller().authTrashFile(item, true));
    EXPECT_TRUE(controller().authTrashFolderContents(file("folder"), true));
    EXPECT_THAT(started(), ElementsAre(toTrash(item), toTrash(item)));
}

TEST_P(VTAuthorizationTrashOfUser, NothingIsDeletedInPlaceOfTrashingWithoutAHomeEither) {
    sandbox::users().home.reset();
    controller(); // finds none
    sandbox::users().home = sandbox::home();
    const auto item = makeFile(file("folder/item"));
    EXPECT_TRUE(controller().authTrashFile(item, true));
    EXPECT_TRUE(controller().authTrashFolderContents(file("folder"), true));
    EXPECT_THAT(started(), ElementsAre(toTrash(item), toTrash(item)));
}

TEST_P(VTAuthorizationTrashOfRoot, DeletingInPlaceOfTrashingRemovesWhatIsInTheTrash) {
    const auto item = makeFile(file("a.txt"));
    EXPECT_TRUE(controller().authTrashFile(item, true));
    EXPECT_THAT(started(), ElementsAre(ToolRun{"/bin/rm", {"-Rdf", trash("a.txt")}}));
    EXPECT_FALSE(sandbox::exists(home(".Trash")));
    EXPECT_TRUE(controller().authTrashFile(file("missing"), true)); // the item is not looked for
    EXPECT_THAT(started(), ElementsAre(ToolRun{"/bin/rm", {"-Rdf", trash("missing")}}));
    makeFile(trash("a.txt"));
    EXPECT_TRUE(controller().authTrashFile(item, true));
    const auto runs = started();
    ASSERT_EQ(runs.size(), 1U);
    EXPECT_EQ(runs.front().tool, "/bin/rm");
    EXPECT_THAT(runs.front().arguments, ElementsAre("-Rdf", MatchesRegex(trash("a_[0-9]{14}[.]txt"))));
    EXPECT_TRUE(controller().authTrashFile(item)); // without the flag it is moved
    EXPECT_THAT(destination(), MatchesRegex(trash("a_[0-9]{14}[.]txt")));
    sandbox::users().homes.clear();
    EXPECT_FALSE(controller().authTrashFile(item, true));
    EXPECT_THAT(started(), IsEmpty());
}

TEST_P(VTAuthorizationTrashOfRoot, FolderContentsAreRemovedUnguarded) {
    makeFile(file("folder/-rf"));
    makeFile(file("folder/line\nbreak"));
    makeFile(file("folder/z\xFF/inside"));
    EXPECT_TRUE(controller().authTrashFolderContents(file("folder"), true));
    EXPECT_THAT(started(), ElementsAre(ToolRun{"/bin/rm", {"-R", "-f", file("folder/-rf")}},
                                       ToolRun{"/bin/rm", {"-R", "-f", file("folder/line\nbreak")}},
                                       ToolRun{"/bin/rm", {"-R", "-f", file("folder/z\xFF")}}));
    sandbox::makeFolder(home("Library"));
    sandbox::users().homes["tester"] = file("inner/home"); // a system directory among the items
    sandbox::makeFolder(file("inner/home"));
    EXPECT_TRUE(controller().authTrashFolderContents(file("inner"), true));
    EXPECT_THAT(started(), ElementsAre(ToolRun{"/bin/rm", {"-R", "-f", file("inner/home")}}));
    EXPECT_THAT(console(), IsEmpty());
}

TEST_F(VTAuthorizationBecomingRoot, TrashesInTheHomeItBeganWith) {
    sandbox::users().homes["tester"] = file("other home");
    sandbox::makeFolder(file("other home"));
    const auto trash = sandbox::home() + "/.Trash/";
    sandbox::writeFile(file("folder/a.txt"), "text");
    const ToolRun expected{"/bin/mv", {"-f", file("folder/a.txt"), trash + "a.txt"}};
    for (bool deleteOnRootAccount : {false, true}) {
        EXPECT_TRUE(controller().authTrashFile(file("folder/a.txt"), deleteOnRootAccount));
        EXPECT_TRUE(controller().authTrashFolderContents(file("folder"), deleteOnRootAccount));
        EXPECT_THAT(started(), ElementsAre(expected, expected));
    }
    EXPECT_TRUE(sandbox::exists(sandbox::home() + "/.Trash"));
    EXPECT_FALSE(sandbox::exists(file("other home/.Trash")));
}
