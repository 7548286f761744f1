#include "linux/LinuxFileManager.h"

#include "TestSandbox.h"

#include <array>
#include <fcntl.h>
#include <filesystem>
#include <gtest/gtest.h>
#include <sys/stat.h>

using sandbox::path;

namespace {

struct stat status(const std::string& file) {
    struct stat result {};
    EXPECT_EQ(lstat(file.c_str(), &result), 0) << file;
    return result;
}

// A folder with a file, a program, links and folders below it.
void makeTree(const std::string& tree) {
    sandbox::writeFile(tree + "/Contents/MacOS/tool", std::string(200'000, 'x'));
    ::chmod((tree + "/Contents/MacOS/tool").c_str(), 0751);
    sandbox::writeFile(tree + "/Contents/empty", "");
    ::chmod((tree + "/Contents/empty").c_str(), 0400);
    sandbox::makeFolder(tree + "/Contents/Resources");
    ::chmod((tree + "/Contents/Resources").c_str(), 0555);
    std::filesystem::create_symlink("Contents", tree + "/link");
    std::filesystem::create_symlink("/nowhere", tree + "/dangling");
}

} // namespace

TEST(ItemCopy, CopiesATreeWithItsModesAndLinks) {
    platform::LinuxFileManager files;
    makeTree(path("Tree"));
    ASSERT_FALSE(files.copyItem(path("Tree"), path("Copy/")));
    const auto copy = path("Copy");
    EXPECT_EQ(sandbox::readFile(copy + "/Contents/MacOS/tool"), std::string(200'000, 'x'));
    EXPECT_EQ(status(copy + "/Contents/MacOS/tool").st_mode, S_IFREG | 0751U);
    EXPECT_EQ(status(copy + "/Contents/empty").st_mode, S_IFREG | 0400U);
    EXPECT_EQ(status(copy + "/Contents/Resources").st_mode, S_IFDIR | 0555U);
    EXPECT_EQ(files.destinationOfSymbolicLink(copy + "/link"), "Contents");
    EXPECT_EQ(files.destinationOfSymbolicLink(copy + "/dangling"), "/nowhere");
    std::filesystem::recursive_directory_iterator all(copy);
    EXPECT_EQ(std::distance(begin(all), end(all)), 7);

    ASSERT_FALSE(files.copyItem(path("Tree/Contents/MacOS/tool"), path("tool")));
    EXPECT_EQ(status(path("tool")).st_mode, S_IFREG | 0751U);
    ASSERT_FALSE(files.copyItem(path("Tree/dangling"), path("dangling")));
    EXPECT_EQ(files.destinationOfSymbolicLink(path("dangling")), "/nowhere");
}

TEST(ItemCopy, ReplacesNothing) {
    platform::LinuxFileManager files;
    sandbox::writeFile(path("file"), "new");
    sandbox::writeFile(path("there"), "old");
    EXPECT_EQ(files.copyItem(path("file"), path("there")), std::errc::file_exists);
    std::filesystem::create_symlink("/nowhere", path("leadsNowhere"));
    EXPECT_EQ(files.copyItem(path("file"), path("leadsNowhere")), std::errc::file_exists);
    EXPECT_EQ(sandbox::readFile(path("there")), "old");
    EXPECT_EQ(files.copyItem(path("missing"), path("other")), std::errc::no_such_file_or_directory);
    EXPECT_EQ(files.copyItem(path("file"), path("missing/other")), std::errc::no_such_file_or_directory);
}

TEST(ItemCopy, AFailureLeavesNothing) {
    platform::LinuxFileManager files;
    makeTree(path("WithPipe"));
    ASSERT_EQ(::mkfifo((path("WithPipe") + "/pipe").c_str(), 0600), 0); // after much that can be copied
    EXPECT_EQ(files.copyItem(path("WithPipe"), path("Broken")), std::errc::not_supported);
    EXPECT_FALSE(sandbox::exists(path("Broken")));
    EXPECT_EQ(files.copyItem(path("WithPipe"), path("WithPipe/Contents/inside")),
              std::errc::invalid_argument);
    EXPECT_FALSE(sandbox::exists(path("WithPipe/Contents/inside")));
}

TEST(ItemCopy, RootsCopyInAUsersHomeBelongsToTheUser) {
    if (::geteuid() != 0) {
        GTEST_SKIP() << "only root can give files away";
    }
    constexpr uid_t kSomebody = 12345;
    ASSERT_EQ(::chown(sandbox::home().c_str(), kSomebody, kSomebody), 0);
    sandbox::users().userID = 0;
    platform::LinuxFileManager files;
    makeTree(path("RootsTree"));
    ::chmod((path("RootsTree") + "/Contents/MacOS/tool").c_str(), 04755);
    ASSERT_FALSE(files.copyItem(path("RootsTree"), sandbox::home() + "/Copy"));
    for (const char* item : {"", "/link", "/Contents/MacOS/tool", "/Contents/Resources"}) {
        EXPECT_EQ(status(sandbox::home() + "/Copy" + item).st_uid, kSomebody) << item;
    }
    EXPECT_EQ(status(sandbox::home() + "/Copy/Contents/MacOS/tool").st_mode & 07777U, 0755U);
}

TEST(ModificationDate, CountsFromTheReferenceDateWithFractions) {
    platform::LinuxFileManager files;
    EXPECT_FALSE(files.modificationDate(path("none")));
    sandbox::writeFile(path("dated"), "");
    std::filesystem::create_symlink(path("dated"), path("leadsThere"));
    const timespec time{978'307'200 + 5, 250'000'000};
    const std::array<timespec, 2> times{time, time};
    ASSERT_EQ(::utimensat(AT_FDCWD, path("dated").c_str(), times.data(), 0), 0);
    for (const char* name : {"dated", "leadsThere"}) {
        const auto date = files.modificationDate(path(name));
        ASSERT_TRUE(date);
        EXPECT_EQ(date->secondsSinceReferenceDate, 5.25);
    }
}
