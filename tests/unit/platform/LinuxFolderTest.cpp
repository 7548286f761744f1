#include "linux/LinuxFolder.h"

#include "TestSandbox.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <climits>
#include <dirent.h>
#include <fcntl.h>
#include <filesystem>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/syscall.h>

using platform::DirectoryEntry;
using platform::EntryKind;
using platform::Folder;
using platform::LinuxFolder;
using platform::Listing;
using sandbox::path;
using Names = std::vector<std::string>;

namespace {

constexpr std::size_t kLimit = 100;

// A file system that does not tell what its entries are.
std::atomic<bool> kindsAreUnknown = false;

std::vector<DirectoryEntry> list(Folder& folder, Listing listing = Listing::Everything) {
    std::error_code error;
    auto entries = folder.entries(listing, error);
    EXPECT_FALSE(error) << error.message();
    return entries;
}

Names names(Folder& folder, Listing listing = Listing::Everything) {
    Names result;
    for (auto& entry : list(folder, listing)) {
        result.push_back(std::move(entry.name));
    }
    return result;
}

std::error_code errorOf(Folder& folder) {
    std::error_code error;
    EXPECT_TRUE(folder.entries(Listing::Everything, error).empty());
    return error;
}

DirectoryEntry asFolder(const std::string& name) {
    return {name, EntryKind::Folder};
}
DirectoryEntry asLink(const std::string& name) {
    return {name, EntryKind::Link};
}

// One entry of each kind in "kinds".
void makeKinds() {
    sandbox::makeFolder(path("kinds/folder"));
    sandbox::writeFile(path("kinds/file"), "x");
    symlink("folder", path("kinds/link").c_str());
    symlink("file", path("kinds/link to file").c_str());
    symlink("nowhere", path("kinds/link to nowhere").c_str());
    mkfifo(path("kinds/pipe").c_str(), 0600);
}

void expectKinds() {
    LinuxFolder folder(path("kinds"));
    auto entries = list(folder);
    const std::vector<std::pair<std::string, EntryKind>> expected{
        {"file", EntryKind::File},         {"folder", EntryKind::Folder},        {"link", EntryKind::Link},
        {"link to file", EntryKind::Link}, {"link to nowhere", EntryKind::Link}, {"pipe", EntryKind::File}};
    ASSERT_EQ(entries.size(), expected.size());
    for (std::size_t i = 0; i < entries.size(); ++i) {
        EXPECT_EQ(entries[i].name, expected[i].first);
        EXPECT_EQ(entries[i].kind, expected[i].second) << entries[i].name;
    }
    EXPECT_EQ(names(folder, Listing::FoldersAndLinks),
              (Names{"folder", "link", "link to file", "link to nowhere"}));
}

// "loop/self" leads back to "loop", so that a path can cross as many links as it likes.
void makeLoop() {
    sandbox::writeFile(path("loop/file"), "x");
    sandbox::writeFile(path("loop/real/file"), "x");
    symlink(".", path("loop/self").c_str());
    symlink("../file", path("loop/real/file by link").c_str());
}

std::string loopPath(int links) {
    auto result = path("loop");
    for (int i = 0; i < links; ++i) {
        result += "/self";
    }
    return result;
}

// "loop" entered through so many links, one step at a time.
std::unique_ptr<Folder> loopFolder(int links) {
    std::unique_ptr<Folder> folder = std::make_unique<LinuxFolder>(path("loop"));
    for (int i = 0; i < links; ++i) {
        folder = folder->subfolder(asLink("self"));
    }
    return folder;
}

} // namespace

// Stands before the C library's.
extern "C" ssize_t getdents64(int descriptor, void* buffer, size_t length) noexcept {
    ssize_t filled = ::syscall(SYS_getdents64, descriptor, buffer, length);
    for (ssize_t offset = 0; kindsAreUnknown && offset < filled;) {
        auto* entry = reinterpret_cast<dirent64*>(static_cast<char*>(buffer) + offset);
        entry->d_type = DT_UNKNOWN;
        offset += entry->d_reclen;
    }
    return filled;
}

