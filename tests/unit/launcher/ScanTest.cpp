#include "AppController.h"

#include "FailingFiles.h"
#include "ToolTree.h"
#include "VTLog.h"

#include <filesystem>
#include <gmock/gmock.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

namespace fs = std::filesystem;
using namespace tooltree;
using testing::Contains;
using testing::Each;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;
using testing::StartsWith;

namespace {

AppController::AppList scan() {
    return AppController::appsForFolder(applications()).value_or(AppController::AppList());
}

void addLink(const std::string& path, const std::string& destination) {
    auto link = applications() + "/" + path;
    sandbox::makeFolder(fs::path(link).parent_path());
    fs::create_symlink(destination, link);
}

constexpr const char* kLinksBack = "Warning: Symbolic link links back to itself.";

} // namespace

// --- What is a tool

TEST(Scan, FillsARecordFromTheBundle) {
    writePlist("Purgel.app/Contents/Info.plist",
               {{"CFBundleName", "Purgel"}, {"CFBundleIdentifier", "com.vantorel.Purgel"}});
    writePlist("Purgel.app/Contents/Resources/VTApp.plist",
               {{"VTAppDescription", "Repairs in one step."}, {"VTGroupName", "Kelvandor"}});
    auto apps = scan();
    ASSERT_THAT(apps, SizeIs(1));
    const auto& app = *apps.front();
    EXPECT_EQ(app.title(), "Purgel");
    EXPECT_EQ(app.description(), "Repairs in one step.");
    EXPECT_EQ(app.groupName(), "Kelvandor");
    EXPECT_EQ(app.bundleID(), "com.vantorel.Purgel");
    EXPECT_EQ(app.appPath(), applications() + "/Purgel.app");
    EXPECT_FALSE(app.hasDuplicate());
    auto icon = std::dynamic_pointer_cast<const FakeWorkspace::FakeIcon>(app.icon());
    ASSERT_TRUE(icon);
    EXPECT_EQ(icon->path, applications() + "/Purgel.app");
}

TEST(Scan, AnEmptyFolderGivesAnEmptyList) {
    auto apps = AppController::appsForFolder(applications());
    ASSERT_TRUE(apps);
    EXPECT_THAT(*apps, IsEmpty());
    EXPECT_THAT(sandbox::console().lines(), IsEmpty());
}

TEST(Scan, ExtensionIgnoresCase) {
    addTool("Purgel.APP", "Purgel");
    EXPECT_THAT(scannedTitles(), ElementsAre("Purgel"));
}

TEST(Scan, ForeignIdentifiersAreSkipped) {
    addTool("A.app", "A");
    for (auto [name, identifier] : {std::pair("B.app", "Com.vantorel.B"), std::pair("C.app", "com.other.C"),
                                    std::pair("D.app", "com.vantore"), std::pair("E.app", "")}) {
        addTool(name, name);
        addBundle(name, name, identifier);
    }
    writePlist("F.app/Contents/Resources/VTApp.plist", {});
    writePlist("F.app/Contents/Info.plist", {{"CFBundleName", "F"}});
    EXPECT_THAT(scannedTitles(), ElementsAre("A"));
    EXPECT_THAT(sandbox::console().lines(), IsEmpty());
}

TEST(Scan, APrefixOfTheIdentifierIsEnough) {
    addTool("A.app", "A");
    addBundle("A.app", "A", "com.vantorelA");
    EXPECT_THAT(scannedTitles(), ElementsAre("A"));
}

TEST(Scan, WithoutANameABundleIsNoTool) {
    addTool("A.app", "A");
    writePlist("A.app/Contents/Info.plist", {{"CFBundleIdentifier", "com.vantorel.A"}});
    EXPECT_THAT(scannedTitles(), IsEmpty());
}

TEST(Scan, AnEmptyNameIsAName) {
    addTool("A.app", "");
    EXPECT_THAT(scannedTitles(), ElementsAre(""));
}

