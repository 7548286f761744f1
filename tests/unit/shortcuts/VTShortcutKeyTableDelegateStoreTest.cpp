#include "BindingFile.h"
#include "Platform.h"
#include "ShortcutFixture.h"
#include "VTTaskEx.h"

#include <cerrno>
#include <filesystem>

using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

namespace {

class ShortcutStoreTest : public ShortcutTest {
protected:
    VTShortcutKeyTableDelegate& controller = load();

    void bind(const std::optional<std::string>& commandID, std::uint64_t keycode = 45,
              const std::optional<Array>& params = std::nullopt) {
        controller.setKeyboardShortcutWithID(commandID, params, keycode, true, true, false, false);
    }

    std::string noted() const { return sandbox::readFile(notes() + ".file"); }
};

} // namespace

// --- Setting

TEST_F(ShortcutStoreTest, ANewFileHoldsOnlyTheOneEntry) {
    bind("show");
    EXPECT_EQ(root(), (Dictionary{{"watchlist", Array{entry(kOwn, 45, 0x0300, "show")}}}));
    EXPECT_THAT(sandbox::readFile(bindingPath()), testing::StartsWith("<?xml"));
    EXPECT_EQ(reloadEvents(), 1);
    EXPECT_EQ(setups(), 1);
}

TEST_F(ShortcutStoreTest, EachModifierHasItsBit) {
    struct Case {
        bool shift, cmd, opt, ctrl;
        int mask;
    };
    for (const auto& [shift, cmd, opt, ctrl, mask] :
         {Case{false, false, false, false, 0}, Case{true, false, false, false, 0x0200},
          Case{false, true, false, false, 0x0100}, Case{false, false, true, false, 0x0800},
          Case{false, false, false, true, 0x1000}, Case{true, true, true, true, 0x1B00}}) {
        controller.setKeyboardShortcutWithID("show", std::nullopt, 24, shift, cmd, opt, ctrl);
        EXPECT_EQ(watchlist(), Array{entry(kOwn, 24, mask, "show")});
    }
}

TEST_F(ShortcutStoreTest, BindingAgainMovesTheEntryToTheEnd) {
    bind("show", 45);
    bind("reload", 24);
    bind("show", 36);
    EXPECT_EQ(watchlist(), (Array{entry(kOwn, 24, 0x0300, "reload"), entry(kOwn, 36, 0x0300, "show")}));
}

TEST_F(ShortcutStoreTest, TwoCommandsMayHaveOneCombination) {
    bind("show", 45);
    bind("reload", 45);
    EXPECT_EQ(watchlist().size(), 2U);
}

TEST_F(ShortcutStoreTest, OnlyTheFirstOfSeveralOwnEntriesGoes) {
    writeBindings({{"watchlist", Array{entry(kOwn, 1, 0, "show"), entry(kOwn, 2, 0, "reload"),
                                       entry(kOwn, 3, 0, "show")}}});
    bind("show", 45);
    EXPECT_EQ(watchlist(), (Array{entry(kOwn, 2, 0, "reload"), entry(kOwn, 3, 0, "show"),
                                  entry(kOwn, 45, 0x0300, "show")}));
}

TEST_F(ShortcutStoreTest, OthersEntriesAndKeysStayAsTheyAre) {
    const Dictionary foreign = entry("com.vantorel.Tallowby", 45, 0x0300, "show");
    const Dictionary odd{{"bundleid", 7}, {"commandid", "show"}};
    const Dictionary root{
        {"version", 3},
        {"last", PropertyList::Date{1000}},
        {"blob", PropertyList::Data{std::string("\0\xFF", 2)}},
        {"ratio", 0.1},
        {"watchlist", Array{foreign, "not an entry", odd, entry(kOwn, 1, 0, "show"), foreign}}};
    writeBindings(root);
    bind("show", 45);
    auto expected = root;
    expected.insert_or_assign("watchlist",
                              Array{foreign, "not an entry", odd, foreign, entry(kOwn, 45, 0x0300, "show")});
    EXPECT_EQ(this->root(), expected);
}

