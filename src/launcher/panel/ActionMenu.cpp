#include "ActionMenu.h"

#include <algorithm>

namespace {

// In the text of an action an ampersand marks the mnemonic, and a tab the place of the shortcut.
QString actionText(const std::string& title) {
    auto text = QString::fromStdString(title);
    text.replace(u'\t', u' ').replace(u'\n', u' ');
    return text.replace(QLatin1String("&"), QLatin1String("&&"));
}

} // namespace

ActionMenu::ActionMenu(QMenu* menu, Items items, Action action)
    : menu_(menu), checkable_(items == Items::Checkable), action_(std::move(action)) {
    menu_->setEnabled(!menu_->isEmpty());
}

ActionMenu::~ActionMenu() = default;

outlet::MenuItem& ActionMenu::itemAtIndex(std::size_t index) {
    return *items_.at(index);
}

outlet::MenuItem* ActionMenu::itemWithTitle(const std::string& title) {
    auto found = std::ranges::find_if(items_, [&title](const auto& item) { return item->title() == title; });
    return found == items_.end() ? nullptr : found->get();
}

outlet::MenuItem& ActionMenu::addItem(const std::string& title, std::optional<std::string> representedPath) {
    auto* action = menu_->addAction(actionText(title));
    action->setCheckable(checkable_);
    menu_->setEnabled(true);
    return append(std::make_unique<Item>(title, 0, std::move(representedPath), action), action);
}

outlet::MenuItem& ActionMenu::adopt(QAction* action, int tag) {
    auto title = action->text().remove(u'&').toStdString();
    return append(std::make_unique<Item>(std::move(title), tag, std::nullopt, action), action);
}

outlet::MenuItem& ActionMenu::append(std::unique_ptr<Item> item, QAction* action) {
    items_.push_back(std::move(item));
    QObject::connect(action, &QAction::triggered, menu_,
                     [this, item = items_.back().get()] { action_(*item); });
    return *items_.back();
}

int ActionMenu::numberOfCheckedItems() const {
    return static_cast<int>(std::ranges::count_if(items_, &Item::state));
}