TEST(Scan, ValuesOfAnotherTypeCountAsAbsent) {
    addTool("A.app", "A");
    writePlist("A.app/Contents/Info.plist", {{"CFBundleName", 7}, {"CFBundleIdentifier", "com.vantorel.A"}});
    addTool("B.app", "B");
    writePlist(
        "B.app/Contents/Info.plist",
        {{"CFBundleName", "B"}, {"CFBundleIdentifier", platform::PropertyList::Array{"com.vantorel.B"}}});
    addTool("C.app", "C");
    writePlist("C.app/Contents/Resources/VTApp.plist",
               {{"VTAppDescription", true}, {"VTGroupName", platform::PropertyList::Array{"Kelvandor"}}});
    writePlist("C.app/Contents/VTUpdates.plist", {{"VTGroupName", "Fallback"}});
    auto apps = scan();
    ASSERT_THAT(titlesOf(apps), ElementsAre("C"));
    EXPECT_EQ(apps[0]->description(), std::nullopt);
    EXPECT_EQ(apps[0]->groupName(), "Fallback");
}

TEST(Scan, ToolsInsideAnotherBundleAreNotFound) {
    addTool("Outer.app", "Outer");
    addTool("Outer.app/Contents/Tools/Inner.app", "Inner");
    addBundle("Plain.app", "Plain");
    addTool("Plain.app/Inner.app", "Inner");
    EXPECT_THAT(scannedTitles(), ElementsAre("Outer"));
}

TEST(Scan, BinaryListsAreRead) {
    addTool("A.app", "A");
    writePlist("A.app/Contents/Resources/VTApp.plist", {{"VTGroupName", "Kelvandor"}},
               platform::PropertyListFormat::Binary);
    auto apps = scan();
    ASSERT_THAT(apps, SizeIs(1));
    EXPECT_EQ(apps[0]->groupName(), "Kelvandor");
    EXPECT_EQ(apps[0]->description(), std::nullopt);
}

// --- The descriptor

TEST(Scan, WithoutADescriptorABundleIsNoTool) {
    addBundle("A.app", "A");
    EXPECT_THAT(scannedTitles(), IsEmpty());
}

TEST(Scan, TheDescriptorMayLieInContents) {
    addBundle("A.app", "A");
    writePlist("A.app/Contents/VTApp.plist", {{"VTGroupName", "Contents"}});
    auto apps = scan();
    ASSERT_THAT(apps, SizeIs(1));
    EXPECT_EQ(apps[0]->groupName(), "Contents");
}

TEST(Scan, TheDescriptorInResourcesWins) {
    addTool("A.app", "A", "Resources");
    writePlist("A.app/Contents/VTApp.plist", {{"VTGroupName", "Contents"}, {"VTAppDescription", "other"}});
    auto apps = scan();
    ASSERT_THAT(apps, SizeIs(1));
    EXPECT_EQ(apps[0]->groupName(), "Resources");
    EXPECT_EQ(apps[0]->description(), "Does something.");
}

TEST(Scan, TheGroupMayComeFromTheUpdatesFile) {
    addTool("A.app", "A");
    writePlist("A.app/Contents/VTUpdates.plist",
               {{"VTGroupName", "Kelvandor"}, {"VTAppDescription", "other"}});
    addTool("B.app", "B", "Own");
    writePlist("B.app/Contents/VTUpdates.plist", {{"VTGroupName", "Kelvandor"}});
    addTool("C.app", "C");
    writePlist("C.app/Contents/Resources/VTUpdates.plist", {{"VTGroupName", "wrong place"}});
    auto apps = scan();
    ASSERT_THAT(apps, SizeIs(3));
    EXPECT_EQ(apps[0]->groupName(), "Kelvandor");
    EXPECT_EQ(apps[0]->description(), "Does something.");
    EXPECT_EQ(apps[1]->groupName(), "Own");
    EXPECT_EQ(apps[2]->groupName(), std::nullopt);
}

TEST(Scan, ADamagedDescriptorStillMarksATool) {
    addBundle("A.app", "A");
    sandbox::writeFile(applications() + "/A.app/Contents/Resources/VTApp.plist", "garbage");
    writePlist("A.app/Contents/VTApp.plist", {{"VTGroupName", "not asked"}});
    writePlist("A.app/Contents/VTUpdates.plist", {{"VTGroupName", "Updates"}});
    auto apps = scan();
    ASSERT_THAT(titlesOf(apps), ElementsAre("A"));
    EXPECT_EQ(apps[0]->description(), std::nullopt);
    EXPECT_EQ(apps[0]->groupName(), "Updates");
}

