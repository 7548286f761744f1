#include "linux/LinuxFileManager.h"

#include "TestSandbox.h"
#include "linux/FileDescriptor.h"

#include <atomic>
#include <cerrno>
#include <climits>
#include <csignal>
#include <cstdio>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <thread>

using platform::FileHandleException;
using sandbox::path;
using Names = std::vector<std::string>;

namespace {

// A file system that cannot rename without replacing.
std::atomic<bool> renamesAlwaysReplace = false;

struct stat status(const std::string& file) {
    struct stat result {};
    EXPECT_EQ(lstat(file.c_str(), &result), 0) << file;
    return result;
}

mode_t modeOf(const std::string& file) {
    return status(file).st_mode & 07777;
}

bool isLink(const std::string& file) {
    return S_ISLNK(status(file).st_mode);
}

// No file may grow beyond so many bytes, as on a disk that is full. For a scope.
class FullDisk {
public:
    explicit FullDisk(rlim_t bytes) {
        getrlimit(RLIMIT_FSIZE, &before_);
        rlimit limit{bytes, before_.rlim_max};
        setrlimit(RLIMIT_FSIZE, &limit);
        std::signal(SIGXFSZ, SIG_IGN);
    }
    ~FullDisk() {
        setrlimit(RLIMIT_FSIZE, &before_);
        std::signal(SIGXFSZ, SIG_DFL);
    }
    FullDisk(const FullDisk&) = delete;
    FullDisk& operator=(const FullDisk&) = delete;

private:
    rlimit before_{};
};

class LinuxFileManagerTest : public testing::Test {
protected:
    Names names(const std::string& folder) {
        std::error_code error;
        Names result;
        for (auto& entry : files_.openFolder(folder)->entries(platform::Listing::Everything, error)) {
            result.push_back(std::move(entry.name));
        }
        return result;
    }

    platform::LinuxFileManager files_;
};

} // namespace

// Stands before the C library's.
extern "C" int renameat2(int fromFolder, const char* from, int toFolder, const char* to,
                         unsigned flags) noexcept {
    if (renamesAlwaysReplace && flags != 0) {
        errno = EINVAL;
        return -1;
    }
    return static_cast<int>(::syscall(SYS_renameat2, fromFolder, from, toFolder, to, flags));
}

TEST_F(LinuxFileManagerTest, LooksThroughLinks) {
    sandbox::writeFile(path("file"), "x");
    sandbox::makeFolder(path("folder"));
    symlink("file", path("link to file").c_str());
    symlink("folder", path("link to folder").c_str());
    symlink("nowhere", path("dangling").c_str());
    symlink("loop", path("loop").c_str());
    for (const auto& name : {"file", "link to file"}) {
        EXPECT_TRUE(files_.fileExists(path(name))) << name;
        EXPECT_FALSE(files_.isDirectory(path(name))) << name;
    }
    for (const auto& name : {"folder", "link to folder", "folder/", "folder/."}) {
        EXPECT_TRUE(files_.fileExists(path(name))) << name;
        EXPECT_TRUE(files_.isDirectory(path(name))) << name;
    }
    for (const auto& name : {path("dangling"), path("loop"), path("none"), path("file/below"), std::string(),
                             path(std::string(PATH_MAX, 'x'))}) {
        EXPECT_FALSE(files_.fileExists(name)) << name;
        EXPECT_FALSE(files_.isDirectory(name)) << name;
    }
}

TEST_F(LinuxFileManagerTest, KnowsWhatCanBeExecuted) {
    sandbox::writeFile(path("program"), "x");
    EXPECT_FALSE(files_.isExecutableFile(path("program")));
    EXPECT_EQ(::chmod(path("program").c_str(), 0700), 0);
    symlink("program", path("link").c_str());
    sandbox::makeFolder(path("folder"));
    for (const auto& name : {"program", "link", "folder"}) {
        EXPECT_TRUE(files_.isExecutableFile(path(name))) << name;
    }
    EXPECT_FALSE(files_.isExecutableFile(path("none")));
    EXPECT_FALSE(files_.isExecutableFile(""));
}

TEST_F(LinuxFileManagerTest, GivesTheTextOfALink) {
    const std::string text = "../\xFF somewhere/./else//";
    symlink(text.c_str(), path("link").c_str());
    EXPECT_EQ(files_.destinationOfSymbolicLink(path("link")), text);
    sandbox::writeFile(path("file"), "x");
    EXPECT_EQ(files_.destinationOfSymbolicLink(path("file")), std::nullopt);
    EXPECT_EQ(files_.destinationOfSymbolicLink(path("none")), std::nullopt);
}

