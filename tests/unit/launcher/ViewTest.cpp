#include "ControllerFixture.h"
#include "ToolTree.h"
#include "VTLog.h"

#include <filesystem>
#include <gmock/gmock.h>
#include <thread>

using namespace tooltree;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Pair;
using testing::SizeIs;

namespace {

platform::PropertyList::Array texts(std::initializer_list<const char*> values) {
    return platform::PropertyList::Array(values.begin(), values.end());
}

class View : public ControllerTest {
protected:
    void waitForRebuild() { spinner.waitUntilStopped(++rebuilds); }

    std::vector<std::string> shown() const {
        std::vector<std::string> titles;
        const auto apps = controller->dataArray();
        for (const auto& app : *apps) {
            titles.push_back(*app->title());
        }
        return titles;
    }
    std::string text(std::string_view column, std::size_t row) const {
        auto value = controller->objectValueForTableColumn(column, row);
        return value ? std::get<std::string>(*value) : "(none)";
    }
    FakeCell cell(std::string_view column, std::size_t row) const {
        FakeCell displayed;
        controller->willDisplayCell(displayed, column, row);
        return displayed;
    }
};

} // namespace

TEST_F(View, IsEmptyUntilTheFirstRebuildEnds) {
    addTool("A.app", "A");
    EXPECT_THAT(*controller->dataArray(), IsEmpty());
    EXPECT_EQ(controller->numberOfRows(), 0U);
    awake();
    EXPECT_EQ(controller->numberOfRows(), 1U);
    EXPECT_EQ(table.reloads, 2); // when it is shown, and when the rebuild ends
    EXPECT_EQ(spinner.started(), 1);
}

TEST_F(View, RegistersTheDefaults) {
    EXPECT_EQ(sandbox::defaults().integerForKey("unhideOnLaunchedAppExit"), 1);
    EXPECT_EQ(sandbox::defaults().objectForKey("sortType"), platform::PropertyList(0));
    EXPECT_EQ(sandbox::defaults().objectForKey("showGroupName"), std::nullopt);
    EXPECT_EQ(sandbox::defaults().objectForKey("hiddenGroups"), std::nullopt);
    EXPECT_EQ(sandbox::defaults().objectForKey("quitAfterLaunching"), std::nullopt);
}

TEST_F(View, SortsByNameIgnoringCase) {
    addTool("1.app", "beta");
    addTool("2.app", "Alpha");
    addTool("3.app", "GAMMA");
    awake();
    EXPECT_THAT(shown(), ElementsAre("Alpha", "beta", "GAMMA"));
}

TEST_F(View, SortsByGroupAndKeepsTheScansOrderWithin) {
    addTool("1.app", "z", "Beta");
    addTool("2.app", "y", "alpha");
    addTool("3.app", "x", "beta");
    addTool("4.app", "w");
    addTool("5.app", "v", "ALPHA");
    sandbox::defaults().setObject(1, "sortType");
    awake();
    EXPECT_THAT(shown(), ElementsAre("y", "v", "z", "x", "w"));
}

TEST_F(View, ChecksTheSortMenusItem) {
    sandbox::defaults().setObject(1, "sortType");
    awake();
    EXPECT_THAT(sortMenu.checked(), ElementsAre("by group"));
}

TEST_F(View, AnUnknownSortTypeSortsByNameAndChecksNothing) {
    addTool("1.app", "b", "A");
    addTool("2.app", "a", "B");
    sandbox::defaults().setObject(7, "sortType");
    awake();
    EXPECT_THAT(shown(), ElementsAre("a", "b"));
    EXPECT_THAT(sortMenu.checked(), IsEmpty());
}

TEST_F(View, ChangingTheSortModeStoresChecksAndRebuilds) {
    addTool("1.app", "b", "A");
    addTool("2.app", "a", "B");
    awake();
    EXPECT_THAT(sortMenu.checked(), ElementsAre("by name"));
    controller->changeSortMode(sortMenu.itemAtIndex(1));
    EXPECT_EQ(sandbox::defaults().integerForKey("sortType"), 1);
    EXPECT_THAT(sortMenu.checked(), ElementsAre("by group"));
    waitForRebuild();
    EXPECT_THAT(shown(), ElementsAre("b", "a"));
    controller->changeSortMode(sortMenu.itemAtIndex(0));
    EXPECT_THAT(sortMenu.checked(), ElementsAre("by name"));
    waitForRebuild();
    EXPECT_THAT(shown(), ElementsAre("a", "b"));
}