TEST(Scan, AFolderOrPipeInPlaceOfTheDescriptorExistsButSaysNothing) {
    addBundle("A.app", "A");
    sandbox::makeFolder(applications() + "/A.app/Contents/Resources/VTApp.plist");
    addBundle("B.app", "B");
    sandbox::makeFolder(applications() + "/B.app/Contents/Resources");
    ASSERT_EQ(::mkfifo((applications() + "/B.app/Contents/Resources/VTApp.plist").c_str(), 0600), 0);
    addTool("C.app", "C", "Kelvandor");
    fs::remove(applications() + "/C.app/Contents/Info.plist");
    fs::create_symlink("/dev/zero", applications() + "/C.app/Contents/Info.plist");
    auto apps = scan();
    ASSERT_THAT(titlesOf(apps), ElementsAre("A", "B"));
    EXPECT_EQ(apps[0]->groupName(), std::nullopt);
}

TEST(Scan, ADanglingDescriptorDoesNotExist) {
    addBundle("A.app", "A");
    addLink("A.app/Contents/Resources/VTApp.plist", "nowhere");
    writePlist("A.app/Contents/VTApp.plist", {{"VTGroupName", "Contents"}});
    auto apps = scan();
    ASSERT_THAT(apps, SizeIs(1));
    EXPECT_EQ(apps[0]->groupName(), "Contents");
}

TEST(Scan, ADamagedInfoFileMakesNoTool) {
    addTool("A.app", "A");
    sandbox::writeFile(applications() + "/A.app/Contents/Info.plist", "<plist><dict><key>CFBundleName");
    addTool("B.app", "B");
    sandbox::writeFile(applications() + "/B.app/Contents/Info.plist", "");
    EXPECT_THAT(scannedTitles(), IsEmpty());
}

// --- Which folders are entered

TEST(Scan, PlainFoldersAreEnteredInListingOrder) {
    addTool("b.app", "b");
    addTool("A folder/Z.app", "Z");
    addTool("A folder/deeper/Y.app", "Y");
    addTool("C.app", "C");
    addTool("Äther/X.app", "X");
    addTool("zz/W.app", "W");
    // Case does not count, letters beyond ASCII come behind.
    EXPECT_THAT(scannedTitles(), ElementsAre("Y", "Z", "b", "C", "W", "X"));
}

TEST(Scan, EqualNamesButForCaseAreListedByBytes) {
    addTool("tool/1.app", "lower");
    addTool("TOOL/1.app", "upper");
    addTool("Tool/1.app", "mixed");
    EXPECT_THAT(scannedTitles(), ElementsAre("upper", "mixed", "lower"));
}

TEST(Scan, BlacklistedFoldersAreNotEntered) {
    for (const char* name : {".hidden", "Docs", "HELP", "Adobe Photoshop 2020", "My Avid Stuff",
                             "Wacom Tablet", "lib", "License", "Tutorial", "MAMP", "cocumentation"}) {
        addTool(std::string(name) + "/A.app", name);
    }
    addTool("documentation/A.app", "documentation");
    addTool("Help Files/A.app", "Help Files");
    addTool("Old Wacom/A.app", "Old Wacom");
    EXPECT_THAT(scannedTitles(), ElementsAre("documentation", "Help Files", "Old Wacom"));
}

TEST(Scan, TheBlacklistDoesNotConcernBundles) {
    addTool("Calculator.app", "Calculator");
    addTool("Adobe Something.app", "Adobe Something");
    addTool(".dot.app", "dot");
    EXPECT_THAT(scannedTitles(), ElementsAre("dot", "Adobe Something", "Calculator"));
}

TEST(Scan, FoldersWithAnExtensionAreNeitherEnteredNorTaken) {
    for (const char* name :
         {"Tools.localized", "Suite 2.0", "Plug.bundle", "Frame.framework", "Setup.pkg", "Docs.rtfd"}) {
        addTool(std::string(name) + "/A.app", name);
        addTool(name, name); // a descriptor does not help
    }
    EXPECT_THAT(scannedTitles(), IsEmpty());
}

