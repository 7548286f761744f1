#pragma once

#include "Outlets.h"

#include <QAction>
#include <QMenu>
#include <functional>
#include <memory>
#include <vector>

// A run of check-marked items in a menu, as the controller sees it. Titles are shown as they are: an
// ampersand is an ampersand.
class ActionMenu : public outlet::Menu {
public:
    using Action = std::function<void(outlet::MenuItem&)>;

    class Item : public outlet::MenuItem {
    public:
        Item(std::string title, int tag, QAction* action)
            : title_(std::move(title)), tag_(tag), action_(action) {}

        std::string title() const override { return title_; }
        int tag() const override { return tag_; }
        void setState(bool on) override { action_->setChecked(on); }
        bool state() const { return action_->isChecked(); }

    private:
        std::string title_;
        int tag_;
        QAction* action_; // the menu's
    };

    // Items go to the end of `menu`. `action` is called for an item that the user chooses.
    ActionMenu(QMenu* menu, Action action);
    ~ActionMenu() override;
    ActionMenu(const ActionMenu&) = delete;
    ActionMenu& operator=(const ActionMenu&) = delete;

    std::size_t numberOfItems() const override { return items_.size(); }
    outlet::MenuItem& itemAtIndex(std::size_t index) override;
    outlet::MenuItem* itemWithTitle(const std::string& title) override;
    outlet::MenuItem& addItem(const std::string& title) override { return *addAction(title, 0); }

    Item* addAction(const std::string& title, int tag, const QKeySequence& shortcut = {});

    int numberOfCheckedItems() const;

private:
    QMenu* menu_;
    Action action_;
    std::vector<std::unique_ptr<Item>> items_;
};
