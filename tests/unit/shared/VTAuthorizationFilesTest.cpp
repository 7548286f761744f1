#include "AuthorizationFixture.h"

#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <gmock/gmock.h>
#include <set>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::MatchesRegex;
using Path = VTAuthorization::Path;

namespace {

// Files and folders in the sandbox, whoever runs the process.
class VTAuthorizationFiles : public AuthorizationAs {
protected:
    static std::string home(const std::string& name) { return sandbox::home() + "/" + name; }
    static std::string trash(const std::string& name) { return home(".Trash/" + name); }

    static std::string makeFile(const std::string& path) {
        sandbox::writeFile(path, "text");
        return path;
    }
    static mode_t modeOf(const std::string& path) {
        struct stat status {};
        EXPECT_EQ(::lstat(path.c_str(), &status), 0) << path;
        return status.st_mode & 07777;
    }

    // The tools that handle this item fail: to start for a user, not to be seen for root.
    void failFor(const std::string& item) {
        service().onExecute = [item](const FakeAuthorization::Run& run) {
            return std::ranges::count(run.arguments, item) > 0 ? 7 : 0;
        };
    }
    static ToolRun move(const std::string& from, const std::string& to) {
        return {"/bin/mv", {"-f", from, to}};
    }
    static ToolRun toTrash(const std::string& from) {
        return move(from, trash(std::filesystem::path(from).filename()));
    }

    // Where the only tool started moved the item to.
    std::string destination() {
        const auto runs = started();
        EXPECT_EQ(runs.size(), 1U);
        return runs.empty() ? "" : runs.front().arguments.back();
    }
};

// A controller of a process that was a user's when it began and now runs as root.
class BecomingRoot : public AuthorizationTest {
protected:
    BecomingRoot() {
        controller();
        become(Role::Root);
    }
};

class AsRoot : public VTAuthorizationFiles {};
class AsUser : public VTAuthorizationFiles {};

} // namespace

INSTANTIATE_TEST_SUITE_P(As, VTAuthorizationFiles, testing::Values(Role::User, Role::Root), kNameOfRole);
INSTANTIATE_TEST_SUITE_P(As, AsRoot, testing::Values(Role::Root), kNameOfRole);
INSTANTIATE_TEST_SUITE_P(As, AsUser, testing::Values(Role::User), kNameOfRole);

TEST_P(VTAuthorizationFiles, EveryOperationHasItsToolAndArguments) {
    const auto item = makeFile(file("folder/a name\nand \xFF more"));
    const auto other = file("elsewhere/-rf");
    EXPECT_TRUE(controller().authRemoveFile(item));
    EXPECT_THAT(started(), ElementsAre(ToolRun{"/bin/rm", {"-Rdf", item}}));
    EXPECT_TRUE(controller().authTrashFile(item));
    EXPECT_THAT(started(), ElementsAre(move(item, trash("a name\nand \xFF more"))));
    EXPECT_TRUE(controller().authTrashFolderContents(file("folder")));
    EXPECT_THAT(started(), ElementsAre(move(item, trash("a name\nand \xFF more"))));
    EXPECT_TRUE(controller().authMoveFolderContents(file("folder"), file("elsewhere")));
    EXPECT_THAT(started(), ElementsAre(move(item, file("elsewhere/a name\nand \xFF more"))));
    EXPECT_TRUE(controller().authMoveFile(item, other));
    EXPECT_THAT(started(), ElementsAre(ToolRun{"/bin/mv", {"-f", item, other}}));
    EXPECT_TRUE(controller().authCopyFile(item, other));
    EXPECT_THAT(started(), ElementsAre(ToolRun{"/bin/cp", {"-f", "-p", "-R", item, other}}));
    EXPECT_TRUE(controller().authCreateDir(other));
    EXPECT_THAT(started(), ElementsAre(ToolRun{"/bin/mkdir", {"-p", other}}));
    EXPECT_THAT(console(), IsEmpty());
    EXPECT_THAT(logged(), IsEmpty());
    EXPECT_FALSE(sandbox::exists(other)); // nothing but the tools does the work
    EXPECT_TRUE(sandbox::exists(item));
}

