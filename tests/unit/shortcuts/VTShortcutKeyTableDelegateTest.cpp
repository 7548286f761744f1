#include "Platform.h"
#include "ShortcutFixture.h"

#include <filesystem>
#include <map>

using testing::ElementsAre;
using testing::Pair;
using testing::UnorderedElementsAre;

namespace {

struct FakeImageCell : outlet::ImageCell {
    std::shared_ptr<const platform::Icon> icon;
    double size = 0;
    void setImage(std::shared_ptr<const platform::Icon> image, double points) override {
        icon = std::move(image);
        size = points;
    }
};

class CountingFileManager : public FailingFileManager {
public:
    using FailingFileManager::FailingFileManager;

    platform::FileContents contents(const std::string& path, std::size_t limit) override {
        ++reads[path];
        return FailingFileManager::contents(path, limit);
    }

    std::map<std::string, int> reads;
};

} // namespace

TEST_F(ShortcutTest, ThreadsThatAskAtOnceGetTheSameController) {
    std::vector<VTShortcutKeyTableDelegate*> found(8);
    std::vector<std::thread> threads;
    for (auto& one : found) {
        threads.emplace_back([&one] { one = &VTShortcutKeyTableDelegate::sharedController(); });
    }
    for (auto& thread : threads) {
        thread.join();
    }
    EXPECT_THAT(found, testing::Each(&VTShortcutKeyTableDelegate::sharedController()));
    EXPECT_EQ(VTShortcutKeyTableDelegate::allocate(), nullptr);
}

TEST_F(ShortcutTest, TheFirstAllocatedControllerIsTheShared) {
    if (auto* allocated = VTShortcutKeyTableDelegate::allocate()) { // no test before has made it
        EXPECT_EQ(allocated, &VTShortcutKeyTableDelegate::sharedController());
    }
    EXPECT_EQ(VTShortcutKeyTableDelegate::allocate(), nullptr);
}

TEST_F(ShortcutTest, LoadingFillsTheTableInTheOrderOfTheFile) {
    auto& controller = load();
    ASSERT_EQ(controller.numberOfRowsInTableView(), 4U);
    EXPECT_EQ(controller.objectValueForTableColumn("description", 0), "Show the Launcher");
    EXPECT_EQ(controller.objectValueForTableColumn("description", 2), "Start Purgel");
    EXPECT_EQ(controller.objectValueForTableColumn("shortcutkey", 0), std::nullopt);
    EXPECT_EQ(controller.objectValueForTableColumn("id", 0), std::nullopt);
    EXPECT_EQ(controller.objectValueForTableColumn("description", 4), std::nullopt);
    EXPECT_EQ(controller.dataArray()[3].at("extra"), PropertyList(7)); // carried along
    EXPECT_EQ(table->reloads, 1);
    EXPECT_TRUE(table->isEnabled);
    EXPECT_TRUE(notice->isHidden);
}

TEST_F(ShortcutTest, BindingsOnFileAreShownByName) {
    keyboard->keys[9] = {.text = "x"};
    writeBindings(
        {{"watchlist", Array{entry(kOwn, 45, 0x0300, "show"), entry("com.vantorel.Tallowby", 24, 0, "reload"),
                             entry(kOwn, 24, 0x1900, "purgel"), entry(kOwn, 24, 0, "unknown"), "no entry",
                             Dictionary{{"bundleid", kOwn}, {"keycode", 24}, {"modifiers", 0}},
                             entry(kOwn, 36, 0x0100, "show")}}});
    auto& controller = load();
    EXPECT_EQ(controller.objectValueForTableColumn("shortcutkey", 0), "Cmd+Enter"); // the later one
    EXPECT_EQ(controller.objectValueForTableColumn("shortcutkey", 1), std::nullopt);
    EXPECT_EQ(controller.objectValueForTableColumn("shortcutkey", 2), "Ctrl+Alt+Cmd+Q");
    EXPECT_EQ(controller.objectValueForTableColumn("shortcutkey", 3), std::nullopt);
}

TEST_F(ShortcutTest, NumbersThatAreMissingCountAsNone) {
    keyboard->keys[0] = {.text = "zero"};
    writeBindings({{"watchlist", Array{Dictionary{{"bundleid", kOwn}, {"commandid", "show"}}}}});
    EXPECT_EQ(load().objectValueForTableColumn("shortcutkey", 0), "zero");
}

TEST_F(ShortcutTest, WithoutTheManagerTheNoticeIsShownAndBindingsAreListed) {
    std::filesystem::remove(managerPath());
    writeBindings({{"watchlist", Array{entry(kOwn, 45, 0x0300, "show")}}});
    auto& controller = load();
    EXPECT_FALSE(notice->isHidden);
    EXPECT_FALSE(table->isEnabled);
    EXPECT_EQ(controller.objectValueForTableColumn("shortcutkey", 0), "Shift+Cmd+K");
    installManager("#!/bin/sh\n");
    controller.populateKeyData(); // takes nothing back
    EXPECT_FALSE(notice->isHidden);
    EXPECT_FALSE(table->isEnabled);
}

