#pragma once

#include "AlertSheets.h"

#include <cstddef>
#include <functional>
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
    // The path of the file that the item stands for; absent when it stands for none.
    virtual std::optional<std::string> representedPath() const = 0;
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
    virtual MenuItem& addItem(const std::string& title,
                              std::optional<std::string> representedPath = std::nullopt) = 0;
};

// The main panel on the screen. Its alpha value is 0 for invisible to 1 for opaque.
class Window : public platform::Window {
public:
    virtual bool isVisible() const = 0;
    virtual void orderFront() = 0; // shows it
    virtual void orderBack() = 0;  // behind the windows of all programs
    virtual void makeKeyAndOrderFront() = 0;
    virtual void close() = 0;

    virtual double alphaValue() const = 0;
    virtual void setAlphaValue(double alpha) = 0;
    // Moves towards `alpha` from wherever a change that is still under way has come. Each change that
    // comes to its end calls the delegate.
    virtual void animateAlphaValue(double alpha) = 0;
    virtual void setAnimationDelegate(std::function<void()> animationDidStop) = 0;
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

// A panel that is shown as a sheet.
class Panel {
public:
    virtual ~Panel() = default;
    virtual void beginSheet(Window& window) = 0;
    virtual void endSheet() = 0; // takes it off the screen, if it is there
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

class VTWindowController;

struct Outlets {
    outlet::Window* mainWindow = nullptr;
    VTWindowController* windowController = nullptr; // the main window's
    outlet::TableView* tableView = nullptr;
    outlet::Spinner* spinner = nullptr;
    outlet::Panel* progressPanel = nullptr;
    outlet::Spinner* progressBar = nullptr; // in the progress panel
    outlet::Menu* hideMenu = nullptr;
    outlet::Menu* sortMenu = nullptr;
    outlet::Menu* userManualMenu = nullptr;
};