TEST_F(LinuxFileManagerTest, ReadsFilesAndFolders) {
    sandbox::writeFile(path("folder/\xFFname"), "bytes");
    EXPECT_EQ(files_.contents(path("folder/\xFFname"), 5).bytes, "bytes");
    EXPECT_FALSE(files_.contents(path("folder/\xFFname"), 4).bytes);
    EXPECT_EQ(names(path("folder")), Names{"\xFFname"});
}

TEST_F(LinuxFileManagerTest, MakesFoldersWithTheirParents) {
    const auto mask = umask(027);
    EXPECT_FALSE(files_.createDirectory(path("one/two/three")));
    umask(mask);
    EXPECT_TRUE(files_.isDirectory(path("one/two/three")));
    EXPECT_EQ(modeOf(path("one/two")), 0750U);
    EXPECT_FALSE(files_.createDirectory(path("one/two/three")));
    EXPECT_FALSE(files_.createDirectory(path("one/two/four/five//")));
    EXPECT_TRUE(files_.isDirectory(path("one/two/four/five")));
    symlink("one", path("link").c_str());
    EXPECT_FALSE(files_.createDirectory(path("link")));
    EXPECT_FALSE(files_.createDirectory(path("link/six")));
    EXPECT_TRUE(files_.isDirectory(path("one/six")));
}

TEST_F(LinuxFileManagerTest, SaysWhyAFolderCannotBeMade) {
    sandbox::writeFile(path("file"), "x");
    symlink("nowhere", path("dangling").c_str());
    EXPECT_EQ(files_.createDirectory(path("file")), std::errc::file_exists);
    EXPECT_EQ(files_.createDirectory(path("file/below")), std::errc::not_a_directory);
    EXPECT_EQ(files_.createDirectory(path("dangling")), std::errc::file_exists);
    EXPECT_EQ(files_.createDirectory(path("dangling/below")), std::errc::file_exists);
    EXPECT_EQ(files_.createDirectory(path(std::string(300, 'x'))), std::errc::filename_too_long);
    EXPECT_EQ(files_.createDirectory(std::string(1 << 20, '/') + "x" + std::string(PATH_MAX, '/') + "y"),
              std::errc::filename_too_long);
    EXPECT_EQ(files_.createDirectory(""), std::errc::no_such_file_or_directory);
    EXPECT_FALSE(sandbox::exists(path("nowhere")));
}

TEST_F(LinuxFileManagerTest, MakesAFolderForItsOwnerAlone) {
    const auto mask = umask(0);
    EXPECT_FALSE(files_.createPrivateDirectory(path("private")));
    umask(mask);
    EXPECT_EQ(modeOf(path("private")), 0700U);
    ASSERT_EQ(chmod(path("private").c_str(), 0755), 0);
    EXPECT_FALSE(files_.createPrivateDirectory(path("private")));
    EXPECT_EQ(modeOf(path("private")), 0755U);
    sandbox::writeFile(path("a file"), "x");
    EXPECT_EQ(files_.createPrivateDirectory(path("a file")), std::errc::file_exists);
    EXPECT_EQ(files_.createPrivateDirectory(path("no/folder")), std::errc::no_such_file_or_directory);
    symlink("nowhere", path("dangling link").c_str());
    EXPECT_EQ(files_.createPrivateDirectory(path("dangling link")), std::errc::file_exists);
    EXPECT_FALSE(sandbox::exists(path("nowhere")));
}

TEST_F(LinuxFileManagerTest, ManyMayMakeTheSameFolder) {
    std::atomic<int> failures = 0;
    {
        std::vector<std::jthread> threads;
        for (int i = 0; i < 4; ++i) {
            threads.emplace_back([&] {
                for (int round = 0; round < 50; ++round) {
                    if (files_.createDirectory(path("many/" + std::to_string(round) + "/deep/down"))) {
                        ++failures;
                    }
                }
            });
        }
    }
    EXPECT_EQ(failures, 0);
    EXPECT_TRUE(files_.isDirectory(path("many/49/deep/down")));
}

TEST_F(LinuxFileManagerTest, RemovesItemsAndNotWhatTheyLeadTo) {
    sandbox::writeFile(path("kept/file"), "x");
    sandbox::writeFile(path("folder/deep/file"), "x");
    symlink("../kept", path("folder/link").c_str());
    symlink("kept", path("link").c_str());
    symlink("nowhere", path("dangling").c_str());
    sandbox::writeFile(path("file"), "x");
    for (const auto& name : {"folder", "link", "dangling", "file"}) {
        EXPECT_FALSE(files_.removeItem(path(name))) << name;
        EXPECT_FALSE(sandbox::exists(path(name))) << name;
    }
    EXPECT_EQ(sandbox::readFile(path("kept/file")), "x");
    sandbox::writeFile(path("folder/file"), "x");
    EXPECT_FALSE(files_.removeItem(path("folder//")));
    EXPECT_FALSE(sandbox::exists(path("folder")));
}

