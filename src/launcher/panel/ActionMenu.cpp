#include "ActionMenu.h"

#include <algorithm>

ActionMenu::ActionMenu(QMenu* menu, Action action) : menu_(menu), action_(std::move(action)) {}

ActionMenu::~ActionMenu() = default;

outlet::MenuItem& ActionMenu::itemAtIndex(std::size_t index) {
    return *items_.at(index);
}

outlet::MenuItem* ActionMenu::itemWithTitle(const std::string& title) {
    auto found = std::ranges::find_if(items_, [&title](const auto& item) { return item->title() == title; });
    return found == items_.end() ? nullptr : found->get();
}

ActionMenu::Item* ActionMenu::addAction(const std::string& title, int tag, const QKeySequence& shortcut) {
    auto* action =
        menu_->addAction(QString::fromStdString(title).replace(QLatin1String("&"), QLatin1String("&&")));
    action->setCheckable(true);
    action->setShortcut(shortcut);
    items_.push_back(std::make_unique<Item>(title, tag, action));
    auto* item = items_.back().get();
    QObject::connect(action, &QAction::triggered, menu_, [this, item] { action_(*item); });
    return item;
}

int ActionMenu::numberOfCheckedItems() const {
    return static_cast<int>(std::ranges::count_if(items_, &Item::state));
}