TEST(Scan, ANameThatIsOnlyAnExtensionIsAHiddenFolder) {
    addTool(".app/A.app", "inside");
    addTool("dot./B.app", "B"); // nothing follows the dot
    EXPECT_THAT(scannedTitles(), ElementsAre("B"));
}

TEST(Scan, OddNamesWork) {
    const std::vector<std::string> names{"-dash", "it's \"quoted\"", "line\nbreak", "not utf-8 \xff\xfe",
                                         "tab\t", "back\\slash",     " space ",     "日本語",
                                         "%@%s%n"};
    for (const auto& name : names) {
        addTool(name + "/" + name + " tool.app", "T");
    }
    auto apps = scan();
    ASSERT_THAT(apps, SizeIs(names.size()));
    for (const auto& app : apps) {
        EXPECT_TRUE(fs::is_directory(*app->appPath()));
    }
    EXPECT_THAT(sandbox::console().lines(), IsEmpty());
}

TEST(Scan, FilesAreNoFolders) {
    sandbox::writeFile(applications() + "/file", "x");
    sandbox::writeFile(applications() + "/File.app", "x");
    ASSERT_EQ(::mkfifo((applications() + "/pipe").c_str(), 0600), 0);
    addLink("dangling", "nowhere");
    addLink("to file", "file");
    EXPECT_THAT(scannedTitles(), IsEmpty());
    EXPECT_THAT(sandbox::console().lines(), IsEmpty());
}

// --- Failures

TEST(Scan, AFolderThatCannotBeListedIsReported) {
    EXPECT_EQ(AppController::appsForFolder(sandbox::root() + "/missing"), std::nullopt);
    EXPECT_THAT(sandbox::console().lines(),
                ElementsAre("Unable to get contents of directory " + sandbox::root() +
                            "/missing - No such file or directory"));
}

namespace {

class FailingScan : public testing::Test {
protected:
    void TearDown() override { VTLog::finishWriting(); } // the log's thread uses the services, too

private:
    platform::Platform withFailures() {
        auto services = platform::current();
        services.fileManager = std::make_shared<FailingFiles>();
        return services;
    }
    platform::ScopedPlatform scope_{withFailures()};
};

} // namespace

TEST_F(FailingScan, AnUnlistableFolderLosesNothingElse) {
    addTool("a/A.app", "A");
    addTool("unlistable/B.app", "B");
    addTool("z/Z.app", "Z");
    EXPECT_THAT(scannedTitles(), ElementsAre("A", "Z"));
    EXPECT_THAT(sandbox::console().lines(), ElementsAre("Unable to get contents of directory " +
                                                        applications() + "/unlistable - Permission denied"));
}

TEST_F(FailingScan, AnExceptionLosesThatFolderWithAllItsRecords) {
    addTool("a/A.app", "A");
    addTool("m/A good one.app", "lost");
    addTool("m/inner/Good.app", "lost as well");
    addTool("m/Bad.app", "bad");
    addTool("m/Later.app", "never seen");
    addTool("throwing/B.app", "B");
    addTool("z/Z.app", "Z");
    testing::internal::CaptureStdout();
    EXPECT_THAT(scannedTitles(), ElementsAre("A", "Z"));
    auto printed = testing::internal::GetCapturedStdout();
    EXPECT_THAT(printed,
                HasSubstr("Exception in -[AppController appsForFolder:]. NSReadException - reading went "
                          "wrong."));
    EXPECT_THAT(printed,
                HasSubstr("Exception in -[AppController appsForFolder:]. NSListException - listing went "
                          "wrong."));
}

TEST_F(FailingScan, AnExceptionInTheTopFolderGivesNoList) {
    addTool("a/A.app", "A");
    addTool("Bad.app", "bad");
    testing::internal::CaptureStdout();
    EXPECT_EQ(AppController::appsForFolder(applications()), std::nullopt);
    EXPECT_THAT(testing::internal::GetCapturedStdout(), HasSubstr("NSReadException"));
}

TEST(Scan, GivesUpWhenAsked) {
    addTool("A.app", "A");
    std::stop_source stop;
    stop.request_stop();
    EXPECT_EQ(AppController::appsForFolder(applications(), stop.get_token()), std::nullopt);
}