TEST_F(LinuxFileManagerTest, SaysWhyAnItemCannotBeRemoved) {
    sandbox::writeFile(path("folder/file"), "x");
    EXPECT_EQ(files_.removeItem(path("none")), std::errc::no_such_file_or_directory);
    EXPECT_EQ(files_.removeItem(path("none/at all")), std::errc::no_such_file_or_directory);
    EXPECT_EQ(files_.removeItem(path("folder/file/below")), std::errc::not_a_directory);
    EXPECT_EQ(files_.removeItem(path("folder/.")), std::errc::invalid_argument);
    EXPECT_EQ(files_.removeItem(path("folder/..")), std::errc::invalid_argument);
    EXPECT_EQ(files_.removeItem(""), std::errc::no_such_file_or_directory);
    EXPECT_EQ(sandbox::readFile(path("folder/file")), "x");
}

TEST_F(LinuxFileManagerTest, MovesItemsToFreePlacesOnly) {
    for (bool withoutHelp : {false, true}) {
        SCOPED_TRACE(withoutHelp);
        renamesAlwaysReplace = withoutHelp;
        sandbox::writeFile(path("file"), "moved");
        sandbox::writeFile(path("taken"), "stays");
        sandbox::writeFile(path("folder/file"), "x");
        symlink("nowhere", path("dangling").c_str());
        EXPECT_FALSE(files_.moveItem(path("file"), path("folder/moved")));
        EXPECT_FALSE(sandbox::exists(path("file")));
        EXPECT_EQ(sandbox::readFile(path("folder/moved")), "moved");
        for (const auto& taken : {"taken", "dangling", "folder"}) {
            EXPECT_EQ(files_.moveItem(path("folder/moved"), path(taken)), std::errc::file_exists) << taken;
        }
        EXPECT_EQ(sandbox::readFile(path("taken")), "stays");
        EXPECT_EQ(sandbox::readFile(path("folder/moved")), "moved");
        EXPECT_FALSE(files_.moveItem(path("dangling"), path("link")));
        EXPECT_EQ(files_.destinationOfSymbolicLink(path("link")), "nowhere"); // the link itself
        EXPECT_FALSE(files_.moveItem(path("folder"), path("second")));
        EXPECT_EQ(names(path("second")), (Names{"file", "moved"}));
        EXPECT_EQ(files_.moveItem(path("none"), path("free")), std::errc::no_such_file_or_directory);
        EXPECT_EQ(files_.moveItem(path("second"), path("none/at all")), std::errc::no_such_file_or_directory);
        EXPECT_EQ(files_.moveItem(path("second"), path("second/inside")), std::errc::invalid_argument);
        EXPECT_EQ(files_.moveItem(path("second"), path("taken/below")), std::errc::not_a_directory);
        files_.removeItem(path("second"));
        files_.removeItem(path("link"));
    }
}

TEST_F(LinuxFileManagerTest, WritesNewFiles) {
    const auto mask = umask(027);
    sandbox::makeFolder(path("folder"));
    const std::string longest(NAME_MAX, 'n');
    for (const auto& name : {std::string("file"), std::string("\xFF\n"), longest}) {
        EXPECT_FALSE(files_.writeAtomically(path("folder/" + name), std::string_view("a\0b", 3))) << name;
        EXPECT_EQ(sandbox::readFile(path("folder/" + name)), std::string("a\0b", 3)) << name;
        EXPECT_EQ(modeOf(path("folder/" + name)), 0640U);
    }
    EXPECT_FALSE(files_.writeAtomically(path("folder/empty"), ""));
    EXPECT_EQ(status(path("folder/empty")).st_size, 0);
    umask(mask);
    EXPECT_EQ(names(path("folder")), (Names{"empty", "file", longest, "\xFF\n"}));
}