TEST_F(ShortcutStoreTest, TheCaseOfAnIdentifierCounts) {
    writeBindings(
        {{"watchlist", Array{entry("com.vantorel.launcher", 1, 0, "show"), entry(kOwn, 1, 0, "Show")}}});
    bind("show");
    EXPECT_EQ(watchlist().size(), 3U);
}

TEST_F(ShortcutStoreTest, ParametersMatchWhereThereIsNoIdentifier) {
    const Array params{"a", 1};
    const Dictionary mine{{"bundleid", kOwn}, {"keycode", 1}, {"modifiers", 0}, {"commandparams", params}};
    writeBindings({{"watchlist", Array{entry(kOwn, 2, 0, "show"), mine}}});
    bind(std::nullopt, 45, params);
    EXPECT_EQ(watchlist(), (Array{entry(kOwn, 2, 0, "show"), Dictionary{{"bundleid", kOwn},
                                                                        {"keycode", 45},
                                                                        {"modifiers", 0x0300},
                                                                        {"commandparams", params}}}));
    bind(std::nullopt, 45, Array{"a"});
    EXPECT_EQ(watchlist().size(), 3U);
}

TEST_F(ShortcutStoreTest, AnIdentifierGoesBeforeParameters) {
    const Array params{"a"};
    const Dictionary byParams{
        {"bundleid", kOwn}, {"keycode", 1}, {"modifiers", 0}, {"commandparams", params}};
    writeBindings({{"watchlist", Array{byParams}}});
    bind("show", 45, params);
    auto both = entry(kOwn, 45, 0x0300, "show");
    both.emplace("commandparams", params);
    EXPECT_EQ(watchlist(), (Array{byParams, both}));
}

TEST_F(ShortcutStoreTest, WithNeitherEveryCallAddsOneMore) {
    bind(std::nullopt, 45);
    bind(std::nullopt, 45);
    const Dictionary bare{{"bundleid", kOwn}, {"keycode", 45}, {"modifiers", 0x0300}};
    EXPECT_EQ(watchlist(), (Array{bare, bare}));
}

TEST_F(ShortcutStoreTest, AWatchlistThatIsNoneIsReplaced) {
    writeBindings({{"watchlist", "gone"}, {"kept", 1}});
    bind("show");
    EXPECT_EQ(root(), (Dictionary{{"kept", 1}, {"watchlist", Array{entry(kOwn, 45, 0x0300, "show")}}}));
}

TEST_F(ShortcutStoreTest, ADamagedFileIsReplacedAndKeptAside) {
    for (const char* damage : {"<plist><dict>", "bplist00rubbish", "", "<plist><array/></plist>"}) {
        std::filesystem::remove_all(std::filesystem::path(bindingPath()).parent_path());
        sandbox::writeFile(bindingPath(), damage);
        bind("show");
        EXPECT_EQ(root(), (Dictionary{{"watchlist", Array{entry(kOwn, 45, 0x0300, "show")}}}));
        int kept = 0;
        for (const auto& file :
             std::filesystem::directory_iterator(std::filesystem::path(bindingPath()).parent_path())) {
            if (file.path().filename().string().starts_with("com.vantorel.shortcutkeys.plist.damaged-")) {
                EXPECT_EQ(sandbox::readFile(file.path()), damage);
                ++kept;
            }
        }
        EXPECT_EQ(kept, 1);
    }
}

// The last who writes wins; what the other wrote was not damaged.
TEST_F(ShortcutStoreTest, AFileMadeSinceTheReadIsReplacedAndNotKeptAside) {
    auto bindings = BindingFile::read();
    writeBindings({{"watchlist", Array{entry("com.vantorel.Tallowby", 1, 0, "show")}}});
    bindings.append(entry(kOwn, 45, 0x0300, "show"));
    bindings.write();
    EXPECT_EQ(watchlist(), Array{entry(kOwn, 45, 0x0300, "show")});
    const auto folder = std::filesystem::path(bindingPath()).parent_path();
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder), {}), 1);
    EXPECT_THAT(sandbox::console().lines(), IsEmpty());
}

