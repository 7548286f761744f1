#include "VTLocalPaths.h"

#include "TestSandbox.h"

#include <cstdint>
#include <cstdlib>
#include <ctime>
#include <gmock/gmock.h>
#include <set>
#include <sys/stat.h>

using platform::SearchPathDirectory;
using platform::SearchPathDomain;
using Path = VTLocalPaths::Path;

namespace {

// The folders of the first platform: nobody's of this machine, and only their names are compared.
class VTLocalPathsTest : public testing::Test {
protected:
    VTLocalPathsTest() {
        unsetenv("VANTOREL_ROOT");
        sandbox::users().home = "/Users/alice";
        sandbox::users().login = "alice";
        sandbox::users().console = "alice";
        sandbox::users().homes["alice"] = "/Users/alice";
    }

    // From here on the process is root's.
    static void becomeRoot() {
        sandbox::users().userID = 0;
        sandbox::users().login = "root";
        sandbox::users().home = "/root";
    }
};

// What every getter gives for a home, and for a top folder of the machine ("" for the real one).
void expectGetters(const std::string& home, const std::string& machine) {
    using Paths = VTLocalPaths;
    EXPECT_EQ(Paths::applicationDirectory(true), home + "/Applications");
    EXPECT_EQ(Paths::applicationDirectory(false), machine + "/Applications");
    EXPECT_EQ(Paths::adminApplicationDirectory(true), home + "/Applications/Utilities");
    EXPECT_EQ(Paths::adminApplicationDirectory(false), machine + "/Applications/Utilities");
    EXPECT_EQ(Paths::documentDirectory(true), home + "/Documents");
    EXPECT_EQ(Paths::documentDirectory(false), std::nullopt);
    EXPECT_EQ(Paths::libraryDirectory(true), home + "/Library");
    EXPECT_EQ(Paths::libraryDirectory(false), machine + "/Library");
    EXPECT_EQ(Paths::prefsDirectory(true), home + "/Library/Preferences");
    EXPECT_EQ(Paths::prefsDirectory(false), machine + "/Library/Preferences");
    EXPECT_EQ(Paths::cacheDirectory(true), home + "/Library/Caches");
    EXPECT_EQ(Paths::cacheDirectory(false), machine + "/Library/Caches");
    EXPECT_EQ(Paths::appSupportDirectory(true), home + "/Library/Application Support");
    EXPECT_EQ(Paths::appSupportDirectory(false), machine + "/Library/Application Support");
    EXPECT_EQ(Paths::logDirectory(true), home + "/Library/Logs");
    EXPECT_EQ(Paths::logDirectory(false), machine + "/Library/Logs");
    EXPECT_EQ(Paths::movieDirectory(), home + "/Movies");
    EXPECT_EQ(Paths::desktopDirectory(), home + "/Desktop");
    EXPECT_EQ(Paths::systemLibraryDirectory(), machine + "/System/Library");
    EXPECT_EQ(Paths::localDocumentationDirectory(), machine + "/Library/Documentation");
    EXPECT_EQ(Paths::userDirectory(), home);
    EXPECT_EQ(Paths::trashDirectory(), home + "/.Trash");
}

// What the guard says to a path, with exactMatch and without.
struct Verdict {
    bool exact;
    bool withPrefixes;
    bool operator==(const Verdict&) const = default;
};
void PrintTo(const Verdict& verdict, std::ostream* stream) {
    *stream << "exact " << verdict.exact << ", with prefixes " << verdict.withPrefixes;
}
constexpr Verdict kProtected{true, true};
constexpr Verdict kByPrefix{false, true};
constexpr Verdict kFree{false, false};

Verdict guard(std::string_view path) {
    const bool withPrefixes = VTLocalPaths::isPathSystemDirectory(path, false);
    EXPECT_EQ(VTLocalPaths::isPathSystemDirectory(path), withPrefixes) << path;
    return {VTLocalPaths::isPathSystemDirectory(path, true), withPrefixes};
}

// The twenty paths that are compared with, in their order; absent where there is no such folder.
std::vector<Path> guardedPaths(const std::string& home, const std::string& machine) {
    return {home + "/Applications",
            machine + "/Applications",
            home + "/Applications/Utilities",
            machine + "/Applications/Utilities",
            home + "/Documents",
            std::nullopt,
            home + "/Library",
            machine + "/Library",
            home + "/Library/Preferences",
            machine + "/Library/Preferences",
            home + "/Library/Caches",
            machine + "/Library/Caches",
            home + "/Library/Application Support",
            machine + "/Library/Application Support",
            home + "/Desktop",
            home,
            machine + "/System/Library",
            machine + "/Library/Documentation",
            "/Users/Shared",
            "/Volumes"};
}

// Each of them is protected as it stands, and not the folder within, nor with another letter, nor a
// letter less.
void expectGuarded(const std::string& home, const std::string& machine) {
    const auto paths = guardedPaths(home, machine);
    ASSERT_EQ(paths.size(), 20U);
    for (const auto& path : paths) {
        if (path) {
            EXPECT_EQ(guard(*path), kProtected) << *path;
            EXPECT_FALSE(guard(*path + "/content").exact) << *path;
            EXPECT_FALSE(guard(*path + "x").exact) << *path;
            EXPECT_FALSE(guard(path->substr(0, path->size() - 1)).exact) << *path;
            EXPECT_FALSE(guard(*path + "/").exact) << *path; // the slash takes a letter with it
            EXPECT_EQ(guard(*path + "x/"), kProtected) << *path;
        }
    }
}

} // namespace

