#include "AuthorizationFixture.h"

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <gmock/gmock.h>
#include <set>
#include <unistd.h>

using testing::ElementsAre;
using testing::IsEmpty;
using Path = VTAuthorization::Path;

namespace {

class VTAuthorizationFiles : public AuthorizationFiles {};
class VTAuthorizationFilesOfUser : public AuthorizationFiles {};

} // namespace

INSTANTIATE_TEST_SUITE_P(As, VTAuthorizationFiles, testing::Values(Role::User, Role::Root), kNameOfRole);
INSTANTIATE_TEST_SUITE_P(As, VTAuthorizationFilesOfUser, testing::Values(Role::User), kNameOfRole);

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

TEST_P(VTAuthorizationFilesOfUser, WithoutRightsNothingIsStarted) {
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

TEST_P(VTAuthorizationFilesOfUser, WaitsAMomentForANewFolder) {
    using std::chrono::steady_clock;
    auto startedAt = steady_clock::time_point::max();
    service().onExecute = [&](const auto&) {
        startedAt = steady_clock::now();
        return 0;
    };
    EXPECT_TRUE(controller().authCreateDir(file("new")));
    EXPECT_GE(steady_clock::now() - startedAt, std::chrono::microseconds(500));
    service().onExecute = [](const auto&) { return 7; };
    EXPECT_FALSE(controller().authCreateDir(file("new")));
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
