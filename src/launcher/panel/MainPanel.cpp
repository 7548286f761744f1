#include "MainPanel.h"

#include "AppController.h"
#include "CatalogueModel.h"
#include "CellOutlet.h"
#include "DarkPalette.h"
#include "IconDelegate.h"
#include "InterfaceFont.h"
#include "PanelMenus.h"
#include "PanelSize.h"
#include "PlainLabel.h"
#include "Platform.h"
#include "TextCellDelegate.h"
#include "VTBlackScroller.h"
#include "VTLocalPaths.h"
#include "ui_MainPanel.h"

#include <QApplication>
#include <QCloseEvent>

namespace {

// In points, gaps included.
constexpr double kIconColumnWidth = 76;
constexpr double kTitleColumnWidth = 226;
constexpr QSizeF kIntercellSpacing(10, 5);

constexpr double kSuiteNameSize = 18;

QString applicationsFolder() {
    return QString::fromStdString(VTLocalPaths::applicationDirectory(false).value_or(""));
}

int scaled(double points) {
    return qRound(InterfaceFont::pixels(points));
}

} // namespace

class MainPanel::TableOutlet : public outlet::TableView {
public:
    explicit TableOutlet(MainPanel& panel) : panel_(panel) {}

    void reloadData() override { panel_.reloadData(); }
    std::optional<std::size_t> selectedRow() const override {
        int row = panel_.ui_->table->selectedRow();
        return row < 0 ? std::nullopt : std::optional(static_cast<std::size_t>(row));
    }

private:
    MainPanel& panel_;
};

// Turns for as long as any rebuild is under way.
class MainPanel::SpinnerOutlet : public outlet::Spinner {
public:
    explicit SpinnerOutlet(::Spinner& spinner) : spinner_(spinner) {}

    void startAnimation() override {
        ++running_;
        spinner_.start();
    }
    void stopAnimation() override {
        if (--running_ == 0) {
            spinner_.stop();
        }
    }

private:
    ::Spinner& spinner_;
    int running_ = 0;
};

MainPanel::MainPanel(std::shared_ptr<AppController> controller)
    : controller_(std::move(controller)), ui_(std::make_unique<Ui::MainPanel>()),
      model_(new CatalogueModel(controller_, this)), window_(*this), windowController_(window_),
      progressPanel_([this] { controller_->cancelPurgel(); }), listAtStart_(controller_->dataArray()) {
    ui_->setupUi(this);
    menus_ = std::make_unique<PanelMenus>(*this, *ui_, *controller_, softwareUpdate_);
    styleLabels();
    setUpTable();
    tableOutlet_ = std::make_unique<TableOutlet>(*this);
    spinnerOutlet_ = std::make_unique<SpinnerOutlet>(*ui_->spinner);
    restorePanelSize(*this);
    layOutColumns();
    connect(ui_->purgelButton, &QAbstractButton::clicked, this, [this] { controller_->runPurgel(); });
    ui_->table->setFocus();
    windowController_.awakeFromNib();
    connect(qApp, &QCoreApplication::aboutToQuit, this, &MainPanel::storeSize);
}

MainPanel::~MainPanel() = default;

Outlets MainPanel::outlets() {
    return {.mainWindow = &window_,
            .windowController = &windowController_,
            .tableView = tableOutlet_.get(),
            .spinner = spinnerOutlet_.get(),
            .progressPanel = &progressPanel_,
            .progressBar = &progressPanel_,
            .hideMenu = &menus_->hideMenu(),
            .sortMenu = &menus_->sortMenu(),
            .userManualMenu = &menus_->userManualMenu()};
}

void MainPanel::styleLabels() {
    const auto secondary = InterfaceFont::regular(InterfaceFont::kSecondarySize);
    stylePlainLabel(*ui_->suiteName, InterfaceFont::bold(kSuiteNameSize), DarkPalette::titleColor());
    for (auto* label : std::initializer_list<QLabel*>{ui_->suiteLine, ui_->toolCount, ui_->folder}) {
        stylePlainLabel(*label, secondary, DarkPalette::secondaryTextColor());
    }
    ui_->folder->setText(applicationsFolder());
}

