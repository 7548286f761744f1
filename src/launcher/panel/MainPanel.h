#pragma once

#include "ActionMenu.h"
#include "AppController.h"

#include <QMainWindow>
#include <memory>

class CatalogueModel;
class EmptyState;
class QLabel;
class QStackedWidget;
class Spinner;
class VTAlternateBlackTableView;

// The main panel: menus, header, the table of tools and a footer. It shows what the controller has and
// passes on what the user does. Main thread.
class MainPanel : public QMainWindow {
    Q_OBJECT

public:
    explicit MainPanel(std::shared_ptr<AppController> controller);
    ~MainPanel() override;
    MainPanel(const MainPanel&) = delete;
    MainPanel& operator=(const MainPanel&) = delete;

    // What the controller works with; valid as long as the panel.
    Outlets outlets();

protected:
    void closeEvent(QCloseEvent* event) override;
    void changeEvent(QEvent* event) override;

private:
    class TableOutlet;
    class SpinnerOutlet;

    void makeMenus();
    QWidget* makeHeader();
    QWidget* makeCatalogue();
    QWidget* makeFooter();
    void reloadData();
    void showCatalogueState();
    void restoreSize();
    void layOutColumns();

    std::shared_ptr<AppController> controller_;
    CatalogueModel* model_;
    VTAlternateBlackTableView* table_;
    QStackedWidget* catalogue_; // the table, or the empty state
    EmptyState* emptyState_;
    QLabel* count_;
    Spinner* spinner_;
    QMenu* hideGroups_;
    QAction* reveal_;
    std::unique_ptr<ActionMenu> sortMenu_;
    std::unique_ptr<ActionMenu> hideMenu_;
    std::unique_ptr<TableOutlet> tableOutlet_;
    std::unique_ptr<SpinnerOutlet> spinnerOutlet_;
};
