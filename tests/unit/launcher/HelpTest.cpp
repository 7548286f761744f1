#include "ControllerFixture.h"

#include "ProgramCopy.h"
#include "PropertyListSerialization.h"
#include "ToolTree.h"

#include <cstdlib>
#include <filesystem>
#include <gmock/gmock.h>
#include <mutex>
#include <thread>

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

namespace {

// The controller has started, with no manuals yet.
class Help : public ControllerTest {
protected:
    Help() {
        awake();
        finish();
        events();
    }

    static std::string manuals() { return sandbox::root() + "/Library/Documentation/Vantorel"; }
    static void addManual(const std::string& name) { sandbox::writeFile(manuals() + "/" + name, "%PDF"); }
    static std::string ostendelManual() {
        return sandbox::root() +
               "/Library/Application Support/Vantorel/Ostendel/Documentation/Ostendel User Manual.pdf";
    }

    // As a start does, but to the end.
    void lookForManuals() {
        std::jthread([this] { controller->populateUserManuals(); }).join();
    }
    std::vector<std::string> paths() const {
        std::vector<std::string> result;
        for (const auto& item : userManualMenu.items) {
            result.push_back(item->path.value_or("(absent)"));
        }
        return result;
    }
};

} // namespace

// --- The menu of manuals

TEST_F(Help, ListsTheManualsOfTheFolder) {
    addManual("Guide.PDF");
    addManual("notes.txt");
    addManual("Readme.pdf");
    lookForManuals();
    EXPECT_THAT(userManualMenu.titles(), ElementsAre("Guide", "Readme"));
    EXPECT_THAT(paths(), ElementsAre(manuals() + "/Guide.PDF", manuals() + "/Readme.pdf"));
    EXPECT_THAT(userManualMenu.checked(), IsEmpty());
}

TEST_F(Help, KeepsTheOrderOfTheFolder) {
    for (const char* name : {"b.pdf", "Zeta.pdf", "10.pdf", "alpha.Pdf", "C.pdf", "élan.pdf"}) {
        addManual(name);
    }
    lookForManuals();
    EXPECT_THAT(userManualMenu.titles(), ElementsAre("10", "alpha", "b", "C", "Zeta", "élan"));
}

TEST_F(Help, AnExtensionIsWhatFollowsTheLastDot) {
    for (const char* name :
         {".pdf", "pdf", "a.pdf.bak", "b.pdfx", "c.", "d.2.pdf", ".hidden.pdf", "e.xpdf"}) {
        addManual(name);
    }
    lookForManuals();
    EXPECT_THAT(userManualMenu.titles(), ElementsAre(".hidden", "d.2"));
}

TEST_F(Help, AnEntryIsJudgedByItsNameAlone) {
    sandbox::makeFolder(manuals() + "/Folder.pdf");
    std::filesystem::create_symlink("/nonexistent", manuals() + "/Link.pdf");
    sandbox::writeFile(manuals() + "/Sub/Deep.pdf", "");
    lookForManuals();
    EXPECT_THAT(userManualMenu.titles(), ElementsAre("Folder", "Link"));
}

TEST_F(Help, NamesAreTakenAsTheyAre) {
    const std::vector<std::string> names{"A & B.pdf", "B <b>bold<.pdf", "c\td.pdf",
                                         "e\nf.PDF",  "説明書.pdf",     "\xFF\xFE.pdf"};
    std::vector<std::string> titles;
    std::vector<std::string> files;
    for (const auto& name : names) {
        addManual(name);
        titles.push_back(name.substr(0, name.size() - 4));
        files.push_back(manuals() + "/" + name);
    }
    lookForManuals();
    EXPECT_THAT(userManualMenu.titles(), testing::UnorderedElementsAreArray(titles));
    EXPECT_THAT(paths(), testing::UnorderedElementsAreArray(files));
}

TEST_F(Help, WithoutTheFolderThereIsNothingAndNoMessage) {
    std::string printed = printedBy([&] { lookForManuals(); });
    EXPECT_THAT(userManualMenu.titles(), IsEmpty());
    EXPECT_EQ(printed, "");
    EXPECT_THAT(sandbox::console().lines(), IsEmpty());
}

TEST_F(Help, AFileInTheFoldersPlaceIsNoFolder) {
    sandbox::writeFile(manuals(), "");
    std::string printed = printedBy([&] { lookForManuals(); });
    EXPECT_THAT(userManualMenu.titles(), IsEmpty());
    EXPECT_EQ(printed, "");
    EXPECT_THAT(sandbox::console().lines(), IsEmpty());
}