// --- Links

TEST(ScanLinks, IntoTheApplicationsFolderAreRefused) {
    addTool("real/A.app", "A");
    addLink("back", applications() + "/real");
    addLink("sibling", applications() + "X"); // only the text counts
    sandbox::makeFolder(applications() + "X");
    EXPECT_THAT(scannedTitles(), ElementsAre("A"));
    EXPECT_THAT(sandbox::console().lines(), ElementsAre(kLinksBack, kLinksBack));
}

TEST(ScanLinks, ToOtherPlacesAreFollowed) {
    addTool("../Volume/A.app", "A");
    addLink("other", sandbox::root() + "/Volume");
    addLink("relative", "../Volume");
    auto apps = scan();
    ASSERT_THAT(titlesOf(apps), ElementsAre("A", "A"));
    EXPECT_EQ(apps[0]->appPath(), applications() + "/other/A.app");
    EXPECT_EQ(apps[1]->appPath(), applications() + "/relative/A.app");
    EXPECT_THAT(sandbox::console().lines(), IsEmpty());
}

TEST(ScanLinks, ARelativeDestinationInsideIsFollowed) {
    addTool("real/A.app", "A");
    addLink("again", "real");
    EXPECT_THAT(scannedTitles(), ElementsAre("A", "A"));
}

TEST(ScanLinks, ALinkToABundleIsATool) {
    addTool("A.app", "A");
    addLink("B.app", applications() + "/A.app"); // the guard is for folders that are entered
    EXPECT_THAT(scannedTitles(), ElementsAre("A", "A"));
}

TEST(ScanLinks, ALinkWithoutExtensionToABundleIsAPlainFolder) {
    addTool("A.app", "A");
    addTool("A.app/Contents/Resources/Inner.app", "Inner");
    addLink("plain", "A.app");
    EXPECT_THAT(scannedTitles(), ElementsAre("A", "Inner"));
}

TEST(ScanLinks, TheTopFolderIsGuardedToo) {
    fs::rename(applications(), applications() + "-real");
    fs::create_symlink(applications() + "-real", applications());
    EXPECT_EQ(AppController::appsForFolder(applications()), std::nullopt);
    EXPECT_THAT(sandbox::console().lines(), ElementsAre(kLinksBack));
}

// The system follows 40 links in a path and not one more.
TEST(ScanLinks, ALoopEndsAfterFortyLinks) {
    addTool("A.app", "A");
    addLink("loop", ".");
    auto apps = scan();
    EXPECT_THAT(apps, SizeIs(41));
    for (const auto& app : apps) {
        EXPECT_TRUE(fs::exists(*app->appPath()));
    }
}

TEST(ScanLinks, UpwardsEndsAfterFortyLinks) {
    addTool("sub/A.app", "A");
    addLink("sub/up", "..");
    EXPECT_THAT(scan(), SizeIs(41));
}

TEST(ScanLinks, LinksAreCountedAlongTheWholePath) {
    // 39 links in a row lead to the tools; another two are one too many.
    addTool("../chain/end/A.app", "A");
    addTool("../other/B.app", "B");
    fs::create_symlink("../../other", sandbox::root() + "/chain/end/inside");
    addTool("../more/C.app", "C");
    fs::create_symlink("../more", sandbox::root() + "/other/further");
    std::string destination = "end";
    for (int i = 0; i < 38; ++i) {
        auto name = "l" + std::to_string(i);
        fs::create_symlink(destination, sandbox::root() + "/chain/" + name);
        destination = name;
    }
    addLink("in", "../chain/" + destination);            // the 39th
    EXPECT_THAT(scannedTitles(), ElementsAre("A", "B")); // 39 and 40; C would be the 41st
}

// Two links back side by side double with every level. What they may add is bounded: each of the two is
// entered once, and then 4,096 times behind another link.
TEST(ScanLinks, LoopsSideBySideEnd) {
    addTool("A.app", "A");
    addLink("loop", ".");
    addLink("round", "./");
    // While something is mounted elsewhere the system may count the links of a path twice, and so refuse one
    // that has more than 20.
    EXPECT_THAT(scan(), SizeIs(testing::AllOf(testing::Gt(4000), testing::Le(1 + 2 + 4096))));
    EXPECT_THAT(
        sandbox::console().lines(),
        ElementsAre("Warning: Too many symbolic links inside linked folders; the rest are not followed."));
}