TEST_F(View, ListsEachGroupOnceInScanOrder) {
    addTool("1.app", "a", "Ostendel");
    addTool("2.app", "b", "Kelvandor");
    addTool("3.app", "c", "Ostendel");
    addTool("4.app", "d");
    addTool("5.app", "e", "kelvandor"); // another name
    awake();
    EXPECT_THAT(hideMenu.titles(), ElementsAre("Ostendel", "Kelvandor", "kelvandor"));
    EXPECT_THAT(hideMenu.checked(), IsEmpty());
}

TEST_F(View, HidesStoredGroupsByExactName) {
    addTool("1.app", "a", "Ostendel");
    addTool("2.app", "b", "Kelvandor");
    addTool("3.app", "c", "kelvandor");
    sandbox::defaults().setObject(texts({"Kelvandor", "Gone"}), "hiddenGroups");
    awake();
    EXPECT_THAT(shown(), ElementsAre("a", "c"));
    EXPECT_THAT(hideMenu.titles(), ElementsAre("Ostendel", "Kelvandor", "kelvandor"));
    EXPECT_THAT(hideMenu.checked(), ElementsAre("Kelvandor"));
}

TEST_F(View, WithEveryGroupHiddenOnlyToolsWithoutOneAreShown) {
    addTool("1.app", "a", "Ostendel");
    addTool("2.app", "b", "Kelvandor");
    addTool("3.app", "c");
    sandbox::defaults().setObject(texts({"Kelvandor", "Ostendel"}), "hiddenGroups");
    awake();
    EXPECT_THAT(shown(), ElementsAre("c"));
    EXPECT_THAT(hideMenu.checked(), ElementsAre("Ostendel", "Kelvandor"));
}

TEST_F(View, HidingTogglesAndRebuilds) {
    addTool("1.app", "a", "Ostendel");
    addTool("2.app", "b", "Kelvandor");
    awake();
    auto& item = *hideMenu.itemWithTitle("Ostendel");
    controller->hideGroup(item);
    EXPECT_EQ(sandbox::defaults().stringArrayForKey("hiddenGroups"), std::vector<std::string>{"Ostendel"});
    EXPECT_THAT(hideMenu.checked(), ElementsAre("Ostendel"));
    waitForRebuild();
    EXPECT_THAT(shown(), ElementsAre("b"));
    controller->hideGroup(item);
    EXPECT_EQ(sandbox::defaults().stringArrayForKey("hiddenGroups"), std::vector<std::string>());
    EXPECT_THAT(hideMenu.checked(), IsEmpty());
    waitForRebuild();
    EXPECT_THAT(shown(), ElementsAre("a", "b"));
}

TEST_F(View, HidingKeepsTheOtherHiddenGroups) {
    addTool("1.app", "a", "Ostendel");
    sandbox::defaults().setObject(texts({"Gone", "Ostendel", "Older", "Ostendel"}), "hiddenGroups");
    awake();
    controller->hideGroup(*hideMenu.itemWithTitle("Ostendel"));
    EXPECT_EQ(sandbox::defaults().stringArrayForKey("hiddenGroups"),
              (std::vector<std::string>{"Gone", "Older"}));
    waitForRebuild();
}

TEST_F(View, TheHideMenuOnlyGrows) {
    addTool("1.app", "a", "Ostendel");
    awake();
    std::filesystem::remove_all(applications() + "/1.app");
    addTool("2.app", "b", "Kelvandor");
    controller->startRebuild();
    waitForRebuild();
    EXPECT_THAT(shown(), ElementsAre("b"));
    EXPECT_THAT(hideMenu.titles(), ElementsAre("Ostendel", "Kelvandor"));
}

TEST_F(View, TellsToolsOfOneTitleApartByTheirGroups) {
    addTool("1.app", "Tallowby", "Kelvandor");
    addTool("2.app", "Tallowby", "Ostendel");
    addTool("3.app", "tallowby", "Third");
    addTool("4.app", "Purgel", "Kelvandor");
    awake();
    ASSERT_THAT(shown(), ElementsAre("Purgel", "Tallowby", "Tallowby", "tallowby"));
    EXPECT_EQ(cell(AppController::colTitle, 0).subtitle, std::nullopt);
    EXPECT_EQ(cell(AppController::colTitle, 1).subtitle, "Kelvandor");
    EXPECT_EQ(cell(AppController::colTitle, 2).subtitle, "Ostendel");
    EXPECT_EQ(cell(AppController::colTitle, 3).subtitle, std::nullopt);
}

TEST_F(View, HiddenToolsAreNoDuplicates) {
    addTool("1.app", "Tallowby", "Kelvandor");
    addTool("2.app", "Tallowby", "Ostendel");
    sandbox::defaults().setObject(texts({"Ostendel"}), "hiddenGroups");
    awake();
    ASSERT_THAT(shown(), ElementsAre("Tallowby"));
    EXPECT_FALSE(controller->dataArray()->front()->hasDuplicate());
    EXPECT_EQ(cell(AppController::colTitle, 0).subtitle, std::nullopt);
}