TEST(LinuxFolder, TellsFilesFoldersAndLinksApart) {
    makeKinds();
    expectKinds();
}

TEST(LinuxFolder, LooksForItselfWhereTheFileSystemDoesNotTell) {
    makeKinds();
    kindsAreUnknown = true;
    expectKinds();
}

TEST(LinuxFolder, ListsByFoldedNamesAndTiesByBytes) {
    // As expected; the disk is given them the other way round.
    const Names expected{" a",  "-",    "1",  "10",      "2",      "_",        "a\nb", "Abc", "aBc",
                         "abc", "abcd", "B",  "STRASSE", "Straße", "z",        "Ä",    "ä",   "é",
                         "Ж",   "ж",    "日", "\xE9",    "😀",      "\xFE\xFE", "\xFF"};
    for (auto name = expected.rbegin(); name != expected.rend(); ++name) {
        sandbox::writeFile(path("names/" + *name), "");
    }
    LinuxFolder folder(path("names"));
    EXPECT_EQ(names(folder), expected);
    for (const auto& name : expected) {
        EXPECT_TRUE(folder.contents(name, kLimit).exists) << name; // the same bytes lead back
    }
}

TEST(LinuxFolder, ListsMoreThanOneBufferful) {
    Names expected;
    for (int i = 1000; i < 2500; ++i) {
        expected.push_back("an entry with a long name, number " + std::to_string(i));
        sandbox::writeFile(path("many/" + expected.back()), "");
    }
    LinuxFolder folder(path("many"));
    EXPECT_EQ(names(folder), expected);
    EXPECT_EQ(names(folder, Listing::FoldersAndLinks), Names{});
}

TEST(LinuxFolder, IsListedAfreshEachTime) {
    sandbox::writeFile(path("folder/one"), "");
    LinuxFolder folder(path("folder"));
    EXPECT_EQ(names(folder), Names{"one"});
    EXPECT_EQ(names(folder), Names{"one"});
    sandbox::writeFile(path("folder/two"), "");
    EXPECT_EQ(names(folder), (Names{"one", "two"}));
    folder.suspend();
    sandbox::writeFile(path("folder/three"), "");
    EXPECT_EQ(names(folder), (Names{"one", "three", "two"}));
}

TEST(LinuxFolder, SaysWhyItCannotBeListed) {
    makeKinds();
    const std::pair<std::string, std::errc> failures[] = {
        {path("none"), std::errc::no_such_file_or_directory},
        {"", std::errc::no_such_file_or_directory},
        {path("kinds/link to nowhere"), std::errc::no_such_file_or_directory},
        {path("kinds/file"), std::errc::not_a_directory},
        {path("kinds/pipe"), std::errc::not_a_directory}, // and nobody waited for a writer
        {path(std::string(PATH_MAX, 'x')), std::errc::filename_too_long},
    };
    for (const auto& [name, expected] : failures) {
        LinuxFolder folder(name);
        EXPECT_EQ(folder.path(), name);
        EXPECT_EQ(errorOf(folder), expected) << name;
        EXPECT_EQ(errorOf(folder), expected) << name; // and says it again
    }
    LinuxFolder kinds(path("kinds"));
    EXPECT_EQ(errorOf(*kinds.subfolder(asFolder("none"))), std::errc::no_such_file_or_directory);
    EXPECT_EQ(errorOf(*kinds.subfolder(asFolder("file"))), std::errc::not_a_directory);
    EXPECT_EQ(errorOf(*kinds.subfolder(asLink("link to nowhere"))), std::errc::no_such_file_or_directory);
    LinuxFolder nameless("");
    sandbox::writeFile(path("file"), "x");
    EXPECT_FALSE(nameless.contents(path("file").substr(1), kLimit).exists);
    EXPECT_EQ(errorOf(*nameless.subfolder(asFolder("tmp"))), std::errc::no_such_file_or_directory);
}