TEST_F(ShortcutStoreTest, WhereADamagedFileIsGoneByNowThereIsNothingToKeepAside) {
    sandbox::writeFile(bindingPath(), "<plist><dict>");
    auto bindings = BindingFile::read();
    std::filesystem::remove(bindingPath());
    bindings.append(entry(kOwn, 45, 0x0300, "show"));
    bindings.write();
    EXPECT_EQ(watchlist(), Array{entry(kOwn, 45, 0x0300, "show")});
    EXPECT_THAT(sandbox::console().lines(), IsEmpty());
}

TEST_F(ShortcutStoreTest, TheFileIsWrittenBeforeTheEventAndTheManager) {
    std::vector<std::size_t> entries;
    std::vector<int> setupsBefore;
    notifications->onPost = [&] {
        entries.push_back(watchlist().size());
        setupsBefore.push_back(setups());
    };
    bind("show");
    EXPECT_THAT(noted(), HasSubstr("<string>show</string>")); // by the time the manager looked
    table->row = 0;
    clear();
    EXPECT_THAT(entries, ElementsAre(1, 0));
    EXPECT_THAT(setupsBefore, ElementsAre(0, 1));
    EXPECT_EQ(setups(), 2);
}

TEST_F(ShortcutStoreTest, OthersOddValuesDoNotKeepAKeyFromBeingStored) {
    for (const char* odd : {"<string>a&#13;b</string>", "<string>a\r\nb</string>",
                            "<date>0001-01-01T00:00:00Z</date>", "<real>nan</real>"}) {
        sandbox::writeFile(bindingPath(),
                           std::string("<plist><dict><key>odd</key>") + odd + "</dict></plist>");
        const auto before =
            platform::serializePropertyList(root().at("odd"), platform::PropertyListFormat::Xml);
        bind("show");
        EXPECT_EQ(watchlist(), Array{entry(kOwn, 45, 0x0300, "show")}) << odd;
        EXPECT_EQ(platform::serializePropertyList(root().at("odd"), platform::PropertyListFormat::Xml),
                  before);
    }
}

TEST_F(ShortcutStoreTest, ABinaryFileOfAnotherProgramIsReadAndWrittenAsXml) {
    sandbox::writeFile(bindingPath(),
                       platform::serializePropertyList(
                           Dictionary{{"x", 1}, {"watchlist", Array{entry("other", 1, 2, "three")}}},
                           platform::PropertyListFormat::Binary));
    bind("show");
    EXPECT_EQ(root().at("x"), PropertyList(1));
    EXPECT_EQ(watchlist().size(), 2U);
    EXPECT_THAT(sandbox::readFile(bindingPath()), testing::StartsWith("<?xml"));
}

TEST_F(ShortcutStoreTest, TenThousandForeignEntriesSurvive) {
    Array list;
    for (int number = 0; number < 10'000; ++number) {
        list.emplace_back(entry("com.vantorel.Tallowby", number, number, "command"));
        if (number == 5'000) {
            list.emplace_back(entry(kOwn, 1, 0, "show"));
        }
    }
    writeBindings({{"watchlist", list}});
    bind("show", 45);
    list.erase(list.begin() + 5'001);
    list.emplace_back(entry(kOwn, 45, 0x0300, "show"));
    EXPECT_EQ(watchlist(), list);
}

// --- What goes wrong

TEST_F(ShortcutStoreTest, AFullDiskLeavesTheOldFileAndIsNotSpokenOf) {
    bind("show", 45);
    const auto before = sandbox::readFile(bindingPath());
    fileManager().writeAtomicallyFailure = [](const std::string&) {
        return std::error_code(ENOSPC, std::generic_category());
    };
    bind("reload", 24);
    table->row = 0;
    clear();
    EXPECT_EQ(sandbox::readFile(bindingPath()), before);
    EXPECT_THAT(sandbox::console().lines(), IsEmpty());
    EXPECT_EQ(reloadEvents(), 3);
    EXPECT_EQ(setups(), 3);
}

TEST_F(ShortcutStoreTest, ADamagedFileStaysWhereItIsWhenTheDiskIsFull) {
    sandbox::writeFile(bindingPath(), "<plist><dict>");
    fileManager().writeAtomicallyFailure = [](const std::string&) {
        return std::error_code(ENOSPC, std::generic_category());
    };
    bind("show");
    EXPECT_EQ(sandbox::readFile(bindingPath()), "<plist><dict>");
    const auto folder = std::filesystem::path(bindingPath()).parent_path();
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder), {}), 1);
    EXPECT_THAT(sandbox::console().lines(), IsEmpty());
}

