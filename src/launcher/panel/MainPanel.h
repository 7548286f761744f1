#pragma once

#include "PanelWindow.h"
#include "ProgressPanel.h"
#include "VTSoftwareUpdate.h"
#include "VTWindowController.h"

#include <QMainWindow>
#include <memory>

namespace Ui { // NOLINT(readability-identifier-naming): as Qt names it
class MainPanel;
}
class AppController;
class CatalogueModel;
class PanelMenus;

// The main panel: menus, header, the table of tools and a footer, laid out by its interface file. It shows
// what the controller has and passes on what the user does. Main thread.
class MainPanel : public QMainWindow {
    Q_OBJECT

public:
    // Not shown yet: that is the controller's to do.
    explicit MainPanel(std::shared_ptr<AppController> controller);
    ~MainPanel() override;
    MainPanel(const MainPanel&) = delete;
    MainPanel& operator=(const MainPanel&) = delete;

    // What the controller works with; valid as long as the panel.
    Outlets outlets();

    // To be told once the panel is loaded.
    VTSoftwareUpdate& softwareUpdate() { return softwareUpdate_; }

protected:
    void closeEvent(QCloseEvent* event) override;
    void changeEvent(QEvent* event) override;

private:
    class TableOutlet;
    class SpinnerOutlet;

    void styleLabels();
    void setUpTable();
    void reloadData();
    void showCatalogueState();
    void storeSize();
    void layOutColumns();

    std::shared_ptr<AppController> controller_;
    std::unique_ptr<Ui::MainPanel> ui_;
    VTSoftwareUpdate softwareUpdate_;
    std::unique_ptr<PanelMenus> menus_;
    CatalogueModel* model_;
    std::unique_ptr<TableOutlet> tableOutlet_;
    std::unique_ptr<SpinnerOutlet> spinnerOutlet_;
    PanelWindow window_;
    VTWindowController windowController_;
    ProgressPanel progressPanel_;
    std::shared_ptr<const void> listAtStart_; // the controller's, until the first rebuild has ended
    bool sizeIsStored_ = false;
};