TEST_P(VTAuthorizationFiles, AToolThatIsNotStartedIsSeenByAUserAlone) {
    const auto item = makeFile(file("folder/item"));
    service().onExecute = [](const auto&) { return 7; };
    EXPECT_EQ(controller().authRemoveFile(item), isRoot());
    EXPECT_EQ(controller().authTrashFile(item), isRoot());
    EXPECT_EQ(controller().authTrashFolderContents(file("folder")), isRoot());
    EXPECT_EQ(controller().authMoveFolderContents(file("folder"), file("other")), isRoot());
    EXPECT_EQ(controller().authMoveFile(item, file("other")), isRoot());
    EXPECT_EQ(controller().authCopyFile(item, file("other")), isRoot());
    EXPECT_EQ(controller().authCreateDir(file("other")), isRoot());
    EXPECT_EQ(started().size(), 7U);
}

TEST_P(AsUser, WithoutRightsNothingIsStarted) {
    const auto item = makeFile(file("folder/item"));
    service().onCopyRights = [](const auto&) { return FakeAuthorization::kDenied; };
    EXPECT_FALSE(controller().authRemoveFile(item));
    EXPECT_FALSE(controller().authTrashFile(item));
    EXPECT_FALSE(controller().authTrashFolderContents(file("folder"), true));
    EXPECT_FALSE(controller().authMoveFolderContents(file("folder"), file("other")));
    EXPECT_FALSE(controller().authMoveFile(item, file("other")));
    EXPECT_FALSE(controller().authCopyFile(item, file("other")));
    EXPECT_FALSE(controller().authCreateDir(file("other")));
    EXPECT_THAT(started(), IsEmpty());
}

// Root looks for /bin/rm alone before it starts it.
TEST_P(VTAuthorizationFiles, AMissingToolIsSeenWhereItIsLookedFor) {
    class WithoutTools : public FailingFileManager {
    public:
        using FailingFileManager::FailingFileManager;
        bool fileExists(const std::string& path) override {
            return !path.starts_with("/bin/") && FailingFileManager::fileExists(path);
        }
    };
    auto services = platform::current();
    services.fileManager = std::make_shared<WithoutTools>(services.fileManager);
    const platform::ScopedPlatform scope(services);
    const auto item = makeFile(file("folder/item"));
    auto expectMissing = [](const std::string& tool) {
        EXPECT_EQ(console().back(), "Unable to execute task: path " + tool + " doesn't exist");
    };
    EXPECT_FALSE(controller().authRemoveFile(item));
    expectMissing("/bin/rm");
    EXPECT_EQ(controller().authTrashFolderContents(file("folder"), true), false);
    expectMissing(isRoot() ? "/bin/rm" : "/bin/mv");
    const auto lines = console().size();
    EXPECT_EQ(controller().authMoveFile(item, file("other")), isRoot());
    EXPECT_EQ(controller().authCopyFile(item, file("other")), isRoot());
    EXPECT_EQ(controller().authCreateDir(file("other")), isRoot());
    EXPECT_EQ(console().size(), isRoot() ? lines : lines + 3);
    EXPECT_EQ(started().size(), isRoot() ? 3U : 0U);
}

TEST_P(VTAuthorizationFiles, AbsentPathsAreTold) {
    const auto item = makeFile(file("item"));
    EXPECT_FALSE(controller().authMoveFile(std::nullopt, item));
    EXPECT_FALSE(controller().authMoveFile(item, std::nullopt));
    EXPECT_FALSE(controller().authMoveFile(std::nullopt, std::nullopt));
    EXPECT_FALSE(controller().authMoveFile("/", std::nullopt)); // before the guard
    EXPECT_FALSE(controller().authCopyFile(std::nullopt, item));
    EXPECT_FALSE(controller().authCopyFile(item, std::nullopt));
    EXPECT_FALSE(controller().authTrashFile(std::nullopt));
    EXPECT_THAT(
        console(),
        ElementsAre("Error in authMoveFile: old path is null", "Error in authMoveFile: new path is null",
                    "Error in authMoveFile: old path is null", "Error in authMoveFile: new path is null",
                    "Error in authCopyFile: old path is null", "Error in authCopyFile: new path is null",
                    "Error in authMoveFile: old path is null"));
    EXPECT_TRUE(controller().authTrashFolderContents(std::nullopt)); // nothing in it
    EXPECT_TRUE(controller().authMoveFolderContents(std::nullopt, item));
    EXPECT_THAT(started(), IsEmpty());
    EXPECT_FALSE(sandbox::exists(home(".Trash")));
}