TEST_F(VTLocalPathsTest, GettersGiveTheFoldersOfBothDomains) {
    expectGetters("/Users/alice", "");
}

TEST_F(VTLocalPathsTest, GettersGiveTheFoldersOfTheConsoleUserToRoot) {
    becomeRoot();
    expectGetters("/Users/alice", "");
}

TEST_F(VTLocalPathsTest, GettersGiveItsOwnFoldersToRootWithNobodyAtTheConsole) {
    becomeRoot();
    sandbox::users().console.reset();
    expectGetters("/root", "");
    sandbox::users().console = "loginwindow";
    expectGetters("/root", "");
}

TEST_F(VTLocalPathsTest, GettersFollowTheRootFolderOfTheSuite) {
    for (const char* root : {"/some/where", "/some/where/", "/some/where///"}) {
        setenv("VANTOREL_ROOT", root, 1);
        expectGetters("/Users/alice", "/some/where");
    }
}

TEST_F(VTLocalPathsTest, GettersWithoutAHomeGiveNothing) {
    using Paths = VTLocalPaths;
    sandbox::users().home.reset();
    auto expectNothing = [] {
        for (auto getter : {Paths::applicationDirectory, Paths::adminApplicationDirectory,
                            Paths::documentDirectory, Paths::libraryDirectory, Paths::prefsDirectory,
                            Paths::cacheDirectory, Paths::appSupportDirectory, Paths::logDirectory}) {
            EXPECT_EQ(getter(true), std::nullopt);
        }
        for (auto getter :
             {Paths::movieDirectory, Paths::desktopDirectory, Paths::trashDirectory, Paths::userDirectory}) {
            EXPECT_EQ(getter(), std::nullopt);
        }
        EXPECT_EQ(Paths::libraryDirectory(false), "/Library");
    };
    expectNothing();
    becomeRoot();
    sandbox::users().console = "bob"; // of whom nothing else is known
    expectNothing();
    EXPECT_EQ(guard("/Users/alice"), kFree);
    EXPECT_EQ(guard("/Library"), kProtected);
}

TEST_F(VTLocalPathsTest, NothingIsRemembered) {
    EXPECT_EQ(VTLocalPaths::libraryDirectory(true), "/Users/alice/Library");
    sandbox::users().home = "/Users/bob";
    setenv("VANTOREL_ROOT", "/elsewhere", 1);
    EXPECT_EQ(VTLocalPaths::libraryDirectory(true), "/Users/bob/Library");
    EXPECT_EQ(VTLocalPaths::libraryDirectory(false), "/elsewhere/Library");
}

TEST_F(VTLocalPathsTest, LookupTakesTheFirstPathOfTheDomain) {
    const auto library = SearchPathDirectory::Library;
    EXPECT_EQ(VTLocalPaths::pathForDirectory(library, SearchPathDomain::User), "/Users/alice/Library");
    EXPECT_EQ(VTLocalPaths::pathForDirectory(library, SearchPathDomain::Local), "/Library");
    EXPECT_EQ(VTLocalPaths::pathForDirectory(library, SearchPathDomain::System), "/System/Library");
    EXPECT_EQ(VTLocalPaths::pathForDirectory(SearchPathDirectory::Movies, SearchPathDomain::Local),
              std::nullopt);
    EXPECT_EQ(VTLocalPaths::pathForDirectory(SearchPathDirectory::Documentation, SearchPathDomain::System),
              std::nullopt);
}