TEST(LinuxFolder, ForgetsAnErrorFromBefore) {
    sandbox::makeFolder(path("folder"));
    LinuxFolder folder(path("folder"));
    auto error = std::make_error_code(std::errc::io_error);
    folder.entries(Listing::Everything, error);
    EXPECT_FALSE(error);
}

TEST(LinuxFolder, FollowsLinksWhenAskedForFolders) {
    makeKinds();
    LinuxFolder folder(path("kinds"));
    EXPECT_TRUE(folder.isFolder(asFolder("folder")));
    EXPECT_TRUE(folder.isFolder(asLink("link")));
    EXPECT_FALSE(folder.isFolder(asLink("link to file")));
    EXPECT_FALSE(folder.isFolder(asLink("link to nowhere")));
    EXPECT_FALSE(folder.isFolder({"file", EntryKind::File}));
}

TEST(LinuxFolder, HasSubfoldersOfItsOwn) {
    sandbox::writeFile(path("top/inner/deep/file"), "x");
    symlink("inner", path("top/link").c_str());
    LinuxFolder top(path("top"));
    auto inner = top.subfolder(asFolder("inner"));
    EXPECT_EQ(inner->path(), path("top/inner"));
    EXPECT_EQ(names(*inner), Names{"deep"});
    auto linked = top.subfolder(asLink("link"));
    EXPECT_EQ(linked->path(), path("top/link"));
    EXPECT_EQ(names(*linked), Names{"deep"});
    auto deep = linked->subfolder(asFolder("deep"));
    EXPECT_EQ(names(*deep), Names{"file"});
    EXPECT_EQ(deep->contents("file", kLimit).bytes, "x");
}

TEST(LinuxFolder, GivesFileContentsByRelativePath) {
    sandbox::writeFile(path("top/Tool.app/Contents/Info.plist"), "info");
    symlink("Tool.app", path("top/Linked.app").c_str());
    LinuxFolder top(path("top"));
    EXPECT_EQ(top.contents("Tool.app/Contents/Info.plist", kLimit).bytes, "info");
    EXPECT_EQ(top.contents("Linked.app/Contents/Info.plist", kLimit).bytes, "info");
    EXPECT_FALSE(top.contents("Tool.app/Contents/None.plist", kLimit).exists);
    auto tooLarge = top.contents("Tool.app/Contents/Info.plist", 3);
    EXPECT_TRUE(tooLarge.exists);
    EXPECT_FALSE(tooLarge.bytes);
}

TEST(LinuxFolder, WorksOnAfterBeingSuspended) {
    makeKinds();
    LinuxFolder folder(path("kinds"));
    folder.suspend();
    folder.suspend();
    EXPECT_EQ(folder.contents("file", kLimit).bytes, "x");
    folder.suspend();
    EXPECT_TRUE(folder.isFolder(asLink("link")));
    EXPECT_EQ(names(*folder.subfolder(asFolder("folder"))), Names{});
    folder.suspend();
    std::filesystem::rename(path("kinds"), path("gone"));
    EXPECT_EQ(errorOf(folder), std::errc::no_such_file_or_directory);
}

TEST(LinuxFolder, GivesItsDescriptorBack) {
    sandbox::makeFolder(path("folder"));
    auto descriptors = [] { return std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {}); };
    const auto before = descriptors();
    {
        LinuxFolder folder(path("folder"));
        EXPECT_EQ(descriptors(), before + 1);
        folder.suspend();
        EXPECT_EQ(descriptors(), before);
        names(folder);
        EXPECT_EQ(descriptors(), before + 1);
    }
    EXPECT_EQ(descriptors(), before);
}