TEST_F(LinuxFileManagerTest, ReplacesFilesAsAWhole) {
    sandbox::writeFile(path("folder/file"), "before");
    // The system takes the set-user-ID bit from what an ordinary user writes.
    const mode_t mode = geteuid() == 0 ? 04751 : 0751;
    chmod(path("folder/file").c_str(), mode);
    link(path("folder/file").c_str(), path("second name").c_str());
    platform::FileDescriptor reader(open(path("folder/file").c_str(), O_RDONLY));
    EXPECT_FALSE(files_.writeAtomically(path("folder/file"), "after"));
    EXPECT_EQ(sandbox::readFile(path("folder/file")), "after");
    EXPECT_EQ(modeOf(path("folder/file")), mode);
    EXPECT_EQ(sandbox::readFile(path("second name")), "before"); // whoever has it open reads on
    char first = 0;
    EXPECT_EQ(pread(reader.get(), &first, 1, 0), 1);
    EXPECT_EQ(first, 'b');
    EXPECT_EQ(names(path("folder")), Names{"file"});
}

TEST_F(LinuxFileManagerTest, KeepsTheOwnerOfAReplacedFile) {
    if (geteuid() != 0) {
        GTEST_SKIP() << "gives files away, which takes root";
    }
    sandbox::writeFile(path("file"), "before");
    ASSERT_EQ(chown(path("file").c_str(), 1234, 2345), 0);
    chmod(path("file").c_str(), 06640);
    EXPECT_FALSE(files_.writeAtomically(path("file"), "after"));
    EXPECT_EQ(status(path("file")).st_uid, 1234U);
    EXPECT_EQ(status(path("file")).st_gid, 2345U);
    EXPECT_EQ(modeOf(path("file")), 06640U);
}

TEST_F(LinuxFileManagerTest, TakesOverAFileThatItCannotGiveBack) {
    if (geteuid() != 0) {
        GTEST_SKIP() << "becomes another user, which takes root";
    }
    chmod(sandbox::folder().c_str(), 0711);
    sandbox::makeFolder(path("open"));
    chmod(path("open").c_str(), 0777);
    sandbox::writeFile(path("open/file"), "before");
    ASSERT_EQ(chown(path("open/file").c_str(), 1234, 2345), 0);
    chmod(path("open/file").c_str(), 06755);
    ASSERT_EQ(seteuid(4321), 0);
    EXPECT_FALSE(files_.writeAtomically(path("open/file"), "after"));
    ASSERT_EQ(seteuid(0), 0);
    EXPECT_EQ(sandbox::readFile(path("open/file")), "after");
    EXPECT_EQ(status(path("open/file")).st_uid, 4321U);
    EXPECT_EQ(modeOf(path("open/file")), 0755U); // and nobody runs it as 4321 by that
}

TEST_F(LinuxFileManagerTest, NeedsNoLeaveToListTheFolder) {
    if (geteuid() != 0) {
        GTEST_SKIP() << "becomes another user, which takes root";
    }
    chmod(sandbox::folder().c_str(), 0711);
    sandbox::makeFolder(path("drop"));
    chmod(path("drop").c_str(), 0733);
    ASSERT_EQ(seteuid(4321), 0);
    EXPECT_FALSE(files_.writeAtomically(path("drop/file"), "x"));
    EXPECT_FALSE(files_.writeAtomically(path("drop/file"), "y"));
    EXPECT_TRUE(files_.openForWriting(path("drop/file")));
    ASSERT_EQ(seteuid(0), 0);
    EXPECT_EQ(sandbox::readFile(path("drop/file")), "y");
}

TEST_F(LinuxFileManagerTest, ReplacesAFileWhereItReallyIs) {
    sandbox::writeFile(path("elsewhere/file"), "before");
    chmod(path("elsewhere/file").c_str(), 0600);
    sandbox::makeFolder(path("folder"));
    symlink("../elsewhere/file", path("folder/link").c_str());
    symlink("folder/link", path("second").c_str());
    EXPECT_FALSE(files_.writeAtomically(path("second"), "after"));
    EXPECT_TRUE(isLink(path("second")));
    EXPECT_TRUE(isLink(path("folder/link")));
    EXPECT_EQ(sandbox::readFile(path("elsewhere/file")), "after");
    EXPECT_EQ(modeOf(path("elsewhere/file")), 0600U);
    EXPECT_EQ(names(path("folder")), Names{"link"});
    EXPECT_EQ(names(path("elsewhere")), Names{"file"});
}

TEST_F(LinuxFileManagerTest, PutsAFileInPlaceOfALinkToNowhere) {
    for (const auto& destination : {"nowhere", "link"}) { // the second leads back to itself
        symlink(destination, path("link").c_str());
        EXPECT_FALSE(files_.writeAtomically(path("link"), "x"));
        EXPECT_FALSE(isLink(path("link")));
        EXPECT_EQ(sandbox::readFile(path("link")), "x");
        files_.removeItem(path("link"));
    }
}

