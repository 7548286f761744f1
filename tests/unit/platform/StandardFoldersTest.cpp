#include "StandardFolders.h"

#include "TestSandbox.h"

#include <cstdlib>
#include <gtest/gtest.h>

using platform::searchPathForDirectories;
using Directory = platform::SearchPathDirectory;
using Domain = platform::SearchPathDomain;
using Paths = std::vector<std::string>;

namespace {

// What each folder is called below the top of a domain; null where the domain has none.
struct Row {
    Directory directory;
    const char* user;
    const char* local;
    const char* system;
};

constexpr Row kRows[] = {
    {Directory::Application, "/Applications", "/Applications", nullptr},
    {Directory::AdminApplication, "/Applications/Utilities", "/Applications/Utilities", nullptr},
    {Directory::Library, "/Library", "/Library", "/System/Library"},
    {Directory::Documentation, "/Library/Documentation", "/Library/Documentation", nullptr},
    {Directory::Document, "/Documents", nullptr, nullptr},
    {Directory::Desktop, "/Desktop", nullptr, nullptr},
    {Directory::Caches, "/Library/Caches", "/Library/Caches", nullptr},
    {Directory::ApplicationSupport, "/Library/Application Support", "/Library/Application Support", nullptr},
    {Directory::Movies, "/Movies", nullptr, nullptr},
};

Paths below(const std::string& top, const char* folder) {
    return folder ? Paths{top + folder} : Paths{};
}

void expectTable(const std::string& home, const std::string& machine) {
    for (const auto& row : kRows) {
        SCOPED_TRACE(static_cast<int>(row.directory));
        EXPECT_EQ(searchPathForDirectories(row.directory, Domain::User), below(home, row.user));
        EXPECT_EQ(searchPathForDirectories(row.directory, Domain::Local), below(machine, row.local));
        EXPECT_EQ(searchPathForDirectories(row.directory, Domain::System), below(machine, row.system));
    }
}

} // namespace

TEST(StandardFolders, AreNumberedAsOnTheFirstPlatform) {
    EXPECT_EQ(static_cast<int>(Directory::Application), 1);
    EXPECT_EQ(static_cast<int>(Directory::AdminApplication), 4);
    EXPECT_EQ(static_cast<int>(Directory::Library), 5);
    EXPECT_EQ(static_cast<int>(Directory::Documentation), 8);
    EXPECT_EQ(static_cast<int>(Directory::Document), 9);
    EXPECT_EQ(static_cast<int>(Directory::Desktop), 12);
    EXPECT_EQ(static_cast<int>(Directory::Caches), 13);
    EXPECT_EQ(static_cast<int>(Directory::ApplicationSupport), 14);
    EXPECT_EQ(static_cast<int>(Directory::Movies), 17);
    EXPECT_EQ(static_cast<int>(Domain::User), 1);
    EXPECT_EQ(static_cast<int>(Domain::Local), 2);
    EXPECT_EQ(static_cast<int>(Domain::System), 8);
}

TEST(StandardFolders, LieBelowTheHomeAndTheRootFolder) {
    expectTable(sandbox::home(), sandbox::root());
}

TEST(StandardFolders, OfTheMachineLieAtTheTopWithoutARootFolder) {
    for (const char* root : {"", "/", "//", "relative/folder"}) {
        SCOPED_TRACE(root);
        setenv("VANTOREL_ROOT", root, 1);
        expectTable(sandbox::home(), "");
    }
    unsetenv("VANTOREL_ROOT");
    expectTable(sandbox::home(), "");
}

TEST(StandardFolders, HaveNoSlashToSpare) {
    setenv("VANTOREL_ROOT", "/some/root//", 1);
    sandbox::users().home = "/";
    expectTable("", "/some/root");
}

TEST(StandardFolders, OfRootAreReportedWhereTheFirstPlatformHasThem) {
    sandbox::users().userID = 0;
    expectTable("/var/root", sandbox::root());
}

TEST(StandardFolders, OfAUserWithoutAHomeDoNotExist) {
    sandbox::users().home.reset();
    EXPECT_EQ(searchPathForDirectories(Directory::Library, Domain::User), Paths{});
    EXPECT_EQ(searchPathForDirectories(Directory::Library, Domain::Local),
              Paths{sandbox::root() + "/Library"});
}

TEST(StandardFolders, OfSeveralDomainsStandInTheirOrder) {
    const auto all = static_cast<Domain>(1 | 2 | 8);
    EXPECT_EQ(searchPathForDirectories(Directory::Library, all),
              (Paths{sandbox::home() + "/Library", sandbox::root() + "/Library",
                     sandbox::root() + "/System/Library"}));
    EXPECT_EQ(searchPathForDirectories(Directory::Movies, all), Paths{sandbox::home() + "/Movies"});
}
