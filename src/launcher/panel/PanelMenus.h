#pragma once

#include "ActionMenu.h"
#include "AppController.h"

#include <QMenu>

namespace Ui { // NOLINT(readability-identifier-naming): as Qt names it
class MainPanel;
}
class QMainWindow;
class ShortcutWindow;
class VTSoftwareUpdate;

// The panel's menus: connects the actions of its interface file with the controller, the preferences and the
// program. What it is made with must outlive it.
class PanelMenus {
public:
    PanelMenus(QMainWindow& panel, Ui::MainPanel& interface, AppController& controller,
               VTSoftwareUpdate& softwareUpdate);

    ActionMenu& hideMenu() { return hideMenu_; }
    ActionMenu& sortMenu() { return sortMenu_; }
    ActionMenu& userManualMenu() { return userManualMenu_; }

    // What can be done with the selected tool, for a place on the screen.
    void popUpToolMenu(const QPoint& globalPosition) { toolMenu_.popup(globalPosition); }
    // Whether there is a tool to do it with.
    void setToolIsSelected(bool isSelected);

private:
    // A check mark that stands for 1 in the preferences.
    void bindToDefault(QAction* action, const char* key);
    void showShortcuts();
    void showAboutLauncher();

    QMainWindow& panel_;
    Ui::MainPanel& interface_;
    AppController& controller_;
    ActionMenu hideMenu_;
    ActionMenu sortMenu_;
    ActionMenu userManualMenu_;
    QMenu toolMenu_;
    ShortcutWindow* shortcuts_ = nullptr; // the panel's
};