TEST(LinuxFolder, ReachesAtMostFortyLinksDeepStepByStep) {
    makeLoop();
    for (int links : {0, 1, 39, 40, 41, 45}) {
        SCOPED_TRACE(links);
        auto folder = loopFolder(links);
        LinuxFolder atOnce(loopPath(links));
        EXPECT_EQ(folder->path(), atOnce.path());
        for (auto* same : {folder.get(), static_cast<Folder*>(&atOnce)}) {
            if (links > 40) {
                EXPECT_EQ(errorOf(*same), std::errc::too_many_symbolic_link_levels);
            } else {
                EXPECT_EQ(names(*same), (Names{"file", "real", "self"}));
            }
            EXPECT_EQ(same->contents("file", kLimit).exists, links <= 40);
            EXPECT_EQ(same->isFolder(asLink("self")), links < 40);
            // A link more in a relative path, and behind a folder that is none.
            EXPECT_EQ(same->contents("self/file", kLimit).exists, links < 40);
            EXPECT_EQ(same->contents("real/file by link", kLimit).exists, links < 40);
            auto real = same->subfolder(asFolder("real"));
            EXPECT_EQ(real->contents("file", kLimit).exists, links <= 40);
            EXPECT_EQ(real->contents("file by link", kLimit).exists, links < 40);
            real->suspend();
            EXPECT_EQ(real->contents("file", kLimit).exists, links <= 40);
        }
    }
}

TEST(LinuxFolder, CountsTheLinksOfARelativePathAlone) {
    makeLoop();
    LinuxFolder folder(path("loop"));
    auto relative = loopPath(40).substr(path("loop/").size());
    EXPECT_TRUE(folder.contents(relative + "/file", kLimit).exists);
    EXPECT_FALSE(folder.contents(relative + "/self/file", kLimit).exists);
}

TEST(LinuxFolder, ReachesNoPathThatIsTooLongStepByStep) {
    // Folders of 200 characters until one more would not fit; the last ones end exactly at the limit.
    const std::string name(200, 'n');
    auto current = path("long");
    sandbox::makeFolder(current);
    std::unique_ptr<Folder> folder = std::make_unique<LinuxFolder>(current);
    platform::FileDescriptor place(open(current.c_str(), O_RDONLY | O_DIRECTORY));
    auto enter = [&](const std::string& child) {
        ASSERT_EQ(mkdirat(place.get(), child.c_str(), 0700), 0);
        place = platform::FileDescriptor(openat(place.get(), child.c_str(), O_RDONLY | O_DIRECTORY));
        EXPECT_TRUE(folder->isFolder(asFolder(child)));
        folder = folder->subfolder(asFolder(child));
        EXPECT_EQ(names(*folder), Names{});
        current += "/" + child;
    };
    while (current.size() + 2 * (1 + name.size()) < PATH_MAX) {
        enter(name);
    }
    const auto room = PATH_MAX - 1 - current.size() - 1; // for one more name
    const std::string fitting(room, 'f');
    const std::string tooLong(room + 1, 't');
    for (const auto& child : {fitting, tooLong}) {
        ASSERT_EQ(mkdirat(place.get(), (child).c_str(), 0700), 0);
    }
    EXPECT_TRUE(folder->isFolder(asFolder(fitting)));
    EXPECT_EQ(names(*folder->subfolder(asFolder(fitting))), Names{});
    EXPECT_FALSE(folder->isFolder(asFolder(tooLong)));
    EXPECT_EQ(errorOf(*folder->subfolder(asFolder(tooLong))), std::errc::filename_too_long);
    for (const auto& child : {fitting, tooLong}) {
        ASSERT_EQ(unlinkat(place.get(), child.c_str(), AT_REMOVEDIR), 0);
        platform::FileDescriptor file(openat(place.get(), child.c_str(), O_WRONLY | O_CREAT, 0600));
    }
    EXPECT_TRUE(folder->contents(fitting, kLimit).exists);
    EXPECT_FALSE(folder->contents(tooLong, kLimit).exists);
}
