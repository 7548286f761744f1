#include "ActionMenu.h"

#include <gmock/gmock.h>

TEST(ActionMenu, ShowsTitlesAsTheyAre) {
    QMenu menu;
    ActionMenu items(&menu, [](outlet::MenuItem&) {});
    auto& item = items.addItem("Cut & <b>Paste</b>");
    EXPECT_EQ(item.title(), "Cut & <b>Paste</b>");
    EXPECT_EQ(menu.actions().constFirst()->text(), "Cut && <b>Paste</b>");
    EXPECT_TRUE(menu.actions().constFirst()->shortcut().isEmpty());
}

TEST(ActionMenu, FindsItemsByExactTitle) {
    QMenu menu;
    ActionMenu items(&menu, [](outlet::MenuItem&) {});
    items.addItem("Kelvandor");
    EXPECT_EQ(items.itemWithTitle("kelvandor"), nullptr);
    ASSERT_NE(items.itemWithTitle("Kelvandor"), nullptr);
    EXPECT_EQ(items.numberOfItems(), 1U);
}

TEST(ActionMenu, CallsItsActionWithTheChosenItem) {
    QMenu menu;
    std::vector<std::pair<std::string, int>> chosen;
    ActionMenu items(&menu, [&](outlet::MenuItem& item) {
        chosen.emplace_back(item.title(), item.tag());
        item.setState(true);
    });
    items.addAction("by name", 0);
    items.addAction("by group", 1);
    menu.actions().at(1)->trigger();
    EXPECT_THAT(chosen, testing::ElementsAre(testing::Pair("by group", 1)));
    EXPECT_EQ(items.numberOfCheckedItems(), 1);
    EXPECT_FALSE(menu.actions().at(0)->isChecked());
    EXPECT_TRUE(menu.actions().at(1)->isChecked());
}
