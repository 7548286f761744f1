#pragma once

#include "Outlets.h"

#include <QAction>
#include <QMenu>
#include <functional>
#include <memory>
#include <vector>

// A run of items in a menu, as the controller sees it. A menu without any items is disabled until the first
// one comes.
class ActionMenu : public outlet::Menu {
public:
    using Action = std::function<void(outlet::MenuItem&)>;

    enum class Items { Checkable, Plain };

    class Item : public outlet::MenuItem {
    public:
        Item(std::string title, int tag, std::optional<std::string> representedPath, QAction* action)
            : title_(std::move(title)), tag_(tag), representedPath_(std::move(representedPath)),
              action_(action) {}

        std::string title() const override { return title_; }
        int tag() const override { return tag_; }
        std::optional<std::string> representedPath() const override { return representedPath_; }
        void setState(bool on) override { action_->setChecked(on); }
        bool state() const { return action_->isChecked(); }

    private:
        std::string title_;
        int tag_;
        std::optional<std::string> representedPath_;
        QAction* action_; // the menu's
    };

    // `action` is called for an item that the user chooses.
    ActionMenu(QMenu* menu, Items items, Action action);
    ~ActionMenu() override;
    ActionMenu(const ActionMenu&) = delete;
    ActionMenu& operator=(const ActionMenu&) = delete;

    std::size_t numberOfItems() const override { return items_.size(); }
    outlet::MenuItem& itemAtIndex(std::size_t index) override;
    outlet::MenuItem* itemWithTitle(const std::string& title) override;

    // At the end of the menu. The title is shown as it is: an ampersand is an ampersand.
    outlet::MenuItem& addItem(const std::string& title, std::optional<std::string> representedPath) override;

    // Takes in an action that stands in the menu already; its title is what the user reads.
    outlet::MenuItem& adopt(QAction* action, int tag);

    int numberOfCheckedItems() const;

private:
    outlet::MenuItem& append(std::unique_ptr<Item> item, QAction* action);

    QMenu* menu_;
    bool checkable_;
    Action action_;
    std::vector<std::unique_ptr<Item>> items_;
};
