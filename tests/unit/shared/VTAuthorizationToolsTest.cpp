#include "AuthorizationFixture.h"

#include "linux/FileDescriptor.h"

#include <filesystem>
#include <functional>
#include <gmock/gmock.h>
#include <poll.h>
#include <sys/inotify.h>

using testing::IsEmpty;

namespace {

// Waits for what happens in a folder.
class Watch {
public:
    explicit Watch(const std::string& folder) : changes_(::inotify_init1(IN_CLOEXEC)) {
        EXPECT_GE(::inotify_add_watch(changes_.get(), folder.c_str(), IN_ALL_EVENTS & ~IN_ACCESS), 0);
    }

    // Returns once it is so; fails the test when nothing happens for so long that nothing will.
    void waitUntil(const std::function<bool()>& isSo) {
        constexpr int kLongest = 60'000; // milliseconds
        while (!isSo()) {
            pollfd change{.fd = changes_.get(), .events = POLLIN, .revents = 0};
            ASSERT_EQ(::poll(&change, 1, kLongest), 1);
            char events[65536];
            ASSERT_GT(::read(changes_.get(), events, sizeof events), 0);
        }
    }

private:
    platform::FileDescriptor changes_;
};

// The tools themselves at work, on items of the sandbox alone.
class VTAuthorizationTools : public AuthorizationTest {
protected:
    VTAuthorizationTools() {
        become(Role::Root);
        sandbox::makeFolder(file("from"));
        sandbox::makeFolder(file("to"));
    }

    static std::size_t count(const std::string& folder) {
        std::error_code error;
        return platform::current()
            .fileManager->openFolder(folder)
            ->entries(platform::Listing::Everything, error)
            .size();
    }

    RealAuthorization real_;
};

} // namespace

TEST_F(VTAuthorizationTools, RemoveAFolder) {
    sandbox::writeFile(file("from/line\nbreak \xFF/deep/file"), "text");
    sandbox::writeFile(file("from/kept"), "text");
    std::filesystem::create_symlink(file("from/kept"), file("from/line\nbreak \xFF/link"));
    Watch watch(file("from"));
    EXPECT_TRUE(real_.authRemoveFile(file("from/line\nbreak \xFF")));
    watch.waitUntil([] { return !sandbox::exists(file("from/line\nbreak \xFF")); });
    EXPECT_EQ(sandbox::readFile(file("from/kept")), "text");
}

TEST_F(VTAuthorizationTools, MoveAndReplaceAFile) {
    sandbox::writeFile(file("from/-rf"), "new");
    sandbox::writeFile(file("to/-rf"), "old");
    Watch watch(file("to"));
    EXPECT_TRUE(real_.authMoveFile(file("from/-rf"), file("to/-rf")));
    watch.waitUntil([] { return sandbox::readFile(file("to/-rf")) == "new"; });
    EXPECT_FALSE(sandbox::exists(file("from/-rf")));
}

TEST_F(VTAuthorizationTools, CopyAFileWithItsMode) {
    using std::filesystem::perms;
    sandbox::writeFile(file("from/item"), "text");
    std::filesystem::permissions(file("from/item"), perms::owner_all | perms::group_read);
    Watch watch(file("to"));
    EXPECT_TRUE(real_.authCopyFile(file("from/item"), file("to/item")));
    watch.waitUntil([] {
        return sandbox::readFile(file("to/item")) == "text" &&
               std::filesystem::status(file("to/item")).permissions() ==
                   (perms::owner_all | perms::group_read);
    });
    EXPECT_EQ(sandbox::readFile(file("from/item")), "text");
}

TEST_F(VTAuthorizationTools, MakeAFolderWithItsParents) {
    Watch watch(file("to"));
    EXPECT_TRUE(real_.authCreateDir(file("to/one\ntwo")));
    watch.waitUntil([] { return std::filesystem::is_directory(file("to/one\ntwo")); });
    EXPECT_EQ(real_.authExecTask("/bin/mkdir", {"-p", file("to/deep/down")}, false), 0); // waited for
    EXPECT_TRUE(std::filesystem::is_directory(file("to/deep/down")));
}

TEST_F(VTAuthorizationTools, TrashWhatANewTrashTakes) {
    sandbox::writeFile(file("from/a.txt"), "text");
    Watch home(sandbox::home());
    EXPECT_TRUE(real_.authTrashFile(file("from/a.txt")));
    home.waitUntil([] { return sandbox::exists(sandbox::home() + "/.Trash"); });
    Watch trash(sandbox::home() + "/.Trash");
    trash.waitUntil([] { return sandbox::exists(sandbox::home() + "/.Trash/a.txt"); });
    EXPECT_EQ(sandbox::readFile(sandbox::home() + "/.Trash/a.txt"), "text");
}

TEST_F(VTAuthorizationTools, MoveTheContentsOfAFolder) {
    constexpr std::size_t kCount = 300;
    for (std::size_t i = 0; i < kCount; ++i) {
        sandbox::writeFile(file("from/" + std::to_string(i)), "text");
    }
    Watch watch(file("to"));
    EXPECT_TRUE(real_.authMoveFolderContents(file("from"), file("to")));
    watch.waitUntil([] { return count(file("to")) == kCount; });
    EXPECT_EQ(count(file("from")), 0U);
    EXPECT_THAT(logged(), IsEmpty());
    EXPECT_THAT(console(), IsEmpty());
}
