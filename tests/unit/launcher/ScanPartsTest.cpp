// Scans of folders large enough to be shared between two threads.

#include "AppController.h"

#include "FailingFiles.h"
#include "ToolTree.h"
#include "VTLog.h"

#include <atomic>
#include <cstdio>
#include <filesystem>
#include <gmock/gmock.h>

namespace fs = std::filesystem;
using namespace tooltree;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::SizeIs;

namespace {

// Enough for several parts.
constexpr int kMany = 600;

std::string numbered(int number) {
    char text[8];
    std::snprintf(text, sizeof text, "%05d", number);
    return text;
}

// Folders `path`00000 and so on, each with a tool of that name; their titles.
std::vector<std::string> addManyFolders(const std::string& path) {
    std::vector<std::string> titles;
    for (int i = 0; i < kMany; ++i) {
        titles.push_back(path + numbered(i));
        addTool(titles.back() + "/T.app", titles.back());
    }
    return titles;
}

class ScanPartsFailure : public testing::Test {
protected:
    void TearDown() override { VTLog::finishWriting(); } // the log's thread uses the services, too

    // Scans, and expects so many exceptions in the log.
    static std::optional<AppController::AppList> scanWithExceptions() {
        testing::internal::CaptureStdout();
        auto apps = AppController::appsForFolder(applications());
        EXPECT_THAT(testing::internal::GetCapturedStdout(), HasSubstr("NSReadException"));
        return apps;
    }

private:
    static platform::Platform withFailures() {
        auto services = platform::current();
        services.fileManager = std::make_shared<FailingFiles>();
        return services;
    }
    platform::ScopedPlatform scope_{withFailures()};
};

} // namespace

TEST(ScanParts, AWideFolderIsListedInOrder) {
    auto titles = addManyFolders("f");
    for (int i = 0; i < 5; ++i) {
        EXPECT_EQ(scannedTitles(), titles);
    }
}

TEST(ScanParts, ADeepTreeIsListedInOrder) {
    std::vector<std::string> titles;
    for (int i = 0; i < kMany; ++i) {
        // Tools before, between and behind the folders of every level.
        auto digits = numbered(i);
        std::string folder = "f";
        for (char digit : digits.substr(1)) {
            folder += std::string("/") + digit;
        }
        addTool(folder + "/T.app", digits);
        titles.push_back(digits);
        if (digits.ends_with("9")) {
            addTool(folder.substr(0, folder.size() - 1) + "T.app", "behind " + digits);
            titles.push_back("behind " + digits);
        }
    }
    for (int i = 0; i < 5; ++i) {
        EXPECT_EQ(scannedTitles(), titles);
    }
}

TEST(ScanParts, LinkedFoldersKeepTheirPlace) {
    addTool("../Volume/A.app", "linked");
    auto titles = addManyFolders("f");
    for (int place : {550, 350, 0}) {
        fs::create_symlink("../Volume", applications() + "/f" + numbered(place) + " link");
        titles.insert(titles.begin() + place + 1, "linked");
    }
    EXPECT_EQ(scannedTitles(), titles);
}

// What the bound on nested links lets through belongs to the first link, whichever thread came upon it.
TEST(ScanParts, TheBoundOnNestedLinksFallsInListingOrder) {
    addTool("../Volume/A.app", "linked");
    fs::create_symlink(".", sandbox::root() + "/Volume/loop");
    fs::create_symlink("./", sandbox::root() + "/Volume/round");
    auto titles = addManyFolders("f");
    fs::create_symlink("../Volume", applications() + "/f" + numbered(100) + " link");
    fs::create_symlink("../Volume", applications() + "/f" + numbered(500) + " link");
    titles.insert(titles.begin() + 501, "linked");
    titles.insert(titles.begin() + 101, 1 + 4'096, "linked");
    EXPECT_EQ(scannedTitles(), titles);
    EXPECT_THAT(sandbox::console().lines(), SizeIs(1));
}

TEST_F(ScanPartsFailure, AnExceptionInALaterPartLosesTheWholeFolder) {
    addTool("a/A.app", "A");
    addManyFolders("m/");
    addTool("m/Bad.app", "bad"); // behind the numbers
    addTool("z/Z.app", "Z");
    EXPECT_THAT(titlesOf(scanWithExceptions()), ElementsAre("A", "Z"));
}

TEST_F(ScanPartsFailure, AnExceptionInAnEarlierPartLosesTheWholeFolder) {
    addTool("a/A.app", "A");
    addManyFolders("m/0/");
    addTool("m/Bad.app", "bad");
    addManyFolders("m/f");
    addTool("z/Z.app", "Z");
    EXPECT_THAT(titlesOf(scanWithExceptions()), ElementsAre("A", "Z"));
}

TEST_F(ScanPartsFailure, AnExceptionFarBelowLosesOnlyItsFolder) {
    auto titles = addManyFolders("f");
    for (int place : {599, 300, 1}) {
        addTool("f" + numbered(place) + "/Bad.app", "bad");
        titles.erase(titles.begin() + place);
    }
    EXPECT_EQ(titlesOf(scanWithExceptions()), titles);
}

TEST_F(ScanPartsFailure, AnExceptionInAPartOfTheTopFolderGivesNoList) {
    addManyFolders("0");
    addTool("Bad.app", "bad");
    EXPECT_EQ(scanWithExceptions(), std::nullopt);
}

TEST(ScanParts, GivesUpInTheMiddleWhenAsked) {
    struct StoppingWorkspace : FakeWorkspace {
        std::stop_source stop;
        std::atomic<int> icons = 0;
        std::shared_ptr<const platform::Icon> iconForFile(const std::string& path) override {
            if (++icons == kMany / 2) {
                stop.request_stop();
            }
            return FakeWorkspace::iconForFile(path);
        }
    };
    addManyFolders("f");
    auto workspace = std::make_shared<StoppingWorkspace>();
    auto services = platform::current();
    services.workspace = workspace;
    platform::ScopedPlatform scope(services);
    EXPECT_EQ(AppController::appsForFolder(applications(), workspace->stop.get_token()), std::nullopt);
    EXPECT_LT(workspace->icons, kMany);
}