TEST_F(View, ADuplicateWithoutGroupHasNoSubtitle) {
    addTool("1.app", "Tallowby", "Kelvandor");
    addTool("2.app", "Tallowby");
    awake();
    EXPECT_EQ(cell(AppController::colTitle, 0).subtitle, "Kelvandor");
    auto second = cell(AppController::colTitle, 1);
    EXPECT_TRUE(second.subtitleSet); // cleared, since cells are used again
    EXPECT_EQ(second.subtitle, std::nullopt);
}

TEST_F(View, ShowsEveryGroupWhenAskedTo) {
    addTool("1.app", "Purgel", "Kelvandor");
    addTool("2.app", "Zeta");
    awake();
    sandbox::defaults().setObject(1, "showGroupName");
    EXPECT_EQ(cell(AppController::colTitle, 0).subtitle, "Kelvandor");
    EXPECT_EQ(cell(AppController::colTitle, 1).subtitle, std::nullopt);
    sandbox::defaults().setObject(2, "showGroupName");
    EXPECT_EQ(cell(AppController::colTitle, 0).subtitle, std::nullopt);
}

TEST_F(View, GivesTheColumnsTheirValues) {
    addTool("1.app", "Purgel", "Kelvandor", "Repairs.");
    addBundle("2.app", "Zeta");
    writePlist("2.app/Contents/VTApp.plist", {});
    awake();
    EXPECT_EQ(text(AppController::colTitle, 0), "Purgel");
    EXPECT_EQ(text(AppController::colDesc, 0), "Repairs.");
    EXPECT_EQ(text("another", 0), "Repairs.");
    EXPECT_EQ(text(AppController::colDesc, 1), "(none)");
    auto icon = controller->objectValueForTableColumn(AppController::colIcon, 0);
    ASSERT_TRUE(icon);
    EXPECT_EQ(std::get<0>(*icon), controller->dataArray()->front()->icon());
    controller->dataArray()->front()->setIcon(nullptr);
    icon = controller->objectValueForTableColumn(AppController::colIcon, 0);
    ASSERT_TRUE(icon);
    EXPECT_EQ(std::get<0>(*icon), nullptr);
}

TEST_F(View, TheTitleCellHasAShadowAndTheDescriptionNone) {
    addTool("1.app", "Purgel");
    awake();
    auto title = cell(AppController::colTitle, 0);
    EXPECT_EQ(title.hasShadow, true);
    EXPECT_EQ(title.lineCount, std::nullopt);
    auto description = cell(AppController::colDesc, 0);
    EXPECT_EQ(description.hasShadow, false);
    EXPECT_FALSE(description.subtitleSet);
    auto icon = cell(AppController::colIcon, 0);
    EXPECT_EQ(icon.hasShadow, std::nullopt);
    EXPECT_EQ(icon.lineCount, std::nullopt);
    EXPECT_FALSE(icon.subtitleSet);
}

TEST_F(View, LineCountsFollowTheDescriptionsLength) {
    const std::vector<std::pair<std::size_t, int>> expected{{0, 1},  {29, 1}, {30, 2}, {59, 2}, {60, 3},
                                                            {89, 3}, {90, 4}, {91, 4}, {500, 4}};
    for (auto [length, lines] : expected) {
        // Characters, not bytes.
        std::string description;
        for (std::size_t i = 0; i < length; ++i) {
            description += "ä";
        }
        addTool("tool.app", "T", std::nullopt, description);
        if (rebuilds == 0) {
            awake();
        } else {
            controller->startRebuild();
            waitForRebuild();
        }
        EXPECT_EQ(cell(AppController::colDesc, 0).lineCount, lines) << length;
    }
    controller->dataArray()->front()->setDescription(std::nullopt);
    EXPECT_EQ(cell(AppController::colDesc, 0).lineCount, 1);
}

TEST_F(View, ARowThatDoesNotExistIsLoggedAndGivesNothing) {
    awake();
    testing::internal::CaptureStdout();
    EXPECT_EQ(controller->objectValueForTableColumn(AppController::colTitle, 0), std::nullopt);
    auto untouched = cell(AppController::colTitle, 3);
    EXPECT_EQ(untouched.hasShadow, std::nullopt);
    auto printed = testing::internal::GetCapturedStdout();
    EXPECT_THAT(printed, HasSubstr("Exception in -[AppController tableView:objectValueForTableColumn:row:]. "
                                   "NSRangeException"));
    EXPECT_THAT(printed,
                HasSubstr("Exception in -[AppController tableView:willDisplayCell:forTableColumn:row:]. "
                          "NSRangeException"));
}