TEST_F(ShortcutStoreTest, AFolderThatCannotBeMadeIsNotSpokenOf) {
    std::filesystem::remove_all(std::filesystem::path(bindingPath()).parent_path());
    sandbox::writeFile(sandbox::home() + "/Library/Preferences", "a file in its place");
    bind("show");
    EXPECT_EQ(sandbox::readFile(sandbox::home() + "/Library/Preferences"), "a file in its place");
    EXPECT_THAT(sandbox::console().lines(), IsEmpty());
    EXPECT_EQ(reloadEvents(), 1);
}

TEST_F(ShortcutStoreTest, AReadOnlyFolderKeepsItsFile) {
    bind("show", 45);
    const auto before = sandbox::readFile(bindingPath());
    const auto folder = std::filesystem::path(bindingPath()).parent_path();
    std::filesystem::permissions(folder,
                                 std::filesystem::perms::owner_read | std::filesystem::perms::owner_exec);
    // Root may write everywhere, so the file manager stands in for the kernel there.
    fileManager().writeAtomicallyFailure = [](const std::string&) {
        return ::geteuid() == 0 ? std::error_code(EACCES, std::generic_category()) : std::error_code();
    };
    bind("show", 24);
    std::filesystem::permissions(folder, std::filesystem::perms::owner_all);
    EXPECT_EQ(sandbox::readFile(bindingPath()), before);
    EXPECT_EQ(reloadEvents(), 2);
    EXPECT_EQ(setups(), 2);
}

TEST_F(ShortcutStoreTest, AMissingManagerIsToldToTheConsoleOnceTheRestIsDone) {
    std::filesystem::remove(managerPath());
    bind("show");
    EXPECT_EQ(watchlist().size(), 1U);
    EXPECT_EQ(reloadEvents(), 1);
    EXPECT_THAT(sandbox::console().lines(), ElementsAre(kMissingManager));
}

TEST_F(ShortcutStoreTest, WhatTheManagerDoesIsNotLookedAt) {
    const std::string note = "echo \"$0\" >> '" + notes() + "'\n";
    std::string noted;
    std::uint64_t keycode = 45;
    for (const auto& script : {note + "exit 3\n", note + "kill -SEGV $$\n",
                               "head -c 3000000 /dev/zero; head -c 3000000 /dev/zero >&2\n" + note}) {
        installManager("#!/bin/sh\n" + script);
        bind("show", ++keycode);
        noted += managerPath() + "\n";
        EXPECT_EQ(sandbox::readFile(notes()), noted); // it has run
        EXPECT_EQ(watchlist(), Array{entry(kOwn, static_cast<int>(keycode), 0x0300, "show")});
        EXPECT_THAT(sandbox::console().lines(), IsEmpty());
    }
}