TEST_P(VTAuthorizationFiles, NoToolGetsAPathThatIsNone) {
    std::filesystem::current_path(sandbox::folder());
    const std::string cut = makeFile(file("item")) + std::string("\0x", 2);
    makeFile(file("-rf"));
    const std::string reason = " is not an absolute path.";
    for (const auto& path : {Path("item"), Path("-rf"), Path("./item"), Path("."), Path(cut)}) {
        EXPECT_FALSE(controller().authRemoveFile(path));
        EXPECT_FALSE(controller().authTrashFile(path));
        EXPECT_FALSE(controller().authMoveFile(path, file("other")));
        EXPECT_FALSE(controller().authMoveFile(file("item"), path));
        EXPECT_FALSE(controller().authCopyFile(path, file("other")));
        EXPECT_FALSE(controller().authCopyFile(file("item"), path));
        EXPECT_FALSE(controller().authCreateDir(path));
        const auto lines = console();
        ASSERT_EQ(lines.size() % 7, 0U);
        std::size_t line = lines.size() - 7;
        for (const char* tool :
             {"/bin/rm", "/bin/mv", "/bin/mv", "/bin/mv", "/bin/cp", "/bin/cp", "/bin/mkdir"}) {
            EXPECT_EQ(lines[line++], std::string("Unable to run ") + tool + " because " + *path + reason);
        }
    }
    for (const auto& path : {Path(""), Path()}) {
        const auto before = console().size();
        EXPECT_FALSE(controller().authRemoveFile(path));
        EXPECT_FALSE(controller().authCreateDir(path));
        EXPECT_EQ(console().size(), before + 2);
    }
    EXPECT_EQ(console().back(), "Unable to run /bin/mkdir because (null)" + reason);

    const auto before = console().size();
    makeFile(file("folder/a"));
    makeFile(file("folder/b"));
    EXPECT_FALSE(controller().authTrashFolderContents("folder", true));
    EXPECT_FALSE(controller().authMoveFolderContents("folder", file("other")));
    EXPECT_FALSE(controller().authMoveFolderContents(file("folder"), "other"));
    EXPECT_EQ(console().size(), before + 6); // one for each item
    EXPECT_THAT(started(), IsEmpty());
}

TEST_P(VTAuthorizationFiles, WhatIsNotThereIsNotMovedOrCopied) {
    ::symlink("nowhere", file("dangling").c_str());
    for (const auto& path : {file("missing"), file("dangling")}) {
        EXPECT_FALSE(controller().authMoveFile(path, file("other")));
        EXPECT_FALSE(controller().authCopyFile(path, file("other")));
        EXPECT_FALSE(controller().authTrashFile(path));
    }
    EXPECT_THAT(started(), IsEmpty());
    EXPECT_THAT(console(), IsEmpty());
    EXPECT_FALSE(sandbox::exists(home(".Trash")));
    EXPECT_TRUE(controller().authRemoveFile(file("missing"))); // the tool will see
    EXPECT_THAT(started(), ElementsAre(ToolRun{"/bin/rm", {"-Rdf", file("missing")}}));
}

TEST_P(VTAuthorizationFiles, CopiesAndNewFoldersAreNotGuarded) {
    sandbox::makeFolder(home("Library"));
    const auto library = home("Library");
    EXPECT_TRUE(controller().authCopyFile(library, file("copy")));
    EXPECT_TRUE(controller().authCopyFile(makeFile(file("item")), library));
    EXPECT_TRUE(controller().authCreateDir(library)); // nor looked for
    EXPECT_TRUE(controller().authMoveFile(file("item"), library));
    EXPECT_THAT(started(), ElementsAre(ToolRun{"/bin/cp", {"-f", "-p", "-R", library, file("copy")}},
                                       ToolRun{"/bin/cp", {"-f", "-p", "-R", file("item"), library}},
                                       ToolRun{"/bin/mkdir", {"-p", library}}, move(file("item"), library)));
}

TEST_P(VTAuthorizationFiles, AFileInTheHomeIsNotGuarded) {
    EXPECT_FALSE(controller().authRemoveFile(sandbox::home()));
    EXPECT_THAT(console(), ElementsAre("Unable to delete path " + sandbox::home() +
                                       " because it is a system directory."));
    EXPECT_TRUE(controller().authRemoveFile(home("a.txt")));
    EXPECT_THAT(started(), ElementsAre(ToolRun{"/bin/rm", {"-Rdf", home("a.txt")}}));
}