// Nor does it help them to lead into a large tree: 200,000 folders are entered behind such links.
TEST(ScanLinks, LoopsSideBySideInALargeTreeEnd) {
    for (int i = 0; i < 1000; ++i) {
        sandbox::makeFolder(applications() + "/a" + std::to_string(i));
    }
    addTool("A.app", "A");
    addLink("loop", ".");
    addLink("round", "./");
    // A round behind a nested link enters 1,000 folders and the next link.
    EXPECT_THAT(scan(), SizeIs(testing::AllOf(testing::Gt(41), testing::Lt(250))));
    EXPECT_THAT(
        sandbox::console().lines(),
        ElementsAre("Warning: Too many symbolic links inside linked folders; the rest are not followed."));
}

TEST(ScanLinks, UpAndLoopSideBySideEnd) {
    addTool("sub/A.app", "A");
    addLink("sub/loop", ".");
    addLink("sub/up", "..");
    auto apps = scan();
    EXPECT_THAT(apps, SizeIs(testing::Gt(41)));
    EXPECT_THAT(apps, SizeIs(testing::Le(1 + 2 + 4096)));
}

// A folder that cannot be reached does not exist; one that can be reached and not listed is reported.
TEST(Scan, AFolderThatIsGoneWhenItsTurnComesIsNoFailure) {
    sandbox::makeFolder(applications() + "/ghost");
    auto services = platform::current();
    services.fileManager = std::make_shared<FailingFiles>();
    platform::ScopedPlatform scope(services);
    EXPECT_THAT(scannedTitles(), IsEmpty());
    EXPECT_THAT(sandbox::console().lines(), IsEmpty());
}

// --- Depth and descriptors

TEST(ScanDepth, FifteenHundredLevelsWithFewDescriptorsAndALittleStack) {
    struct rlimit before {};
    ASSERT_EQ(::getrlimit(RLIMIT_NOFILE, &before), 0);
    struct rlimit few = before;
    few.rlim_cur = 128;
    ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &few), 0);

    constexpr int kLevels = 1500;
    ASSERT_EQ(::chdir(applications().c_str()), 0);
    for (int level = 0; level < kLevels; ++level) {
        ASSERT_EQ(::mkdir("d", 0755), 0);
        if (level % 500 == 499) {
            fs::copy(sandbox::root() + "/T.app", "T.app", fs::copy_options::recursive);
        }
        if (level == 0) {
            addTool("../T.app", "T");
        }
        ASSERT_EQ(::chdir("d"), 0);
    }
    fs::copy(sandbox::root() + "/T.app", "T.app", fs::copy_options::recursive);
    EXPECT_THAT(scan(), SizeIs(4));
    EXPECT_THAT(sandbox::console().lines(), IsEmpty());
    ASSERT_EQ(::chdir("/"), 0);
    ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &before), 0);
}

TEST(ScanDepth, PathsBeyondTheSystemsLimitDoNotExist) {
    // Tools whose descriptor's path has exactly 4,095 bytes and one byte more.
    constexpr std::size_t kFolderLength = 3'900;
    std::string path = applications();
    ASSERT_EQ(::chdir(path.c_str()), 0);
    while (path.size() + 1 < kFolderLength) {
        const std::string step(std::min<std::size_t>(250, kFolderLength - path.size() - 1), 'x');
        ASSERT_EQ(::mkdir(step.c_str(), 0755), 0);
        ASSERT_EQ(::chdir(step.c_str()), 0);
        path += "/" + step;
    }
    addTool("../T.app", "T");
    auto addAt = [&](std::size_t toolLength) {
        // The descriptor's path has the tool's length and this much more.
        constexpr std::size_t kRest = sizeof "/Contents/Resources/VTApp.plist" - 1;
        std::string name(toolLength - kRest - path.size() - 1 - 4, 'n');
        fs::copy(sandbox::root() + "/T.app", name + ".app", fs::copy_options::recursive);
        return path + "/" + name + ".app";
    };
    auto fits = addAt(4095);
    addAt(4096);
    auto apps = scan();
    ASSERT_THAT(apps, SizeIs(1));
    EXPECT_EQ(apps[0]->appPath(), fits);
    ASSERT_EQ(::chdir("/"), 0);
}

