#include "FolderPath.h"

#include <cstdlib>
#include <gtest/gtest.h>

TEST(FolderPath, TrailingSlashesGoAndTheTopFolderStays) {
    EXPECT_EQ(platform::withoutTrailingSlashes("/a/b"), "/a/b");
    EXPECT_EQ(platform::withoutTrailingSlashes("/a/b///"), "/a/b");
    EXPECT_EQ(platform::withoutTrailingSlashes("a/"), "a");
    EXPECT_EQ(platform::withoutTrailingSlashes("/"), "/");
    EXPECT_EQ(platform::withoutTrailingSlashes("///"), "/");
    EXPECT_EQ(platform::withoutTrailingSlashes(""), "");
}

TEST(FolderPath, IsAbsoluteOrAbsent) {
    EXPECT_EQ(platform::folderPath("/home/someone/"), "/home/someone");
    EXPECT_EQ(platform::folderPath("/a//b/../c/."), "/a//b/../c/."); // the text, not what it means
    EXPECT_EQ(platform::folderPath("//"), "/");
    EXPECT_EQ(platform::folderPath("home"), std::nullopt);
    EXPECT_EQ(platform::folderPath("~/x"), std::nullopt);
    EXPECT_EQ(platform::folderPath(""), std::nullopt);
}

TEST(FolderPath, ComesFromAnEnvironmentVariable) {
    setenv("FOLDER_PATH_TEST", "/some/folder/", 1);
    EXPECT_EQ(platform::folderInEnvironment("FOLDER_PATH_TEST"), "/some/folder");
    setenv("FOLDER_PATH_TEST", "", 1);
    EXPECT_EQ(platform::folderInEnvironment("FOLDER_PATH_TEST"), std::nullopt);
    unsetenv("FOLDER_PATH_TEST");
    EXPECT_EQ(platform::folderInEnvironment("FOLDER_PATH_TEST"), std::nullopt);
}