TEST_F(LinuxFileManagerTest, ReplacesNothingButFiles) {
    sandbox::makeFolder(path("folder/sub"));
    mkfifo(path("folder/pipe").c_str(), 0600);
    symlink("sub", path("folder/link").c_str());
    EXPECT_EQ(files_.writeAtomically(path("folder/sub"), "x"), std::errc::is_a_directory);
    EXPECT_EQ(files_.writeAtomically(path("folder/link"), "x"), std::errc::is_a_directory);
    EXPECT_EQ(files_.writeAtomically(path("folder/pipe"), "x"), std::errc::file_exists);
    EXPECT_TRUE(S_ISFIFO(status(path("folder/pipe")).st_mode));
    EXPECT_TRUE(isLink(path("folder/link")));
    EXPECT_EQ(names(path("folder")), (Names{"link", "pipe", "sub"}));
}

TEST_F(LinuxFileManagerTest, SaysWhyAFileCannotBeWritten) {
    sandbox::writeFile(path("file"), "x");
    EXPECT_EQ(files_.writeAtomically(path("none/file"), "x"), std::errc::no_such_file_or_directory);
    EXPECT_EQ(files_.writeAtomically(path("file/below"), "x"), std::errc::not_a_directory);
    EXPECT_EQ(files_.writeAtomically(path(std::string(300, 'n')), "x"), std::errc::filename_too_long);
    ASSERT_EQ(chdir(sandbox::folder().c_str()), 0); // where an empty path would be written
    EXPECT_EQ(files_.writeAtomically("", "x"), std::errc::no_such_file_or_directory);
    EXPECT_FALSE(sandbox::exists(path("none")));
}

TEST_F(LinuxFileManagerTest, LeavesEverythingAsItWasWhenTheDiskIsFull) {
    sandbox::writeFile(path("folder/file"), "before");
    {
        FullDisk disk(10);
        EXPECT_EQ(files_.writeAtomically(path("folder/file"), "longer than that"), std::errc::file_too_large);
        EXPECT_EQ(files_.writeAtomically(path("folder/new"), "longer than that"), std::errc::file_too_large);
    }
    EXPECT_EQ(sandbox::readFile(path("folder/file")), "before");
    EXPECT_EQ(names(path("folder")), Names{"file"});
}

TEST_F(LinuxFileManagerTest, WritesThroughAHandle) {
    sandbox::writeFile(path("file"), "0123456789");
    symlink("file", path("link").c_str());
    auto handle = files_.openForWriting(path("link"));
    ASSERT_TRUE(handle);
    handle->write("ab");
    handle->write("c");
    EXPECT_EQ(sandbox::readFile(path("file")), "abc3456789");
    handle->seekToEnd();
    handle->write(std::string_view("\0end", 4));
    EXPECT_EQ(sandbox::readFile(path("file")), std::string("abc3456789\0end", 14));
}

TEST_F(LinuxFileManagerTest, TellsHowMuchOfAFailedWriteReachedTheFile) {
    sandbox::writeFile(path("file"), "");
    auto handle = files_.openForWriting(path("file"));
    ASSERT_TRUE(handle);
    FullDisk disk(10);
    handle->write("0123");
    try {
        handle->write("456789abcdef");
        ADD_FAILURE() << "wrote more than there is room for";
    } catch (const FileHandleException& exception) {
        EXPECT_EQ(exception.bytesWritten(), 6U);
        EXPECT_EQ(exception.name(), "NSFileHandleOperationException");
        EXPECT_EQ(exception.reason(), std::error_code(EFBIG, std::generic_category()).message());
    }
    EXPECT_EQ(sandbox::readFile(path("file")), "0123456789");
}

TEST_F(LinuxFileManagerTest, OpensNothingButFilesForWriting) {
    sandbox::makeFolder(path("folder"));
    mkfifo(path("pipe").c_str(), 0600);
    symlink("nowhere", path("dangling").c_str());
    for (const auto& other : {path("folder"), path("pipe"), path("dangling"), path("none"), path("none/file"),
                              std::string("/dev/null"), std::string()}) {
        EXPECT_EQ(files_.openForWriting(other), nullptr) << other;
    }
    EXPECT_FALSE(sandbox::exists(path("nowhere")));
    // With somebody at the other end it could be opened, and still is no file.
    platform::FileDescriptor reader(open(path("pipe").c_str(), O_RDONLY | O_NONBLOCK));
    EXPECT_EQ(files_.openForWriting(path("pipe")), nullptr);
}