// Another program replaces the file a thousand times, and reads it as often as it can.
TEST_F(ShortcutStoreTest, NobodySeesAFileHalfWritten) {
    bind("show", 45);
    sandbox::writeFile(sandbox::folder() + "/other.py", R"(
import os, plistlib, sys
path = sys.argv[1]
for number in range(1000):
    entry = {"bundleid": "com.vantorel.Tallowby", "keycode": number, "modifiers": 0, "commandid": "x"}
    with open(path + ".new", "wb") as file:
        plistlib.dump({"watchlist": [entry] * 20}, file)
    os.rename(path + ".new", path)
    for _ in range(3):
        with open(path, "rb") as file:
            assert plistlib.load(file)["watchlist"]
)");
    installManager("#!/bin/sh\n");
    std::atomic<bool> isOver = false;
    long status = -1;
    std::thread other([&] {
        status = VTTaskEx::terminationCodeFromTask("/usr/bin/python3",
                                                   {sandbox::folder() + "/other.py", bindingPath()});
        isOver = true;
    });
    int bound = 0;
    while (!isOver) {
        bind("show", 45);
        const auto read = platform::dictionaryWithContentsOfFile(bindingPath());
        EXPECT_TRUE(read && read->contains("watchlist")) << "after " << bound;
        ++bound;
    }
    other.join();
    EXPECT_EQ(status, 0);
    EXPECT_GT(bound, 0);
    for (const auto& file :
         std::filesystem::directory_iterator(std::filesystem::path(bindingPath()).parent_path())) {
        EXPECT_EQ(file.path().filename(), "com.vantorel.shortcutkeys.plist"); // nothing aside, no drafts
    }
}

// --- A key was captured

TEST_F(ShortcutStoreTest, ACapturedKeyBindsTheSelectedCommand) {
    table->row = 1;
    press(45, true, false, false, true);
    EXPECT_EQ(watchlist(), Array{entry(kOwn, 45, 0x0300, "reload")});
    EXPECT_EQ(controller.objectValueForTableColumn("shortcutkey", 1), "Shift+Cmd+K");
    EXPECT_THAT(table->endedEdits, ElementsAre(std::pair("shortcutkey", controller.vtFieldEditor().get())));
    EXPECT_EQ(table->reloads, 1); // when the interface was loaded
    EXPECT_EQ(setups(), 1);
}

TEST_F(ShortcutStoreTest, AllFourModifiersAreTakenOver) {
    table->row = 0;
    press(24, false, true, true, true);
    EXPECT_EQ(watchlist(), Array{entry(kOwn, 24, 0x1900, "show")});
    EXPECT_EQ(controller.objectValueForTableColumn("shortcutkey", 0), "Ctrl+Alt+Cmd+Q");
}

TEST_F(ShortcutStoreTest, AKeyWithoutASelectedRowOnlyEndsTheEdit) {
    for (std::int64_t row : {std::int64_t{-1}, std::int64_t{-7}, outlet::ShortcutTable::kNotFound}) {
        table->row = row;
        press(45, true, false, false, true);
    }
    EXPECT_FALSE(sandbox::exists(bindingPath()));
    EXPECT_EQ(reloadEvents(), 0);
    EXPECT_EQ(setups(), 0);
    EXPECT_EQ(table->endedEdits.size(), 3U);
}

TEST_F(ShortcutStoreTest, AnEventWithoutUserInfoOnlyEndsTheEdit) {
    table->row = 0;
    platform::current().notificationCenter->post(
        {.name = VTShortcutKeyTableDelegate::kKeyChanged, .userInfo = {}});
    EXPECT_FALSE(sandbox::exists(bindingPath()));
    EXPECT_EQ(table->endedEdits.size(), 1U);
}

TEST_F(ShortcutStoreTest, ACommandWithoutIdentifierGetsAnEntryWithoutOne) {
    table->row = 3;
    press(45, true, false, false, true);
    EXPECT_EQ(watchlist(), Array{(Dictionary{{"bundleid", kOwn}, {"keycode", 45}, {"modifiers", 0x0300}})});
}

// --- A binding was cleared