TEST_F(View, RevealsTheSelectedTool) {
    addTool("folder/1.app", "A");
    addTool("folder/2.app", "B");
    awake();
    controller->revealInFinder();
    EXPECT_THAT(sandbox::workspace().revealed(), IsEmpty());
    table.selected = 1;
    controller->revealInFinder();
    EXPECT_THAT(sandbox::workspace().revealed(),
                ElementsAre(Pair(applications() + "/folder/2.app", applications() + "/folder")));
}

TEST_F(View, RedrawsWithoutScanning) {
    addTool("1.app", "A");
    awake();
    addTool("2.app", "B");
    controller->reloadDataAction();
    EXPECT_EQ(table.reloads, 3);
    EXPECT_EQ(spinner.started(), 1);
    EXPECT_THAT(shown(), ElementsAre("A"));
}

TEST_F(View, AMissingApplicationsFolderEmptiesTheList) {
    addTool("1.app", "A");
    awake();
    std::filesystem::remove_all(applications());
    controller->startRebuild();
    waitForRebuild();
    EXPECT_THAT(shown(), IsEmpty());
    EXPECT_EQ(table.reloads, 3);
    EXPECT_THAT(sandbox::console().lines(), SizeIs(1));
}

TEST_F(View, AnExceptionKeepsTheListAndStopsTheSpinner) {
    hideMenu.onAddItem = [](const std::string& title) {
        if (title == "Broken") {
            throw platform::Exception("NSMenuException", "no more items");
        }
    };
    addTool("1.app", "A", "Fine");
    awake();
    addTool("2.app", "B", "Broken");
    testing::internal::CaptureStdout();
    controller->startRebuild();
    waitForRebuild();
    EXPECT_THAT(testing::internal::GetCapturedStdout(),
                HasSubstr("Exception in -[AppController populateData]. NSMenuException - no more items."));
    EXPECT_THAT(shown(), ElementsAre("A"));
    EXPECT_EQ(table.reloads, 2);
}

TEST_F(View, StartsALogOfItsOwn) {
    awake();
    VTLog::finishWriting();
    EXPECT_THAT(VTLog::availableLogs(), SizeIs(1));
}

TEST_F(View, CountsTheToolsItLeavesOut) {
    addTool("1.app", "a", "Ostendel");
    addTool("2.app", "b", "Ostendel");
    addTool("3.app", "c", "Kelvandor");
    sandbox::defaults().setObject(texts({"Ostendel"}), "hiddenGroups");
    awake();
    EXPECT_EQ(controller->numberOfHiddenTools(), 2U);
}

// Rebuilds, hides and log calls at once; the thread sanitizer watches.
TEST_F(View, RebuildsHidesAndLogCallsMayRace) {
    for (int i = 0; i < 30; ++i) {
        auto name = std::to_string(i);
        addTool("folder " + name + "/" + name + ".app", "Tool " + name, "Group " + std::to_string(i % 5));
    }
    awake();
    constexpr int kRounds = 20;
    {
        std::jthread rebuilding([this] {
            for (int i = 0; i < kRounds; ++i) {
                controller->startRebuild();
            }
        });
        std::jthread reading([this](const std::stop_token& stop) {
            while (!stop.stop_requested()) {
                const auto apps = controller->dataArray();
                for (const auto& app : *apps) {
                    (void)app->title();
                    (void)app->hasDuplicate();
                }
            }
        });
        std::jthread logging([] {
            for (int i = 0; i < kRounds * 50; ++i) {
                VTLog::appendLog("entry %d of %@", i, "a thread");
                VTLog::fastAppendLog("fast %d", i);
            }
        });
        for (int i = 0; i < kRounds; ++i) {
            controller->hideGroup(
                hideMenu.itemAtIndex(static_cast<std::size_t>(i) % hideMenu.numberOfItems()));
        }
        spinner.waitUntilStopped(rebuilds + 2 * kRounds);
    }
    // Every group was toggled an even number of times.
    controller->startRebuild();
    spinner.waitUntilStopped(rebuilds + 2 * kRounds + 1);
    EXPECT_THAT(shown(), SizeIs(30));
    EXPECT_EQ(hideMenu.numberOfItems(), 5U);
}

TEST_F(View, ManyRebuildsLeaveNoHandlesBehind) {
    namespace fs = std::filesystem;
    auto count = [](const char* folder) {
        return std::distance(fs::directory_iterator(folder), fs::directory_iterator());
    };
    for (int i = 0; i < 20; ++i) {
        addTool("folder/" + std::to_string(i) + ".app", "Tool");
    }
    awake();
    auto descriptors = count("/proc/self/fd");
    for (int i = 0; i < 100; ++i) {
        controller->startRebuild();
        waitForRebuild();
    }
    EXPECT_EQ(count("/proc/self/fd"), descriptors);
    EXPECT_THAT(shown(), SizeIs(20));
}