TEST_F(VTLocalPathsTest, LookupMapsRootsHomeInTheUserDomainAlone) {
    becomeRoot();
    const auto library = SearchPathDirectory::Library;
    EXPECT_EQ(VTLocalPaths::pathForDirectory(library, SearchPathDomain::User), "/Users/alice/Library");
    EXPECT_EQ(VTLocalPaths::pathForDirectory(library, SearchPathDomain::Local), "/Library");
    EXPECT_EQ(VTLocalPaths::pathForDirectory(library, SearchPathDomain::System), "/System/Library");
    const auto userAndLocal = static_cast<SearchPathDomain>(1 | 2); // not exactly the user's
    EXPECT_EQ(VTLocalPaths::pathForDirectory(library, userAndLocal), "/var/root/Library");
}

TEST_F(VTLocalPathsTest, MappingDropsNineAndSixteenCharacters) {
    using Paths = VTLocalPaths;
    becomeRoot();
    EXPECT_EQ(Paths::pathInUserDirectory("/var/root/Library"), "/Users/alice/Library");
    EXPECT_EQ(Paths::pathInUserDirectory("/var/root"), "/Users/alice");
    EXPECT_EQ(Paths::pathInUserDirectory("/var/rooted"), "/Users/alice/ed");
    // One character short of the prefix: the "t" stays.
    EXPECT_EQ(Paths::pathInUserDirectory("/private/var/root/Library"), "/Users/alice/t/Library");
    EXPECT_EQ(Paths::pathInUserDirectory("/private/var/root"), "/Users/alice/t");
    // The second cut sees what the first has left.
    EXPECT_EQ(Paths::pathInUserDirectory("/var/root/private/var/root/x"), "/Users/alice/t/x");
    EXPECT_EQ(Paths::pathInUserDirectory("/elsewhere/x"), "/Users/alice/elsewhere/x");
    EXPECT_EQ(Paths::pathInUserDirectory("/Var/root/x"), "/Users/alice/Var/root/x");
    sandbox::users().homes.clear();
    EXPECT_EQ(Paths::pathInUserDirectory("/var/root/Library"), std::nullopt);
}

TEST_F(VTLocalPathsTest, ServesTheConsoleUserWhenRoot) {
    EXPECT_EQ(VTLocalPaths::username(), "alice");
    sandbox::users().console = "bob";
    sandbox::users().homes["bob"] = "/Users/bob";
    EXPECT_EQ(VTLocalPaths::currentConsoleUser(), "bob");
    EXPECT_EQ(VTLocalPaths::username(), "alice");
    EXPECT_EQ(VTLocalPaths::userDirectory(), "/Users/alice");
    becomeRoot();
    EXPECT_EQ(VTLocalPaths::username(), "bob");
    EXPECT_EQ(VTLocalPaths::userDirectory(), "/Users/bob");
}

TEST_F(VTLocalPathsTest, KnowsNobodyAtTheLoginScreen) {
    for (const auto& console : {Path("loginwindow"), Path()}) {
        sandbox::users().userID = 501;
        sandbox::users().console = console;
        EXPECT_EQ(VTLocalPaths::currentConsoleUser(), std::nullopt);
        EXPECT_EQ(VTLocalPaths::username(), "alice");
        sandbox::users().userID = 0;
        EXPECT_EQ(VTLocalPaths::currentConsoleUser(), std::nullopt);
        EXPECT_EQ(VTLocalPaths::username(), std::nullopt);
        EXPECT_EQ(VTLocalPaths::userDirectory(), "/Users/alice"); // the process's own
    }
    sandbox::users().console = "LoginWindow"; // somebody's name
    EXPECT_EQ(VTLocalPaths::currentConsoleUser(), "LoginWindow");
}

TEST_F(VTLocalPathsTest, AUserWithoutANameHasNone) {
    sandbox::users().login.reset();
    EXPECT_EQ(VTLocalPaths::username(), std::nullopt);
}

TEST_F(VTLocalPathsTest, DarwinCacheDirectoryIsTheDesktopsCacheFolder) {
    EXPECT_EQ(VTLocalPaths::darwinCacheDirectory(), std::nullopt);
    setenv("XDG_CACHE_HOME", sandbox::folder().c_str(), 1);
    EXPECT_EQ(VTLocalPaths::darwinCacheDirectory(), sandbox::folder());
}