TEST_P(VTAuthorizationFiles, AUserWaitsAMomentForANewFolder) {
    controller().authStart();
    auto pauses = [&](const auto& work) {
        rusage before{};
        rusage after{};
        ::getrusage(RUSAGE_THREAD, &before);
        work();
        ::getrusage(RUSAGE_THREAD, &after);
        return after.ru_nvcsw - before.ru_nvcsw;
    };
    EXPECT_GE(pauses([&] { EXPECT_TRUE(controller().authCreateDir(file("new"))); }), isRoot() ? 0 : 1);
    service().onExecute = [](const auto&) { return 7; };
    EXPECT_EQ(controller().authCreateDir(file("new")), isRoot());
}

TEST_P(VTAuthorizationFiles, ANameThatIsTakenInTheTrashGetsTheTime) {
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

TEST_P(VTAuthorizationFiles, TheTimeInATrashNameIsLocal) {
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

TEST_P(VTAuthorizationFiles, ADatedNameIsNotLookedForAgain) {
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

TEST_P(VTAuthorizationFiles, TheTrashIsMadeForWhatGoesThere) {
    const auto mask = ::umask(0);
    const auto item = makeFile(file("item"));
    EXPECT_TRUE(controller().authTrashFile(item));
    EXPECT_EQ(modeOf(home(".Trash")), 0700U);
    ASSERT_EQ(::chmod(home(".Trash").c_str(), 0750), 0);
    EXPECT_TRUE(controller().authTrashFile(item));
    EXPECT_EQ(modeOf(home(".Trash")), 0750U); // one that is there stays as it is
    ::umask(mask);
}

TEST_P(AsRoot, TheTrashBelongsToTheUser) {
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

TEST_P(VTAuthorizationFiles, WithoutATrashNothingGoesThere) {
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

TEST_P(VTAuthorizationFiles, WithoutAHomeThereIsNoTrash) {
    sandbox::users().home.reset();
    sandbox::users().homes.clear();
    EXPECT_FALSE(controller().authTrashFile(makeFile(file("item"))));
    EXPECT_THAT(console(), ElementsAre("Error in authMoveFile: new path is null"));
    EXPECT_THAT(started(), IsEmpty());
}

TEST_P(AsUser, NothingIsDeletedInPlaceOfTrashing) {
    const auto item = makeFile(file("folder/item"));
    EXPECT_TRUE(controller().authTrashFile(item, true));
    EXPECT_TRUE(controller().authTrashFolderContents(file("folder"), true));
    EXPECT_THAT(started(), ElementsAre(toTrash(item), toTrash(item)));
}

TEST_P(AsUser, NothingIsDeletedInPlaceOfTrashingWithoutAHomeEither) {
    sandbox::users().home.reset();
    controller(); // finds none
    sandbox::users().home = sandbox::home();
    const auto item = makeFile(file("folder/item"));
    EXPECT_TRUE(controller().authTrashFile(item, true));
    EXPECT_TRUE(controller().authTrashFolderContents(file("folder"), true));
    EXPECT_THAT(started(), ElementsAre(toTrash(item), toTrash(item)));
}

TEST_P(AsRoot, DeletingInPlaceOfTrashingRemovesWhatIsInTheTrash) {
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

TEST_P(AsRoot, FolderContentsAreRemovedUnguarded) {
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

TEST_F(BecomingRoot, TrashesInTheHomeItBeganWith) {
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

TEST_P(VTAuthorizationFiles, AnEmptyFolderIsDone) {
    sandbox::makeFolder(file("empty"));
    fileManager().listingFailure = [](const std::string& path) {
        return path.ends_with("unreadable") ? std::make_error_code(std::errc::permission_denied)
                                            : std::error_code();
    };
    makeFile(file("unreadable/item"));
    for (const auto& folder : {file("empty"), file("unreadable"), file("missing"), makeFile(file("file"))}) {
        EXPECT_TRUE(controller().authTrashFolderContents(folder)) << folder;
        EXPECT_TRUE(controller().authTrashFolderContents(folder, true)) << folder;
        EXPECT_TRUE(controller().authMoveFolderContents(folder, file("other"))) << folder;
    }
    EXPECT_THAT(started(), IsEmpty());
    EXPECT_THAT(console(), IsEmpty());
    EXPECT_FALSE(sandbox::exists(home(".Trash")));
}

TEST_P(VTAuthorizationFiles, ContentsAreHandledInNameOrder) {
    const auto c = makeFile(file("folder/c"));
    const auto a = makeFile(file("folder/A"));
    const auto b = makeFile(file("folder/b/inside")).substr(0, file("folder/b").size());
    EXPECT_TRUE(controller().authTrashFolderContents(file("folder")));
    EXPECT_THAT(started(), ElementsAre(toTrash(a), toTrash(b), toTrash(c)));
    EXPECT_TRUE(controller().authMoveFolderContents(file("folder/"), file("to/"))); // no slash is doubled
    EXPECT_THAT(started(), ElementsAre(move(a, file("to/A")), move(b, file("to/b")), move(c, file("to/c"))));
    EXPECT_FALSE(sandbox::exists(file("to"))); // neither looked for nor made
}

TEST_P(VTAuthorizationFiles, OneThatFailsDoesNotStopTheOthers) {
    const auto a = makeFile(file("folder/a"));
    const auto b = file("folder/b");
    const auto c = makeFile(file("folder/c"));
    std::vector<ToolRun> expected{toTrash(a), toTrash(c)};
    if (isRoot()) { // whom no failing tool is told
        ASSERT_EQ(::symlink("nowhere", b.c_str()), 0);
    } else {
        makeFile(b);
        failFor(b);
        expected.insert(expected.begin() + 1, toTrash(b));
    }
    EXPECT_FALSE(controller().authTrashFolderContents(file("folder")));
    EXPECT_EQ(started(), expected);
    EXPECT_FALSE(controller().authMoveFolderContents(file("folder"), file("to")));
    EXPECT_EQ(started().size(), expected.size());
    EXPECT_THAT(console(), IsEmpty());
    EXPECT_FALSE(controller().authMoveFolderContents(file("folder"), std::nullopt));
    EXPECT_THAT(console(), ElementsAre("Error in authMoveFile: new path is null",
                                       "Error in authMoveFile: new path is null",
                                       "Error in authMoveFile: new path is null"));
}

TEST_P(VTAuthorizationFiles, EachItemIsGuardedAgain) {
    const auto a = makeFile(file("folder/a"));
    const auto home = file("folder/home");
    const auto z = makeFile(file("folder/z"));
    sandbox::makeFolder(home);
    sandbox::users().home = home;
    sandbox::users().homes["tester"] = home;
    EXPECT_FALSE(controller().authTrashFolderContents(file("folder")));
    EXPECT_THAT(started(), ElementsAre(move(a, home + "/.Trash/a"), move(z, home + "/.Trash/z")));
    EXPECT_FALSE(controller().authMoveFolderContents(file("folder"), file("to")));
    EXPECT_THAT(started(), ElementsAre(move(a, file("to/a")), move(z, file("to/z"))));
    EXPECT_THAT(console(), ElementsAre("Unable to trash path " + home + " because it is a system directory.",
                                       "Unable to move path " + home + " because it is a system directory."));
}

TEST_P(VTAuthorizationFiles, ManyItemsAreHandledOneByOne) {
    const int count = isRoot() ? 10'000 : 200;
    std::set<std::string> names;
    for (int i = 0; i < count; ++i) {
        const auto name = "line\nbreak \xFF" + std::to_string(i);
        names.insert(name);
        makeFile(file("many/" + name));
    }
    for (bool deleteOnRootAccount : {false, true}) {
        EXPECT_TRUE(controller().authTrashFolderContents(file("many"), deleteOnRootAccount));
        const auto runs = started();
        EXPECT_EQ(runs.size(), names.size());
        std::set<std::string> handled;
        for (const auto& run : runs) {
            const bool isMoved = !deleteOnRootAccount || !isRoot();
            const auto& item = run.arguments.at(isMoved ? 1 : 2);
            const auto name = item.substr(file("many/").size());
            EXPECT_EQ(run, isMoved ? move(item, trash(name)) : (ToolRun{"/bin/rm", {"-R", "-f", item}}));
            handled.insert(name);
        }
        EXPECT_EQ(handled, names);
    }
    EXPECT_TRUE(controller().authMoveFolderContents(file("many"), file("to")));
    EXPECT_EQ(started().size(), names.size());
    EXPECT_THAT(console(), IsEmpty());
}
