#include "AuthorizationFixture.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <gmock/gmock.h>
#include <random>
#include <string_view>

using testing::ElementsAre;
using testing::IsEmpty;
using Path = VTAuthorization::Path;

namespace {

// Every path exists, every folder holds an item, and nothing of it is looked for on disk.
class EverythingExists : public FailingFileManager {
public:
    using FailingFileManager::FailingFileManager;

    bool fileExists(const std::string&) override { return true; }
    std::unique_ptr<platform::Folder> openFolder(const std::string& path) override {
        return std::make_unique<OneItem>(path);
    }

private:
    class OneItem : public platform::Folder {
    public:
        explicit OneItem(std::string path) : path_(std::move(path)) {}

        const std::string& path() const override { return path_; }
        std::vector<platform::DirectoryEntry> entries(platform::Listing, std::error_code&) override {
            return {{"item", platform::EntryKind::File}};
        }
        bool isFolder(const platform::DirectoryEntry&) override { return false; }
        std::unique_ptr<platform::Folder> subfolder(const platform::DirectoryEntry&) override {
            return nullptr;
        }
        platform::FileContents contents(std::string_view, std::size_t) override { return {}; }
        void suspend() override {}

    private:
        std::string path_;
    };
};

class LastLines : public platform::ConsoleLog {
public:
    void log(std::string_view text) override { lines.emplace_back(text); }
    std::vector<std::string> lines;
};

struct Operation {
    const char* message;
    bool (*run)(VTAuthorization& controller, const std::string& path);
};

constexpr std::array<Operation, 7> kGuarded{{
    {"Unable to delete path ",
     [](VTAuthorization& c, const std::string& path) { return c.authRemoveFile(path); }},
    {"Unable to trash path ",
     [](VTAuthorization& c, const std::string& path) { return c.authTrashFile(path); }},
    {"Unable to trash path ",
     [](VTAuthorization& c, const std::string& path) { return c.authTrashFile(path, true); }},
    {"Unable to trash folder contents of path ",
     [](VTAuthorization& c, const std::string& path) { return c.authTrashFolderContents(path); }},
    {"Unable to trash folder contents of path ",
     [](VTAuthorization& c, const std::string& path) { return c.authTrashFolderContents(path, true); }},
    {"Unable to move path ",
     [](VTAuthorization& c, const std::string& path) { return c.authMoveFile(path, "/elsewhere"); }},
    {"Unable to move contents of path ",
     [](VTAuthorization& c, const std::string& path) {
         return c.authMoveFolderContents(path, "/elsewhere");
     }},
}};

// The folders of the first platform, with alice as the user: names that this machine's files have nothing to
// do with. Local documents do not exist, so that nineteen of the twenty paths are left, and the top folder.
const std::vector<std::string> kProtected{
    "/Users/alice/Applications",
    "/Applications",
    "/Users/alice/Applications/Utilities",
    "/Applications/Utilities",
    "/Users/alice/Documents",
    "/Users/alice/Library",
    "/Library",
    "/Users/alice/Library/Preferences",
    "/Library/Preferences",
    "/Users/alice/Library/Caches",
    "/Library/Caches",
    "/Users/alice/Library/Application Support",
    "/Library/Application Support",
    "/Users/alice/Desktop",
    "/Users/alice",
    "/System/Library",
    "/Library/Documentation",
    "/Users/Shared",
    "/Volumes",
    "/",
};

// Symbols of one UTF-16 unit each, and then one of two. A byte that is no text counts as one.
const std::vector<std::string> kSymbols{"/", "x", ".", "-", " ", "\n", "A", "l", "é", "日", "\xFF", "😀"};

// One symbol of one unit, and nothing else?
bool isOneUnit(std::string_view text) {
    return text.size() == 1 || (text != "😀" && std::ranges::find(kSymbols, text) != kSymbols.end());
}

// Written from the other end than the guard: which texts stand for a protected path?
bool isProtected(const std::string& path) {
    return std::ranges::any_of(kProtected, [&](const std::string& known) {
        if (path == known) {
            return true;
        }
        // A trailing slash goes together with the unit before it.
        return known != "/" && path.starts_with(known) && path.ends_with('/') &&
               path.size() > known.size() + 1 &&
               isOneUnit(std::string_view(path).substr(known.size(), path.size() - known.size() - 1));
    });
}

// Makes absolute paths, near a protected one or far from all.
class PathMaker {
public:
    explicit PathMaker(unsigned seed) : numbers_(seed) {}

    std::string next() {
        std::string path;
        if (random(4) == 0) {
            static const std::vector<std::string> kNames{
                "Applications", "Library",     "Users", "alice", "Shared", "Volumes", "System",
                "Preferences",  "Documents",   "..",    ".",     "-rf",    "x",       "\xFF",
                "line\nbreak",  "Application", "usr",   "var",   "root",   "private", "Utilities"};
            for (auto count = random(5); count > 0; --count) {
                path += "/" + kNames[random(kNames.size())];
            }
        } else {
            path = kProtected[random(kProtected.size())];
        }
        for (auto changes = random(4); changes > 0; --changes) {
            change(path);
        }
        return path.starts_with('/') ? path : "/" + path;
    }

private:
    std::size_t random(std::size_t bound) { return numbers_() % bound; }