TEST_F(VTLocalPathsTest, TempFileIsANewNameInTheTemporaryFolder) {
    const auto folder = sandbox::folder() + "/temporary";
    sandbox::makeFolder(folder);
    chmod(folder.c_str(), 0700);
    setenv("TMPDIR", (folder + "/").c_str(), 1);
    EXPECT_EQ(VTLocalPaths::tempDirectory(), folder);
    const auto form = folder + "/[0-9A-F-]{36}[a-z0-9]{8}";
    std::set<std::string> seen;
    for (int i = 0; i < 100; ++i) {
        auto file = VTLocalPaths::tempFile().value();
        EXPECT_THAT(file, testing::MatchesRegex(form));
        EXPECT_FALSE(sandbox::exists(file));
        seen.insert(file);
    }
    EXPECT_EQ(seen.size(), 100U);
}

TEST_F(VTLocalPathsTest, UuidIsFreshOnEveryCall) {
    EXPECT_EQ(VTLocalPaths::uuid().size(), 36U);
    EXPECT_NE(VTLocalPaths::uuid(), VTLocalPaths::uuid());
}

TEST_F(VTLocalPathsTest, RandomStringIsAsLongAsAskedFor) {
    EXPECT_EQ(VTLocalPaths::randomString(0), "");
    for (std::size_t length : {1U, 8U, 1000U}) {
        auto text = VTLocalPaths::randomString(length);
        EXPECT_EQ(text.size(), length);
        EXPECT_EQ(text.find_first_not_of("abcdefghijklmnopqrstuvwxyz0123456789"), std::string::npos) << text;
    }
    // All characters of the alphabet come up, the last ones too.
    const auto longText = VTLocalPaths::randomString(20'000);
    EXPECT_EQ(std::set<char>(longText.begin(), longText.end()).size(), 36U);
}

TEST_F(VTLocalPathsTest, RandomStringIsDrawnFromTheSeededGenerator) {
    // The seed is not to be seen, but what is drawn after it is: the same numbers make the same text.
    auto text = VTLocalPaths::randomString(8);
    const int next = std::rand();
    bool isFound = false;
    const auto clock = static_cast<std::uint64_t>(std::clock());
    const auto time = static_cast<std::uint64_t>(std::time(nullptr));
    for (std::uint64_t ticks = clock; !isFound && ticks + 100'000 > clock; --ticks) {
        for (std::uint64_t seconds = time; !isFound && seconds + 2 > time; --seconds) {
            std::srand(static_cast<unsigned>(ticks * seconds));
            std::string drawn;
            for (int i = 0; i < 8; ++i) {
                drawn += "abcdefghijklmnopqrstuvwxyz0123456789"[std::rand() % 36];
            }
            isFound = drawn == text && std::rand() == next;
        }
    }
    EXPECT_TRUE(isFound) << text;
}

TEST_F(VTLocalPathsTest, RandomStringSeedsTheGeneratorEvenForNothing) {
    std::srand(1);
    const int first = std::rand();
    std::srand(1);
    VTLocalPaths::randomString(0);
    EXPECT_NE(std::rand(), first);
}

TEST_F(VTLocalPathsTest, GuardProtectsTwentyPaths) {
    expectGuarded("/Users/alice", "");
    setenv("VANTOREL_ROOT", "/some/where", 1);
    expectGuarded("/Users/alice", "/some/where");
    EXPECT_EQ(guard("/Applications"), kFree); // it goes by the getters
    unsetenv("VANTOREL_ROOT");
    becomeRoot();
    expectGuarded("/Users/alice", "");
    EXPECT_EQ(guard("/root"), kFree);
}

TEST_F(VTLocalPathsTest, GuardProtectsTheTopFolder) {
    EXPECT_EQ(guard("/"), kProtected);
    for (const char* path : {"", "a", "//", "/a", "a/", "é/", "/é", "///", "/a/", "/é/"}) {
        EXPECT_EQ(guard(path), kFree) << path;
    }
}

TEST_F(VTLocalPathsTest, GuardCountsUtf16UnitsForTheShortestPath) {
    sandbox::users().home = "/😀"; // three units
    EXPECT_EQ(guard("/😀"), kProtected);
    sandbox::users().home = "/é"; // three bytes, two units
    EXPECT_EQ(guard("/é"), kFree);
}

TEST_F(VTLocalPathsTest, GuardCutsTheCharacterBeforeATrailingSlash) {
    EXPECT_EQ(guard("/Volumes/"), kFree);
    EXPECT_EQ(guard("/Users/Shared/"), kFree);
    EXPECT_EQ(guard("/Users/alice/"), kFree);
    EXPECT_EQ(guard("/Applications/"), kFree);
    EXPECT_EQ(guard("/Volumes!/"), kProtected);
    EXPECT_EQ(guard("/Volumes//"), kProtected); // one cut only, of both slashes
    EXPECT_EQ(guard("/Volumes///"), kFree);     // "/Volumes/" is left, and stays
    EXPECT_EQ(guard("/usr/"), kFree);           // "/us"
    EXPECT_EQ(guard("/usr//"), kByPrefix);
}

TEST_F(VTLocalPathsTest, GuardCutsByUtf16Units) {
    for (const char* last : {"x", "é", "日", "\u0301"}) {
        EXPECT_EQ(guard("/Volumes" + std::string(last) + "/"), kProtected) << last;
    }
    // A character of two units loses one of them.
    EXPECT_EQ(guard("/Volumes😀/"), kFree);
    EXPECT_EQ(guard("/usr😀/"), kByPrefix);
    // Bytes that are no text count one by one.
    EXPECT_EQ(guard("/Volumes\xFF/"), kProtected);
    EXPECT_EQ(guard("/Volumes\x80\x80/"), kFree);
}

TEST_F(VTLocalPathsTest, GuardComparesTheTextAsGiven) {
    for (const char* path :
         {"/applications", "/APPLICATIONS", "//Applications", "/Applications/.", "/Users/../Applications",
          "/Users//alice", "Applications", "/volumes", "/users/shared"}) {
        EXPECT_EQ(guard(path), kFree) << path;
    }
}

TEST_F(VTLocalPathsTest, GuardProtectsAHomeAndNotAllThatIsInIt) {
    EXPECT_EQ(guard("/Users/alice"), kProtected);
    EXPECT_EQ(guard("/Users/alice/Documents"), kProtected);
    for (const char* path : {"/Users/alice/Documents/x", "/Users/alice/Movies", "/Users/alice/.Trash",
                             "/Users/alice/Library/Logs", "/Library/Logs", "/Library/Documentation/x",
                             "/Users", "/Users/bob", "/Applications/Tool.app", "/Volumes/Backup"}) {
        EXPECT_EQ(guard(path), kFree) << path;
    }
}

TEST_F(VTLocalPathsTest, GuardProtectsSystemPrefixesUnlessExact) {
    for (const char* path : {"/usr", "/var", "/private/var", "/System", "/usr/local/bin/tool",
                             "/private/var/log", "/usrlocal", "/various", "/private/variable", "/SystemX",
                             "/System/Library/x", "/var/root", "/private/var/root"}) {
        EXPECT_EQ(guard(path), kByPrefix) << path;
    }
    EXPECT_EQ(guard("/System/Library"), kProtected);
    for (const char* path : {"/us", "/private", "/private/va", "/Syste", "/system", "/Usr", "usr", "/tmp",
                             "/etc", "/home/usr", " /usr"}) {
        EXPECT_EQ(guard(path), kFree) << path;
    }
}

TEST_F(VTLocalPathsTest, BackupVolumesHoldAStoreOfBackups) {
    for (const char* path : {"/Volumes/Backup/Backups.backupdb/mac/x", "/Volumes/Backup/Backups.backupdb",
                             "/Volumes/Backup/Backups.backupdb/", "/Volumes/Backups.backupdb",
                             "/Volumes//Backups.backupdb", "/Volumes/a/b/Backups.backupdb/c"}) {
        EXPECT_TRUE(VTLocalPaths::isPathOnTimeMachineVolume(path)) << path;
    }
    for (const char* path :
         {"/Backups.backupdb/x", "/Volumes/B/Backups.backupdb2", "/Volumes/B/XBackups.backupdb",
          "/Volumes/B/backups.backupdb", "/Volumes/B/x", "/Volumes", "/Volumes/", "",
          "Volumes/B/Backups.backupdb", "/volumes/B/Backups.backupdb", "/VolumesX/Backups.backupdb",
          " /Volumes/B/Backups.backupdb"}) {
        EXPECT_FALSE(VTLocalPaths::isPathOnTimeMachineVolume(path)) << path;
    }
}

TEST_F(VTLocalPathsTest, AppendingJoinsWithOneSlash) {
    EXPECT_EQ(VTLocalPaths::appending("/a", "b"), "/a/b");
    EXPECT_EQ(VTLocalPaths::appending("/a/", "b"), "/a/b");
    EXPECT_EQ(VTLocalPaths::appending("/a", "/b"), "/a/b");
    EXPECT_EQ(VTLocalPaths::appending("/a/", "//b/c"), "/a/b/c");
    EXPECT_EQ(VTLocalPaths::appending("/", "b"), "/b");
    EXPECT_EQ(VTLocalPaths::appending("/a", ""), "/a");
    EXPECT_EQ(VTLocalPaths::appending("/a", "/"), "/a");
    EXPECT_EQ(VTLocalPaths::appending(std::nullopt, "b"), std::nullopt);
}