TEST_F(ShortcutTest, WithoutCommandsTheTableIsEmpty) {
    for (const char* bytes : {static_cast<const char*>(nullptr), "damaged", "<plist><dict/></plist>",
                              "<plist><dict><key>VTKeys</key><string/></dict></plist>"}) {
        std::filesystem::remove(bundle().resourcePath() + "/VTKeys.plist");
        if (bytes) {
            sandbox::writeFile(bundle().resourcePath() + "/VTKeys.plist", bytes);
        }
        table->reloads = 0;
        auto& controller = VTShortcutKeyTableDelegate::sharedController();
        controller.setBundle(bundle());
        controller.setOutlets({.shortcutKeyTableView = table});
        controller.populateKeyData();
        EXPECT_EQ(controller.numberOfRowsInTableView(), 0U);
        EXPECT_EQ(table->reloads, 1);
    }
}

TEST_F(ShortcutTest, FillingReadsEachFileOnce) {
    writeBindings({{"watchlist", Array(100, entry("com.vantorel.Tallowby", 24, 0, "reload"))}});
    auto services = platform::current();
    const auto files = std::make_shared<CountingFileManager>(services.fileManager);
    services.fileManager = files;
    const platform::ScopedPlatform scope(services);
    load();
    const auto commands = bundle().resourcePath() + "/VTKeys.plist";
    EXPECT_THAT(files->reads, UnorderedElementsAre(Pair(commands, 1), Pair(bindingPath(), 1),
                                                   Pair(bundle().path + "/Contents/Info.plist", 1)));
    files->reads.clear();
    std::filesystem::remove(commands);
    load();
    EXPECT_THAT(files->reads, ElementsAre(Pair(commands, 1))); // there is nothing to bind
}

TEST_F(ShortcutTest, ADamagedBindingFileBindsNothing) {
    sandbox::writeFile(bindingPath(), "<plist>");
    EXPECT_EQ(load().objectValueForTableColumn("shortcutkey", 0), std::nullopt);
    EXPECT_EQ(sandbox::readFile(bindingPath()), "<plist>");
}

TEST_F(ShortcutTest, EveryDescriptionHasTheLaunchersIcon) {
    auto& controller = load();
    FakeImageCell cell;
    controller.willDisplayCell(cell, "shortcutkey");
    EXPECT_EQ(cell.icon, nullptr);
    controller.willDisplayCell(cell, "description");
    const auto* icon = dynamic_cast<const FakeWorkspace::FakeIcon*>(cell.icon.get());
    ASSERT_TRUE(icon);
    EXPECT_EQ(icon->path, bundle().path);
    EXPECT_EQ(cell.size, 16);
}

TEST_F(ShortcutTest, TheFieldEditorIsForTheShortcutTableAlone) {
    auto& controller = load();
    const auto editor = std::dynamic_pointer_cast<FakeFieldEditor>(controller.vtFieldEditor());
    ASSERT_TRUE(editor);
    EXPECT_EQ(controller.windowWillReturnFieldEditor(notice.get()), nullptr);
    EXPECT_EQ(controller.windowWillReturnFieldEditor(nullptr), nullptr);
    EXPECT_EQ(editor->text, "left over");
    EXPECT_EQ(controller.windowWillReturnFieldEditor(table.get()), editor);
    EXPECT_EQ(editor->text, "");
}

TEST_F(ShortcutTest, EveryLoadMakesAFieldEditorAndSubscribesOnceMore) {
    auto& controller = load();
    const auto first = controller.vtFieldEditor();
    controller.awakeFromNib();
    EXPECT_NE(controller.vtFieldEditor(), first);
    table->row = 0;
    press(45, true, false, false, true);
    EXPECT_EQ(table->endedEdits.size(), 2U);
    EXPECT_EQ(setups(), 2);
    clear();
    EXPECT_EQ(setups(), 4);
}

TEST_F(ShortcutTest, AnInterfaceWithoutItsPartsIsPutUpWith) {
    auto& controller = VTShortcutKeyTableDelegate::sharedController();
    controller.setBundle(bundle());
    controller.setOutlets({});
    std::filesystem::remove(managerPath());
    controller.awakeFromNib();
    EXPECT_EQ(controller.vtFieldEditor(), nullptr);
    EXPECT_EQ(controller.parentView(), nullptr);
    EXPECT_EQ(controller.numberOfRowsInTableView(), 4U);
    press(45, true, false, false, true);
    clear();
    EXPECT_FALSE(sandbox::exists(bindingPath()));
}