TEST_F(Help, WaitsForTheMainThreadWithEachManual) {
    struct WatchedMainThread : FakeMainThread {
        void perform(std::function<void()> work, platform::Wait wait) override {
            {
                std::lock_guard lock(mutex);
                if (std::this_thread::get_id() == watched) {
                    waits.push_back(wait);
                }
            }
            FakeMainThread::perform(std::move(work), wait);
        }
        std::mutex mutex;
        std::thread::id watched;
        std::vector<platform::Wait> waits;
    };
    auto mainThread = std::make_shared<WatchedMainThread>();
    auto services = platform::current();
    services.mainThread = mainThread;
    platform::ScopedPlatform scope(services);
    for (const char* name : {"a.pdf", "b.pdf", "c.txt", "d.pdf"}) {
        addManual(name);
    }
    std::jthread([&] {
        {
            std::lock_guard lock(mainThread->mutex);
            mainThread->watched = std::this_thread::get_id();
        }
        controller->populateUserManuals();
    }).join();
    EXPECT_EQ(mainThread->waits, std::vector<platform::Wait>(3, platform::Wait::UntilDone));
    EXPECT_THAT(userManualMenu.titles(), ElementsAre("a", "b", "d"));
}

TEST_F(Help, GivesUpWhenTheProgramEnds) {
    addManual("Guide.pdf");
    std::stop_source stop;
    stop.request_stop();
    controller->populateUserManuals(stop.get_token());
    EXPECT_THAT(userManualMenu.titles(), IsEmpty());
}

TEST_F(Help, AnExceptionWhileListingManualsIsLogged) {
    for (const char* name : {"a.pdf", "b.pdf", "c.pdf"}) {
        addManual(name);
    }
    userManualMenu.onAddItem = [](const std::string& title) {
        if (title == "b") {
            throw platform::Exception("NSMenuException", "no more items");
        }
    };
    EXPECT_EQ(printedBy([&] { lookForManuals(); }),
              "Exception in -[AppController populateUserManuals]. NSMenuException - no more items.\n");
    EXPECT_THAT(userManualMenu.titles(), ElementsAre("a"));
}

TEST_F(Help, OpensTheManualOfTheItem) {
    addManual("Guide & more.pdf");
    lookForManuals();
    controller->showUserManual(*userManualMenu.items.at(0));
    EXPECT_THAT(events(), ElementsAre("open " + manuals() + "/Guide & more.pdf"));
}

TEST_F(Help, AnItemWithoutPathOpensNothing) {
    controller->showUserManual(FakeMenuItem("Guide", 0));
    EXPECT_THAT(events(), IsEmpty());
}

// --- The Help menu

TEST_F(Help, OpensTheSuitesOwnManualWhenItIsThere) {
    controller->helpUserManual();
    EXPECT_THAT(events(), IsEmpty());
    sandbox::writeFile(ostendelManual(), "%PDF");
    controller->helpUserManual();
    EXPECT_THAT(events(), ElementsAre("open " + ostendelManual()));
    EXPECT_THAT(sandbox::console().lines(), IsEmpty());
}

TEST_F(Help, TheSuitesOwnManualIsTheMachinesAndNotTheUsers) {
    sandbox::writeFile(sandbox::home() + "/Library/Application Support/Vantorel/Ostendel/Documentation/"
                                         "Ostendel User Manual.pdf",
                       "%PDF");
    controller->helpUserManual();
    EXPECT_THAT(events(), IsEmpty());
}

TEST_F(Help, OpensTheMakersPages) {
    controller->helpVTHome();
    controller->helpOstendelHome();
    controller->helpSuggestFeature();
    EXPECT_THAT(events(),
                ElementsAre("open https://www.vantorel.example/",
                            "open https://www.vantorel.example/ostendel/",
                            "open https://www.vantorel.example/support/suggest-a-feature?app=launcher"));
}

// The version is that of the bundle around the running program, so a copy of this program reports from one.
TEST_F(Help, ReportsABugWithTheVersionOfTheBundle) {
    constexpr const char* kExpected = "EXPECTED_VERSION";
    const std::string page = "open https://www.vantorel.example/support/report-a-bug?app=launcher&version=";
    if (const char* expected = std::getenv(kExpected)) {
        controller->helpReportBug(); // in the copy
        EXPECT_THAT(events(), ElementsAre(page + expected));
        return;
    }
    controller->helpReportBug();
    EXPECT_THAT(events(), ElementsAre(page)); // there is no bundle

    const auto bundle = sandbox::folder() + "/Tests.app";
    const auto statusWith = [&](const platform::PropertyList& version, const char* expected) {
        sandbox::writeFile(
            bundle + "/Contents/Info.plist",
            platform::serializePropertyList(tooltree::Dictionary{{"CFBundleShortVersionString", version}},
                                            platform::PropertyListFormat::Xml));
        return sandbox::statusOfCopy("Tests.app/Contents/MacOS/tests", kExpected, expected);
    };
    EXPECT_EQ(statusWith("3.2.1", "3.2.1"), 0);
    EXPECT_EQ(statusWith("3 β&x=1#%+/", "3%20%CE%B2%26x%3D1%23%25%2B%2F"), 0);
    EXPECT_EQ(statusWith(3, ""), 0);            // no text
    EXPECT_NE(statusWith("3.2.1", "3.2.2"), 0); // the copy does look
}