TEST(ScanDepth, WalksGiveBackTheirDescriptors) {
    for (int i = 0; i < 20; ++i) {
        addTool("a" + std::to_string(i) + "/b/c/T.app", "T");
    }
    auto open = [] {
        return std::distance(fs::directory_iterator("/proc/self/fd"), fs::directory_iterator());
    };
    auto before = open();
    for (int i = 0; i < 5; ++i) {
        EXPECT_THAT(scan(), SizeIs(20));
    }
    EXPECT_EQ(open(), before);
}

// --- The blacklist

TEST(Blacklist, HoldsEveryTest) {
    for (const char* name : {"application backups",
                             "mamp",
                             "help",
                             "docs",
                             "cocumentation",
                             "html",
                             "address book.app",
                             "adium.app",
                             "automator.app",
                             "batch monitor.app",
                             "blender",
                             "calculator.app",
                             "cinema tools.app",
                             "color.app",
                             "compressor.app",
                             "cyberduck.app",
                             "damnvid.app",
                             "dashboard.app",
                             "dictionary.app",
                             "doc",
                             "dvd player.app",
                             "dvd studio pro.app",
                             "ffmpegx.app",
                             "final cut pro.app",
                             "final cut pro additional easy setups.localized",
                             "firefox.app",
                             "flip4mac",
                             "font book.app",
                             "front row.app",
                             "google chrome.app",
                             "hewlett-packard",
                             "ical.app",
                             "ichat.app",
                             "image capture.app",
                             "isync.app",
                             "itunes.app",
                             "lib",
                             "license",
                             "livetype.app",
                             "logic node.app",
                             "logic pro.app",
                             "mail.app",
                             "mainstage.app",
                             "maxon",
                             "motion.app",
                             "mpeg streamclip.app",
                             "onyx.app",
                             "pacifist",
                             "photo booth.app",
                             "preview.app",
                             "safari.app",
                             "soundtrack pro.app",
                             "vlc.app",
                             "tutorial"}) {
        EXPECT_TRUE(AppController::isFileBlacklisted(name)) << name;
        EXPECT_TRUE(AppController::isFileBlacklisted("/Applications/" + std::string(name))) << name;
        if (std::string(name).find("avid") == std::string::npos) {
            EXPECT_FALSE(AppController::isFileBlacklisted("x" + std::string(name))) << name;
            EXPECT_FALSE(AppController::isFileBlacklisted(std::string(name) + "x")) << name;
        }
    }
    for (const char* text : {"adobe", "apple", "microsoft", "avid", "divx", "filemaker"}) {
        EXPECT_TRUE(AppController::isFileBlacklisted("x" + std::string(text) + "y")) << text;
    }
    EXPECT_TRUE(AppController::isFileBlacklisted(".x"));
    EXPECT_TRUE(AppController::isFileBlacklisted("wacom tablet"));
    EXPECT_FALSE(AppController::isFileBlacklisted("my wacom"));
    EXPECT_FALSE(AppController::isFileBlacklisted("x.y"));
}

TEST(Blacklist, IgnoresCaseButForTheEntryThatCanNeverMatch) {
    EXPECT_TRUE(AppController::isFileBlacklisted("HTML"));
    EXPECT_TRUE(AppController::isFileBlacklisted("FileMa\u212Aer Pro")); // the Kelvin sign is a K
    EXPECT_FALSE(AppController::isFileBlacklisted("quickTime player.app"));
    EXPECT_FALSE(AppController::isFileBlacklisted("quicktime player.app"));
}

TEST(Blacklist, LooksAtTheLastComponentOnly) {
    EXPECT_FALSE(AppController::isFileBlacklisted("/Applications/Docs/tools"));
    EXPECT_TRUE(AppController::isFileBlacklisted("/Applications/tools/Docs"));
    EXPECT_FALSE(AppController::isFileBlacklisted("documentation"));
    EXPECT_FALSE(AppController::isFileBlacklisted("Help Files"));
}
