#include "ProcessInfo.h"

#include "FailingFileManager.h"
#include "PrivateTmp.h"
#include "TestSandbox.h"

#include <cstdlib>
#include <gmock/gmock.h>
#include <map>
#include <set>
#include <sys/stat.h>
#include <sys/sysinfo.h>
#include <sys/utsname.h>
#include <unistd.h>

using Path = std::optional<std::string>;

using sandbox::path;

namespace {

// A file manager on which certain files hold what the test says.
class MadeUpFiles : public FailingFileManager {
public:
    using FailingFileManager::FailingFileManager;

    std::map<std::string, Path> files; // absent: there is no such file

    platform::FileContents contents(const std::string& file, std::size_t limit) override {
        auto found = files.find(file);
        return found == files.end() ? FailingFileManager::contents(file, limit)
                                    : platform::FileContents{found->second.has_value(), found->second};
    }
};

// The system's version when its release files hold this.
std::string versionWith(const Path& etc, const Path& usr = std::nullopt) {
    auto files = std::make_shared<MadeUpFiles>(platform::current().fileManager);
    files->files = {{"/etc/os-release", etc}, {"/usr/lib/os-release", usr}};
    auto services = platform::current();
    services.fileManager = files;
    platform::ScopedPlatform scope(services);
    return platform::operatingSystemVersionString();
}

std::string kernel() {
    utsname system{};
    uname(&system);
    return system.release;
}

std::string folderWithMode(const std::string& name, mode_t mode) {
    sandbox::makeFolder(path(name));
    chmod(path(name).c_str(), mode);
    return path(name);
}

// The temporary folder with these two variables set.
Path temporaryDirectoryWith(const std::string& tmpdir, const std::string& runtimeDirectory) {
    setenv("TMPDIR", tmpdir.c_str(), 1);
    setenv("XDG_RUNTIME_DIR", runtimeDirectory.c_str(), 1);
    return platform::temporaryDirectory();
}

std::string ownFolder() {
    return "/tmp/com.vantorel." + std::to_string(geteuid());
}

void expectPrivate(const std::string& folder) {
    struct stat status {};
    ASSERT_EQ(lstat(folder.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode, S_IFDIR | 0700U);
    EXPECT_EQ(status.st_uid, geteuid());
}

} // namespace

TEST(ProcessInfo, NamesTheSystemAndItsKernel) {
    const auto expected = "Some GNU/Linux 12 (name) " + kernel();
    EXPECT_EQ(versionWith("PRETTY_NAME=\"Some GNU/Linux 12 (name)\"\nNAME=x\n"), expected);
    EXPECT_EQ(versionWith("NAME=x\nPRETTY_NAME='Some GNU/Linux 12 (name)'"), expected);
    EXPECT_EQ(versionWith("#PRETTY_NAME=no\nNOT_PRETTY_NAME=no\nPRETTY_NAME=Some GNU/Linux 12 (name)\n"),
              expected);
    EXPECT_EQ(versionWith(std::nullopt, "PRETTY_NAME=\"Some GNU/Linux 12 (name)\"\n"), expected);
    EXPECT_EQ(versionWith("PRETTY_NAME=First\n", "PRETTY_NAME=Second\n"), "First " + kernel());
    EXPECT_EQ(versionWith("PRETTY_NAME=\"\n"), "\" " + kernel());
    for (const char* nothing : {"", "NAME=x\n", "PRETTY_NAME=\n", "PRETTY_NAME=\"\"\n"}) {
        EXPECT_EQ(versionWith(nothing), "Linux " + kernel()) << nothing;
    }
    EXPECT_EQ(versionWith(std::nullopt), "Linux " + kernel());
}

TEST(ProcessInfo, CountsProcessorsAndMemory) {
    EXPECT_EQ(platform::processorCount(), get_nprocs());
    struct sysinfo system {};
    ASSERT_EQ(sysinfo(&system), 0);
    EXPECT_EQ(platform::physicalMemory(), std::uint64_t{system.totalram} * system.mem_unit);
}

TEST(ProcessInfo, GivesAStringThatIsNowhereElse) {
    const std::string form("[0-9A-F]{8}-[0-9A-F]{4}-4[0-9A-F]{3}-[89AB][0-9A-F]{3}-[0-9A-F]{12}");
    std::set<std::string> seen;
    for (int i = 0; i < 1000; ++i) {
        auto text = platform::globallyUniqueString();
        EXPECT_THAT(text, testing::MatchesRegex(form));
        seen.insert(text);
    }
    EXPECT_EQ(seen.size(), 1000U);
}

TEST(ProcessInfo, TakesAPrivateTemporaryFolder) {
    const auto mine = folderWithMode("mine", 0700);
    const auto runtime = folderWithMode("runtime", 0700);
    EXPECT_EQ(temporaryDirectoryWith(mine, runtime), mine);
    EXPECT_EQ(temporaryDirectoryWith(mine + "//", runtime), mine);
    EXPECT_EQ(temporaryDirectoryWith("", runtime), runtime);
}

TEST(ProcessInfo, RefusesATemporaryFolderThatIsNotPrivate) {
    const auto runtime = folderWithMode("runtime", 0700);
    for (mode_t mode : {0777, 01777, 0755, 0750, 0701, 0600, 01700, 02700}) {
        EXPECT_EQ(temporaryDirectoryWith(folderWithMode("folder", mode), runtime), runtime)
            << std::oct << mode;
    }
    folderWithMode("folder", 0700);
    symlink("folder", path("link").c_str());
    sandbox::writeFile(path("file"), "");
    chmod(path("file").c_str(), 0700);
    for (const auto& other : {path("link"), path("link/"), path("file"), path("none"), std::string("folder"),
                              std::string("/tmp"), std::string("/")}) {
        EXPECT_EQ(temporaryDirectoryWith(other, runtime), runtime) << other;
    }
}

TEST(ProcessInfo, RefusesATemporaryFolderOfSomebodyElse) {
    if (geteuid() != 0) {
        GTEST_SKIP() << "gives folders away, which takes root";
    }
    const auto runtime = folderWithMode("runtime", 0700);
    const auto foreign = folderWithMode("foreign", 0700);
    ASSERT_EQ(chown(foreign.c_str(), 1234, 0), 0);
    EXPECT_EQ(temporaryDirectoryWith(foreign, runtime), runtime);
}

TEST(ProcessInfo, MakesAPrivateTemporaryFolder) {
    bool isAllowed = sandbox::inPrivateTmp([] {
        const auto mask = umask(0);
        EXPECT_EQ(platform::temporaryDirectory(), ownFolder());
        expectPrivate(ownFolder());
        EXPECT_EQ(platform::temporaryDirectory(), ownFolder()); // also once it is there
        umask(mask);
    });
    if (!isAllowed) {
        GTEST_SKIP() << "the system allows no private /tmp";
    }
}

TEST(ProcessInfo, NeverUsesATemporaryFolderThatSomebodyElsePrepared) {
    bool isAllowed = sandbox::inPrivateTmp([] {
        ASSERT_EQ(mkdir(ownFolder().c_str(), 0700), 0);
        chmod(ownFolder().c_str(), 0777);
        EXPECT_EQ(platform::temporaryDirectory(), std::nullopt); // and there is no cache folder
        sandbox::makeFolder("/tmp/home/.cache");
        EXPECT_EQ(platform::temporaryDirectory(), "/tmp/home/.cache/com.vantorel");
        expectPrivate("/tmp/home/.cache/com.vantorel");

        ASSERT_EQ(rename(ownFolder().c_str(), "/tmp/elsewhere"), 0);
        chmod("/tmp/elsewhere", 0700);
        symlink("/tmp/elsewhere", ownFolder().c_str());
        EXPECT_EQ(platform::temporaryDirectory(), "/tmp/home/.cache/com.vantorel");
        chmod("/tmp/home/.cache/com.vantorel", 0755);
        EXPECT_EQ(platform::temporaryDirectory(), std::nullopt);
    });
    if (!isAllowed) {
        GTEST_SKIP() << "the system allows no private /tmp";
    }
}

TEST(ProcessInfo, FindsTheCacheFolder) {
    EXPECT_EQ(platform::userCacheDirectory(), std::nullopt);
    sandbox::makeFolder(sandbox::home() + "/.cache");
    EXPECT_EQ(platform::userCacheDirectory(), sandbox::home() + "/.cache");
    setenv("XDG_CACHE_HOME", "relative", 1);
    EXPECT_EQ(platform::userCacheDirectory(), sandbox::home() + "/.cache");
    setenv("XDG_CACHE_HOME", (path("caches") + "/").c_str(), 1);
    EXPECT_EQ(platform::userCacheDirectory(), std::nullopt); // named, but not there
    sandbox::makeFolder(path("caches"));
    EXPECT_EQ(platform::userCacheDirectory(), path("caches"));
    sandbox::users().home.reset();
    EXPECT_EQ(platform::userCacheDirectory(), path("caches"));
    unsetenv("XDG_CACHE_HOME");
    EXPECT_EQ(platform::userCacheDirectory(), std::nullopt);
}
