#include "ActionMenu.h"

#include <QApplication>
#include <gmock/gmock.h>

namespace {

class ActionMenuTest : public testing::Test {
    int argc_ = 1;
    char name_[5] = "test";
    char* argv_[2] = {name_, nullptr};
    bool offscreen_ = qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication application_{argc_, argv_};
};

} // namespace

TEST_F(ActionMenuTest, ShowsTitlesAsTheyAre) {
    QMenu menu;
    ActionMenu items(&menu, [](outlet::MenuItem&) {});
    auto& item = items.addItem("Cut & <b>Paste</b>");
    EXPECT_EQ(item.title(), "Cut & <b>Paste</b>");
    EXPECT_EQ(menu.actions().constFirst()->text(), "Cut && <b>Paste</b>");
    EXPECT_TRUE(menu.actions().constFirst()->shortcut().isEmpty());
}

TEST_F(ActionMenuTest, FindsItemsByExactTitle) {
    QMenu menu;
    ActionMenu items(&menu, [](outlet::MenuItem&) {});
    items.addItem("Kelvandor");
    EXPECT_EQ(items.itemWithTitle("kelvandor"), nullptr);
    ASSERT_NE(items.itemWithTitle("Kelvandor"), nullptr);
    EXPECT_EQ(items.numberOfItems(), 1U);
}

TEST_F(ActionMenuTest, CallsItsActionWithTheChosenItem) {
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