TEST_F(ShortcutStoreTest, ClearingTakesTheFirstOwnEntryAway) {
    const Dictionary foreign = entry("com.vantorel.Tallowby", 1, 0, "show");
    writeBindings({{"kept", true},
                   {"watchlist", Array{foreign, entry(kOwn, 45, 0, "show"), entry(kOwn, 24, 0, "show")}}});
    controller.populateKeyData();
    EXPECT_EQ(controller.objectValueForTableColumn("shortcutkey", 0), "Q");
    table->row = 0;
    const int reloads = table->reloads;
    clear();
    EXPECT_EQ(root(),
              (Dictionary{{"kept", true}, {"watchlist", Array{foreign, entry(kOwn, 24, 0, "show")}}}));
    EXPECT_EQ(controller.objectValueForTableColumn("shortcutkey", 0), std::nullopt);
    EXPECT_EQ(reloadEvents(), 1);
    EXPECT_EQ(table->reloads, reloads + 1);
    EXPECT_EQ(setups(), 1);
}

TEST_F(ShortcutStoreTest, ClearingWhatIsNotBoundStillRewritesAndTells) {
    writeBindings({{"watchlist", Array{entry("com.vantorel.Tallowby", 1, 0, "show")}}});
    const auto before = root();
    struct stat old {
    }, fresh{};
    ::stat(bindingPath().c_str(), &old);
    table->row = 0;
    clear();
    ::stat(bindingPath().c_str(), &fresh);
    EXPECT_EQ(root(), before);
    EXPECT_NE(old.st_ino, fresh.st_ino);
    EXPECT_EQ(reloadEvents(), 1);
    EXPECT_EQ(setups(), 1);
}

TEST_F(ShortcutStoreTest, ClearingACommandWithoutIdentifierTakesNothingAway) {
    writeBindings({{"watchlist", Array{(Dictionary{{"bundleid", kOwn}, {"keycode", 1}, {"modifiers", 0}})}}});
    const auto before = root();
    table->row = 3;
    clear();
    EXPECT_EQ(root(), before);
}

TEST_F(ShortcutStoreTest, ClearingWithoutAFileMakesNone) {
    table->row = 0;
    clear();
    EXPECT_FALSE(sandbox::exists(bindingPath()));
    EXPECT_EQ(reloadEvents(), 1);
    EXPECT_EQ(setups(), 1);
}

TEST_F(ShortcutStoreTest, ClearingLeavesADamagedFileAlone) {
    sandbox::writeFile(bindingPath(), "<plist><dict>");
    table->row = 0;
    const int reloads = table->reloads;
    clear();
    EXPECT_EQ(sandbox::readFile(bindingPath()), "<plist><dict>");
    EXPECT_EQ(reloadEvents(), 1);
    EXPECT_EQ(table->reloads, reloads + 1);
    EXPECT_EQ(setups(), 1);
}

TEST_F(ShortcutStoreTest, ClearingWithoutASelectedRowOnlyReloadsAndRunsTheManager) {
    bind("show");
    const auto before = sandbox::readFile(bindingPath());
    for (std::int64_t row : {std::int64_t{-1}, outlet::ShortcutTable::kNotFound}) {
        table->row = row;
        controller.clearShortcutKey();
    }
    EXPECT_EQ(sandbox::readFile(bindingPath()), before);
    EXPECT_EQ(reloadEvents(), 1); // of the binding
    EXPECT_EQ(table->reloads, 3);
    EXPECT_EQ(setups(), 3);
}

TEST_F(ShortcutStoreTest, TheTableReloadsAfterTheEventAndBeforeTheManager) {
    bind("show");
    table->row = 0;
    int eventsBefore = -1;
    int setupsBefore = -1;
    table->onReload = [&] {
        eventsBefore = reloadEvents();
        setupsBefore = setups();
    };
    clear();
    EXPECT_EQ(eventsBefore, 2);
    EXPECT_EQ(setupsBefore, 1);
}

TEST_F(ShortcutStoreTest, WithoutAManagerAClearIsDoneAllTheSame) {
    bind("show");
    std::filesystem::remove(managerPath());
    table->row = 0;
    clear();
    EXPECT_THAT(watchlist(), IsEmpty());
    EXPECT_EQ(reloadEvents(), 2);
    EXPECT_THAT(sandbox::console().lines(), ElementsAre(kMissingManager));
}