void MainPanel::setUpTable() {
    auto* table = ui_->table;
    auto* icons = new IconCache(controller_->threads(), this);
    table->setModel(model_);
    table->setItemDelegate(
        new TextCellDelegate(table, [this](VTCenteredTextCell& cell, const QModelIndex& index) {
            if (index.column() == CatalogueModel::Title) {
                cell.setTextColor(DarkPalette::titleColor());
            }
            CellOutlet outlet(cell);
            controller_->willDisplayCell(outlet, CatalogueModel::identifier(index.column()),
                                         static_cast<std::size_t>(index.row()));
        }));
    table->setItemDelegateForColumn(CatalogueModel::Icon, new IconDelegate(table, *icons));
    table->setVerticalScrollBar(new VTBlackScroller);
    table->setIntercellSpacing(kIntercellSpacing);
    table->setGridColor(QColor::fromRgbF(0.8F, 0.8F, 0.8F, 0.4F));
    table->setSearchColumn(CatalogueModel::Title);

    connect(icons, &IconCache::loaded, table->viewport(), qOverload<>(&QWidget::update));
    connect(table, &QAbstractItemView::doubleClicked, this, [this] { controller_->launchApp(); });
    connect(table, &VTAlternateBlackTableView::enterPressed, this,
            [] { platform::current().notificationCenter->post({.name = "VTEnterPressed", .userInfo = {}}); });
    connect(table, &QWidget::customContextMenuRequested, this, [this](const QPoint& position) {
        menus_->popUpToolMenu(ui_->table->viewport()->mapToGlobal(position));
    });
    auto tellMenus = [this] { menus_->setToolIsSelected(ui_->table->selectedRow() >= 0); };
    connect(table->selectionModel(), &QItemSelectionModel::selectionChanged, this, tellMenus);
    connect(model_, &QAbstractItemModel::modelReset, this, tellMenus);
}

void MainPanel::reloadData() {
    auto& table = *ui_->table;
    // The selection stays with its tool and the list where it was scrolled to.
    auto selected = model_->app(table.selectedRow());
    int scrolledTo = table.verticalScrollBar()->value();
    model_->reload();
    table.doItemsLayout(); // at once: the scroll bar's range has to be the new one
    table.verticalScrollBar()->setValue(scrolledTo);
    if (int row = selected ? model_->rowOfPath(selected->appPath().value_or("")) : -1; row >= 0) {
        table.selectionModel()->setCurrentIndex(model_->index(row, CatalogueModel::Title),
                                                QItemSelectionModel::ClearAndSelect |
                                                    QItemSelectionModel::Rows);
    }
    if (controller_->dataArray() != listAtStart_) {
        showCatalogueState();
    }
}

void MainPanel::showCatalogueState() {
    const auto tools = static_cast<int>(controller_->numberOfRows());
    const int hidden = menus_->hideMenu().numberOfCheckedItems();

    auto text = tools == 1 ? tr("1 tool") : tr("%1 tools").arg(tools);
    if (hidden > 0) {
        text +=
            QStringLiteral(" · ") + (hidden == 1 ? tr("1 group hidden") : tr("%1 groups hidden").arg(hidden));
    }
    ui_->toolCount->setText(text);

    if (controller_->numberOfHiddenTools() > 0) {
        ui_->emptyState->setTexts(tr("All tools are hidden"),
                                  tr("Choose View › Hide Groups to show them again."));
    } else {
        ui_->emptyState->setTexts(tr("No tools found"), tr("in %1").arg(applicationsFolder()));
    }
    ui_->catalogue->setCurrentWidget(tools == 0 ? static_cast<QWidget*>(ui_->emptyState) : ui_->table);
}

void MainPanel::closeEvent(QCloseEvent* event) {
    if (!window_.isClosing() && !windowController_.windowShouldClose()) {
        event->ignore();
        return;
    }
    storeSize();
    QMainWindow::closeEvent(event);
}

// Once: what is asked after the panel has closed is not the size it had.
void MainPanel::storeSize() {
    if (!std::exchange(sizeIsStored_, true)) {
        storePanelSize(*this);
    }
}

void MainPanel::changeEvent(QEvent* event) {
    QMainWindow::changeEvent(event);
    if (event->type() == QEvent::FontChange) {
        layOutColumns();
    } else if (event->type() == QEvent::ActivationChange && isActiveWindow()) {
        windowController_.windowDidBecomeKey();
    }
}

void MainPanel::layOutColumns() {
    ui_->table->setColumnWidth(CatalogueModel::Icon, scaled(kIconColumnWidth));
    ui_->table->setColumnWidth(CatalogueModel::Title, scaled(kTitleColumnWidth));
}
