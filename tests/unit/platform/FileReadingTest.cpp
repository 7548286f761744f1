#include "linux/FileReading.h"

#include "TestSandbox.h"

#include <cstdint>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

using sandbox::path;

namespace {

constexpr std::size_t kLimit = 100;

platform::FileContents read(const std::string& file, std::size_t limit = kLimit) {
    return platform::readFileAt(AT_FDCWD, file.c_str(), limit);
}

// There, but nothing to be read.
void expectUnreadable(const std::string& file) {
    auto contents = read(file);
    EXPECT_TRUE(contents.exists) << file;
    EXPECT_FALSE(contents.bytes) << file;
}

} // namespace

TEST(FileReading, GivesAllBytes) {
    std::string bytes("\0\xFFtext\n", 7);
    sandbox::writeFile(path("file"), bytes);
    EXPECT_TRUE(read(path("file")).exists);
    EXPECT_EQ(read(path("file")).bytes, bytes);
    sandbox::writeFile(path("file"), "");
    EXPECT_TRUE(read(path("file")).exists);
    EXPECT_EQ(read(path("file")).bytes, "");
}

TEST(FileReading, RefusesWhatIsLargerThanTheLimit) {
    sandbox::writeFile(path("file"), std::string(kLimit, 'x'));
    EXPECT_EQ(read(path("file")).bytes, std::string(kLimit, 'x'));
    sandbox::writeFile(path("file"), std::string(kLimit + 1, 'x'));
    expectUnreadable(path("file"));
    sandbox::writeFile(path("file"), "");
    EXPECT_EQ(read(path("file"), 0).bytes, "");
    const std::string large(std::size_t{3} << 20, 'y');
    sandbox::writeFile(path("file"), large);
    EXPECT_EQ(read(path("file"), SIZE_MAX).bytes, large);
}

TEST(FileReading, MissingFilesDoNotExist) {
    sandbox::writeFile(path("file"), "x");
    symlink("nowhere", path("dangling").c_str());
    symlink("loop", path("loop").c_str());
    for (const auto& missing : {path("none"), path("none/file"), path("file/below"), path("dangling"),
                                path("loop"), path(std::string(300, 'n')), std::string()}) {
        EXPECT_FALSE(read(missing).exists) << missing;
        EXPECT_FALSE(read(missing).bytes) << missing;
    }
}

TEST(FileReading, FollowsLinks) {
    sandbox::writeFile(path("file"), "x");
    symlink("file", path("link").c_str());
    symlink("link", path("second").c_str());
    EXPECT_EQ(read(path("second")).bytes, "x");
}

TEST(FileReading, IsRelativeToAFolder) {
    sandbox::writeFile(path("folder/below/file"), "x");
    platform::FileDescriptor folder(open(path("folder").c_str(), O_RDONLY | O_DIRECTORY));
    EXPECT_EQ(platform::readFileAt(folder.get(), "below/file", kLimit).bytes, "x");
    EXPECT_FALSE(platform::readFileAt(folder.get(), "file", kLimit).exists);
}

TEST(FileReading, NeverWaitsForWhatIsNoFile) {
    sandbox::makeFolder(path("folder"));
    ASSERT_EQ(mkfifo(path("pipe").c_str(), 0600), 0);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    path("socket").copy(address.sun_path, sizeof address.sun_path - 1);
    platform::FileDescriptor socket(::socket(AF_UNIX, SOCK_STREAM, 0));
    ASSERT_EQ(bind(socket.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
    for (const auto& other : {path("folder"), path("pipe"), path("socket"), std::string("/dev/zero")}) {
        expectUnreadable(other);
    }
}

TEST(FileReading, KnowsThatAnUnreadableFileExists) {
    if (geteuid() != 0) {
        GTEST_SKIP() << "becomes another user, which takes root";
    }
    sandbox::writeFile(path("open/secret"), "x");
    sandbox::writeFile(path("closed/file"), "x");
    chmod(sandbox::folder().c_str(), 0711);
    chmod(path("open").c_str(), 0711);
    chmod(path("open/secret").c_str(), 0);
    chmod(path("closed").c_str(), 0700);
    ASSERT_EQ(seteuid(65534), 0);
    expectUnreadable(path("open/secret"));
    EXPECT_FALSE(read(path("closed/file")).exists);
    ASSERT_EQ(seteuid(0), 0);
}

TEST(FileReading, ReadsFilesThatTheSystemMakesUpToTheirEnd) {
    // It claims to be empty and comes in pieces of a page.
    auto maps = read("/proc/self/maps", SIZE_MAX).bytes;
    ASSERT_TRUE(maps);
    EXPECT_GT(maps->size(), 4096U);
    EXPECT_NE(maps->find("[stack]"), std::string::npos);
    EXPECT_EQ(maps->back(), '\n');
    expectUnreadable("/proc/self/maps"); // larger than the limit after all
}