    void change(std::string& path) {
        const auto& symbol = kSymbols[random(kSymbols.size())];
        switch (random(6)) {
        case 0:
            path += "/";
            break;
        case 1:
            path += symbol;
            break;
        case 2:
            path += symbol + "/";
            break;
        case 3: // an ASCII letter less
            if (!path.empty() && path.back() > 0) {
                path.pop_back();
            }
            break;
        case 4:
            if (auto at = path.find_first_of("AaLlUuVv", random(path.size() + 1)); at != std::string::npos) {
                path[at] = static_cast<char>(path[at] ^ 0x20); // the other case
            }
            break;
        default:
            path.insert(std::min(path.rfind('/'), path.size()), symbol);
        }
    }

    std::mt19937_64 numbers_;
};

class VTAuthorizationGuard : public AuthorizationAs {
protected:
    VTAuthorizationGuard() : platform_(harmless(lines_)) {
        ::unsetenv("VANTOREL_ROOT");
        auto& users = sandbox::users();
        users.home = isRoot() ? "/root" : "/Users/alice";
        users.login = isRoot() ? "root" : "alice";
        users.console = "alice";
        users.homes = {{"alice", "/Users/alice"}};
        controller();
    }

    // What the console was told since the last call.
    std::vector<std::string> told() { return std::exchange(lines_->lines, {}); }

private:
    static platform::Platform harmless(std::shared_ptr<platform::ConsoleLog> console) {
        auto files = std::make_shared<EverythingExists>(platform::current().fileManager);
        files->createDirectoryFailure = [](const std::string&) {
            return std::make_error_code(std::errc::read_only_file_system);
        };
        auto services = platform::current();
        services.fileManager = std::move(files);
        services.consoleLog = std::move(console);
        return services;
    }

    std::shared_ptr<LastLines> lines_ = std::make_shared<LastLines>();
    platform::ScopedPlatform platform_;
};

} // namespace

INSTANTIATE_TEST_SUITE_P(As, VTAuthorizationGuard, testing::Values(Role::User, Role::Root), kNameOfRole);

TEST_P(VTAuthorizationGuard, RefusesEveryProtectedPath) {
    ASSERT_EQ(kProtected.size(), 20U);
    for (const auto& path : kProtected) {
        for (const auto& operation : kGuarded) {
            EXPECT_FALSE(operation.run(controller(), path)) << operation.message << path;
            EXPECT_THAT(told(), ElementsAre(operation.message + path + " because it is a system directory."));
            EXPECT_THAT(started(), IsEmpty());
        }
    }
    EXPECT_THAT(service().events, ElementsAre("privilegedReference")); // nobody was asked either
}

TEST_P(VTAuthorizationGuard, LetsTheirContentsPass) {
    for (const auto& path : kProtected) {
        const auto inside = path + (path == "/" ? "" : "/") + "content";
        for (const auto& operation : kGuarded) {
            EXPECT_TRUE(operation.run(controller(), inside)) << operation.message << inside;
            EXPECT_THAT(told(), IsEmpty());
            EXPECT_EQ(started().size(), 1U);
        }
    }
    for (const char* path :
         {"/usr", "/var", "/System", "/private/var", "/Users/alice/", "/Users/alice/.Trash"}) {
        EXPECT_TRUE(controller().authRemoveFile(path)) << path; // by the exact match, and the cut
    }
}

TEST_P(VTAuthorizationGuard, AgreesWithItsModel) {
    constexpr int kPaths = 50'000; // and as many others for the other role
    PathMaker maker(isRoot() ? 1 : 2);
    std::mt19937_64 numbers(7);
    int protectedPaths = 0;
    for (int i = 0; i < kPaths; ++i) {
        const auto path = maker.next();
        const auto& operation = kGuarded[numbers() % kGuarded.size()];
        const bool result = operation.run(controller(), path);
        const auto lines = told();
        const auto runs = started();
        if (isProtected(path)) {
            ++protectedPaths;
            ASSERT_FALSE(result) << operation.message << path;
            ASSERT_THAT(lines, ElementsAre(operation.message + path + " because it is a system directory."));
            ASSERT_TRUE(runs.empty()) << operation.message << path;
        } else {
            ASSERT_TRUE(result) << operation.message << path;
            ASSERT_TRUE(lines.empty()) << lines.front();
            ASSERT_EQ(runs.size(), 1U) << operation.message << path;
        }
    }
    EXPECT_GT(protectedPaths, kPaths / 5);
    EXPECT_LT(protectedPaths, kPaths * 4 / 5);
}
