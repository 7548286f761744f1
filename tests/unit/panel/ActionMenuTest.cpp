#include "ActionMenu.h"

#include <gmock/gmock.h>

TEST(ActionMenu, ShowsTitlesAsTheyAre) {
    QMenu menu;
    ActionMenu items(&menu, ActionMenu::Items::Checkable, [](outlet::MenuItem&) {});
    auto& item = items.addItem("Cut & <b>Paste</b>", std::nullopt);
    EXPECT_EQ(item.title(), "Cut & <b>Paste</b>");
    EXPECT_EQ(menu.actions().constFirst()->text(), "Cut && <b>Paste</b>");
    EXPECT_TRUE(menu.actions().constFirst()->shortcut().isEmpty());
}

TEST(ActionMenu, FindsItemsByExactTitle) {
    QMenu menu;
    ActionMenu items(&menu, ActionMenu::Items::Checkable, [](outlet::MenuItem&) {});
    items.addItem("Kelvandor", std::nullopt);
    EXPECT_EQ(items.itemWithTitle("kelvandor"), nullptr);
    ASSERT_NE(items.itemWithTitle("Kelvandor"), nullptr);
    EXPECT_EQ(items.numberOfItems(), 1U);
}

TEST(ActionMenu, CallsItsActionWithTheChosenItem) {
    QMenu menu;
    std::vector<std::pair<std::string, int>> chosen;
    ActionMenu items(&menu, ActionMenu::Items::Checkable, [&](outlet::MenuItem& item) {
        chosen.emplace_back(item.title(), item.tag());
        item.setState(true);
    });
    for (int tag : {0, 1}) {
        auto* action = menu.addAction(tag == 0 ? "by &name" : "by &group");
        action->setCheckable(true);
        items.adopt(action, tag);
    }
    menu.actions().at(1)->trigger();
    EXPECT_THAT(chosen, testing::ElementsAre(testing::Pair("by group", 1)));
    EXPECT_EQ(items.numberOfCheckedItems(), 1);
    EXPECT_FALSE(menu.actions().at(0)->isChecked());
    EXPECT_TRUE(menu.actions().at(1)->isChecked());
}

TEST(ActionMenu, PlainItemsHaveNoCheckMark) {
    QMenu menu;
    ActionMenu items(&menu, ActionMenu::Items::Plain, [](outlet::MenuItem&) {});
    items.addItem("Guide", "/a/Guide.pdf");
    EXPECT_FALSE(menu.actions().constFirst()->isCheckable());
}

TEST(ActionMenu, ItemsKnowWhatTheyStandFor) {
    QMenu menu;
    std::vector<std::optional<std::string>> chosen;
    ActionMenu items(&menu, ActionMenu::Items::Plain,
                     [&](outlet::MenuItem& item) { chosen.push_back(item.representedPath()); });
    items.addItem("Guide", "/a/Guide \xff.pdf");
    items.addItem("Nothing", std::nullopt);
    menu.actions().at(0)->trigger();
    menu.actions().at(1)->trigger();
    EXPECT_THAT(chosen, testing::ElementsAre("/a/Guide \xff.pdf", std::nullopt));
}

// A tab would set off a shortcut, a line feed would make the item higher.
TEST(ActionMenu, TitlesHaveOneLineAndNoShortcut) {
    QMenu menu;
    ActionMenu items(&menu, ActionMenu::Items::Plain, [](outlet::MenuItem&) {});
    auto& item = items.addItem("a\tb\nc", std::nullopt);
    EXPECT_EQ(menu.actions().constFirst()->text(), "a b c");
    EXPECT_EQ(item.title(), "a\tb\nc");
}

TEST(ActionMenu, AMenuIsDisabledWhileItIsEmpty) {
    QMenu menu;
    ActionMenu items(&menu, ActionMenu::Items::Plain, [](outlet::MenuItem&) {});
    EXPECT_FALSE(menu.menuAction()->isEnabled());
    items.addItem("Guide", std::nullopt);
    EXPECT_TRUE(menu.menuAction()->isEnabled());

    QMenu full;
    full.addAction("something else");
    const ActionMenu more(&full, ActionMenu::Items::Plain, [](outlet::MenuItem&) {});
    EXPECT_TRUE(full.menuAction()->isEnabled());
}
