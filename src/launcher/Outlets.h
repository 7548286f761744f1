#pragma once

#include <cstddef>
#include <optional>
#include <string>

// What the controller needs of the panel. The panel implements these and hands them over before
// anything runs; all calls come on the main thread.

namespace outlet {

class MenuItem {
public:
    virtual ~MenuItem() = default;
    virtual std::string title() const = 0;
    virtual int tag() const = 0;
    virtual void setState(bool on) = 0; // its check mark
};

class Menu {
public:
    virtual ~Menu() = default;
    virtual std::size_t numberOfItems() const = 0;
    virtual MenuItem& itemAtIndex(std::size_t index) = 0;

    // Null when no item has exactly this title.
    virtual MenuItem* itemWithTitle(const std::string& title) = 0;

    // Appends an item without a key equivalent. Choosing it calls the menu's own action.
    virtual MenuItem& addItem(const std::string& title) = 0;
};

class TableView {
public:
    virtual ~TableView() = default;
    virtual void reloadData() = 0;
    virtual std::optional<std::size_t> selectedRow() const = 0;
};

class Spinner {
public:
    virtual ~Spinner() = default;
    virtual void startAnimation() = 0;
    virtual void stopAnimation() = 0;
};

// A text cell about to be drawn.
class TextCell {
public:
    virtual ~TextCell() = default;
    virtual void setHasShadow(bool hasShadow) = 0;
    virtual void setSubtitle(const std::optional<std::string>& subtitle) = 0;
    virtual void setLineCount(int lineCount) = 0;
};

} // namespace outlet

struct Outlets {
    outlet::TableView* tableView = nullptr;
    outlet::Spinner* spinner = nullptr;
    outlet::Menu* hideMenu = nullptr;
    outlet::Menu* sortMenu = nullptr;
};
