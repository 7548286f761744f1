#include "PanelMenus.h"

#include "DarkAlert.h"
#include "Platform.h"
#include "ShortcutWindow.h"
#include "VTSoftwareUpdate.h"
#include "ui_MainPanel.h"

#include <QApplication>

PanelMenus::PanelMenus(QMainWindow& panel, Ui::MainPanel& interface, AppController& controller,
                       VTSoftwareUpdate& softwareUpdate)
    : panel_(panel), interface_(interface), controller_(controller),
      hideMenu_(interface.hideMenu, ActionMenu::Items::Checkable,
                [this](outlet::MenuItem& item) { controller_.hideGroup(item); }),
      sortMenu_(interface.viewMenu, ActionMenu::Items::Checkable,
                [this](outlet::MenuItem& item) { controller_.changeSortMode(item); }),
      userManualMenu_(interface.userManualMenu, ActionMenu::Items::Plain,
                      [this](outlet::MenuItem& item) { controller_.showUserManual(item); }) {
    auto connectAction = [this](QAction* action, auto&& perform) {
        QObject::connect(action, &QAction::triggered, &panel_, perform);
    };
    connectAction(interface.aboutLauncher, [this] { showAboutLauncher(); });
    connectAction(interface.checkForUpdates, [&softwareUpdate] { softwareUpdate.manualUpdateCheck(); });
    connectAction(interface.keyboardShortcuts, [this] { showShortcuts(); });
    bindToDefault(interface.quitAfterLaunching, "quitAfterLaunching");
    bindToDefault(interface.unhideOnLaunchedAppExit, "unhideOnLaunchedAppExit");
    connectAction(interface.quit, [] { platform::current().application->terminate(); });

    sortMenu_.adopt(interface.sortByName, AppController::kSortByName);
    sortMenu_.adopt(interface.sortByGroup, AppController::kSortByGroup);
    bindToDefault(interface.showGroupName, "showGroupName");
    connectAction(interface.showGroupName, [this] { controller_.reloadDataAction(); });
    interface.reload->setShortcuts({QKeySequence(Qt::Key_F5), QKeySequence(Qt::CTRL | Qt::Key_R)});
    connectAction(interface.reload, [this] { controller_.startRebuild(); });
    connectAction(interface.revealInFinder, [this] { controller_.revealInFinder(); });

    connectAction(interface.helpUserManual, [this] { controller_.helpUserManual(); });
    connectAction(interface.helpOstendelHome, [this] { controller_.helpOstendelHome(); });
    connectAction(interface.helpReportBug, [this] { controller_.helpReportBug(); });
    connectAction(interface.helpSuggestFeature, [this] { controller_.helpSuggestFeature(); });
    connectAction(interface.helpVTHome, [this] { controller_.helpVTHome(); });

    // In this menu alone, so that its shortcut is shown and works nowhere: Return is the table's own.
    connectAction(interface.launch, [this] { controller_.launchApp(); });
    toolMenu_.addActions({interface.launch, interface.revealInFinder});
    setToolIsSelected(false);
}

void PanelMenus::setToolIsSelected(bool isSelected) {
    interface_.launch->setEnabled(isSelected);
    interface_.revealInFinder->setEnabled(isSelected);
}

void PanelMenus::bindToDefault(QAction* action, const char* key) {
    action->setChecked(platform::current().userDefaults->integerForKey(key) == 1);
    QObject::connect(action, &QAction::triggered, &panel_, [key](bool checked) {
        platform::current().userDefaults->setObject(checked ? 1 : 0, key);
    });
}

// Made when it is asked for the first time: the panel appears sooner.
void PanelMenus::showShortcuts() {
    if (!shortcuts_) {
        shortcuts_ = new ShortcutWindow(&panel_);
    }
    shortcuts_->present();
}

void PanelMenus::showAboutLauncher() {
    auto* about = new DarkAlert(QStringLiteral("Launcher"),
                                QApplication::translate("MainPanel", "Version %1\n%2")
                                    .arg(QApplication::applicationVersion(), interface_.suiteLine->text()),
                                &panel_);
    about->setWindowTitle(QApplication::translate("MainPanel", "About Launcher"));
    about->setAttribute(Qt::WA_DeleteOnClose);
    about->open();
}
