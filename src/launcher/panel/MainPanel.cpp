#include "MainPanel.h"

#include "CatalogueModel.h"
#include "CellOutlet.h"
#include "DarkPalette.h"
#include "ElidedLabel.h"
#include "EmptyState.h"
#include "GradientBackground.h"
#include "IconDelegate.h"
#include "InterfaceFont.h"
#include "PanelLabel.h"
#include "Platform.h"
#include "Spinner.h"
#include "TextCellDelegate.h"
#include "VTAlternateBlackTableView.h"
#include "VTLocalPaths.h"

#include <QApplication>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QMenuBar>
#include <QScrollBar>
#include <QStackedWidget>
#include <algorithm>

namespace {

constexpr int kMargin = 18;
constexpr int kFooterHeight = 32;
constexpr QSize kFirstSize(780, 560);
constexpr QSize kSmallestSize(520, 320);
constexpr std::int64_t kMostPixels = 16'384;    // of a side; whoever stored more was mistaken
constexpr const char* kPanelSize = "panelSize"; // width and height

// In points, gaps included.
constexpr double kIconColumnWidth = 76;
constexpr double kTitleColumnWidth = 226;
constexpr QSizeF kIntercellSpacing(10, 5);

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
        int row = panel_.table_->selectedRow();
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

MainPanel::MainPanel(std::shared_ptr<AppController> controller) : controller_(std::move(controller)) {
    setWindowTitle(QStringLiteral("Launcher"));
    makeMenus();

    auto* content = new GradientBackground(GradientBackground::Surface::Window);
    auto* layout = new QVBoxLayout(content);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    layout->addWidget(makeHeader());
    layout->addWidget(makeCatalogue(), 1);
    layout->addWidget(makeFooter());
    setCentralWidget(content);

    tableOutlet_ = std::make_unique<TableOutlet>(*this);
    spinnerOutlet_ = std::make_unique<SpinnerOutlet>(*spinner_);
    setMinimumSize(kSmallestSize);
    restoreSize();
    layOutColumns();
    table_->setFocus();
}

MainPanel::~MainPanel() = default;

Outlets MainPanel::outlets() {
    return {.tableView = tableOutlet_.get(),
            .spinner = spinnerOutlet_.get(),
            .hideMenu = hideMenu_.get(),
            .sortMenu = sortMenu_.get()};
}

void MainPanel::makeMenus() {
    auto* launcher = menuBar()->addMenu(tr("&Launcher"));
    launcher->addAction(tr("&Reload Tools"), QKeySequence(Qt::Key_F5), this,
                        [this] { controller_->startRebuild(); });
    reveal_ =
        launcher->addAction(tr("Re&veal in File Browser"), QKeySequence(Qt::CTRL | Qt::SHIFT | Qt::Key_R),
                            this, [this] { controller_->revealInFinder(); });
    reveal_->setEnabled(false);
    launcher->addSeparator();
    launcher->addAction(tr("&Quit"), QKeySequence(Qt::CTRL | Qt::Key_Q), this, &QWidget::close);

    auto* view = menuBar()->addMenu(tr("&View"));
    sortMenu_ = std::make_unique<ActionMenu>(
        view, [this](outlet::MenuItem& item) { controller_->changeSortMode(item); });
    sortMenu_->addAction(tr("Sort by Name").toStdString(), AppController::kSortByName,
                         QKeySequence(Qt::CTRL | Qt::Key_1));
    sortMenu_->addAction(tr("Sort by Group").toStdString(), AppController::kSortByGroup,
                         QKeySequence(Qt::CTRL | Qt::Key_2));
    view->addSeparator();
    hideGroups_ = view->addMenu(tr("&Hide Groups"));
    hideGroups_->setEnabled(false); // until a scan has found some
    hideMenu_ = std::make_unique<ActionMenu>(
        hideGroups_, [this](outlet::MenuItem& item) { controller_->hideGroup(item); });

    auto* showGroupNames = view->addAction(tr("Show &Group Names"), QKeySequence(Qt::CTRL | Qt::Key_G));
    showGroupNames->setCheckable(true);
    showGroupNames->setChecked(platform::current().userDefaults->integerForKey("showGroupName") == 1);
    connect(showGroupNames, &QAction::triggered, this, [this](bool checked) {
        platform::current().userDefaults->setObject(checked ? 1 : 0, "showGroupName");
        controller_->reloadDataAction();
    });
}

QWidget* MainPanel::makeHeader() {
    auto* header = new GradientBackground(GradientBackground::Surface::Clear);
    header->setSeparators(Qt::BottomEdge);
    auto* layout = new QVBoxLayout(header);
    layout->setContentsMargins(kMargin, 12, kMargin, 12);
    layout->setSpacing(2);
    layout->addWidget(
        panelLabel(InterfaceFont::bold(18), DarkPalette::titleColor(), QStringLiteral("Kelvandor")));
    layout->addWidget(panelLabel(InterfaceFont::regular(InterfaceFont::kSecondarySize),
                                 DarkPalette::secondaryTextColor(), tr("Tools for editing workstations")));
    return header;
}

QWidget* MainPanel::makeCatalogue() {
    model_ = new CatalogueModel(controller_, this);
    auto* icons = new IconCache(controller_->threads(), this);
    table_ = new VTAlternateBlackTableView;
    table_->setModel(model_);
    table_->setItemDelegate(
        new TextCellDelegate(table_, [this](VTCenteredTextCell& cell, const QModelIndex& index) {
            if (index.column() == CatalogueModel::Title) {
                cell.setTextColor(DarkPalette::titleColor());
            }
            CellOutlet outlet(cell);
            controller_->willDisplayCell(outlet, CatalogueModel::identifier(index.column()),
                                         static_cast<std::size_t>(index.row()));
        }));
    table_->setItemDelegateForColumn(CatalogueModel::Icon, new IconDelegate(table_, *icons));
    table_->setIntercellSpacing(kIntercellSpacing);
    table_->setGridColor(QColor::fromRgbF(0.8F, 0.8F, 0.8F, 0.4F));
    table_->setSearchColumn(CatalogueModel::Title);
    table_->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    table_->horizontalHeader()->setStretchLastSection(true);
    table_->setAccessibleName(tr("Tools"));
    table_->setContextMenuPolicy(Qt::ActionsContextMenu);
    table_->addAction(reveal_);

    connect(icons, &IconCache::loaded, table_->viewport(), qOverload<>(&QWidget::update));
    connect(table_, &VTAlternateBlackTableView::enterPressed, this,
            [] { platform::current().notificationCenter->post({.name = "VTEnterPressed", .userInfo = {}}); });
    auto enableReveal = [this] { reveal_->setEnabled(table_->selectedRow() >= 0); };
    connect(table_->selectionModel(), &QItemSelectionModel::selectionChanged, this, enableReveal);
    connect(model_, &QAbstractItemModel::modelReset, this, enableReveal);

    emptyState_ = new EmptyState;
    catalogue_ = new QStackedWidget;
    catalogue_->addWidget(table_);
    catalogue_->addWidget(emptyState_);

    auto* well = new GradientBackground(GradientBackground::Surface::Well);
    auto* layout = new QVBoxLayout(well);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(catalogue_);
    return well;
}

QWidget* MainPanel::makeFooter() {
    const auto font = InterfaceFont::regular(InterfaceFont::kSecondarySize);
    count_ = panelLabel(font, DarkPalette::secondaryTextColor());
    count_->setObjectName(QStringLiteral("toolCount"));
    spinner_ = new ::Spinner;

    auto* folder = new ElidedLabel(applicationsFolder());
    folder->setFont(font);
    folder->setPalette(count_->palette());
    folder->setAlignment(Qt::AlignRight | Qt::AlignVCenter);

    auto* footer = new GradientBackground(GradientBackground::Surface::Clear);
    footer->setSeparators(Qt::TopEdge);
    footer->setMinimumHeight(kFooterHeight);
    auto* layout = new QHBoxLayout(footer);
    layout->setContentsMargins(kMargin, 4, kMargin, 4);
    layout->setSpacing(8);
    layout->addWidget(count_);
    layout->addWidget(spinner_);
    layout->addWidget(folder, 1);
    return footer;
}

void MainPanel::reloadData() {
    // The selection stays with its tool and the list where it was scrolled to.
    auto selected = model_->app(table_->selectedRow());
    int scrolledTo = table_->verticalScrollBar()->value();
    model_->reload();
    table_->doItemsLayout(); // at once: the scroll bar's range has to be the new one
    table_->verticalScrollBar()->setValue(scrolledTo);
    if (int row = selected ? model_->rowOfPath(selected->appPath().value_or("")) : -1; row >= 0) {
        table_->selectionModel()->setCurrentIndex(model_->index(row, CatalogueModel::Title),
                                                  QItemSelectionModel::ClearAndSelect |
                                                      QItemSelectionModel::Rows);
    }
    showCatalogueState();
}

void MainPanel::showCatalogueState() {
    const auto tools = static_cast<int>(controller_->numberOfRows());
    const int hidden = hideMenu_->numberOfCheckedItems();
    hideGroups_->setEnabled(hideMenu_->numberOfItems() > 0);

    auto text = tools == 1 ? tr("1 tool") : tr("%1 tools").arg(tools);
    if (hidden > 0) {
        text +=
            QStringLiteral(" · ") + (hidden == 1 ? tr("1 group hidden") : tr("%1 groups hidden").arg(hidden));
    }
    count_->setText(text);

    if (controller_->numberOfHiddenTools() > 0) {
        emptyState_->setTexts(tr("All tools are hidden"),
                              tr("Choose View › Hide Groups to show them again."));
    } else {
        emptyState_->setTexts(tr("No tools found"), tr("in %1").arg(applicationsFolder()));
    }
    catalogue_->setCurrentIndex(tools == 0 ? 1 : 0);
}

void MainPanel::restoreSize() {
    resize(kFirstSize);
    auto stored = platform::current().userDefaults->objectForKey(kPanelSize);
    const auto* sides = stored ? stored->array() : nullptr;
    if (!sides || sides->size() != 2 || !sides->front().integer() || !sides->back().integer()) {
        return;
    }
    auto side = [](const platform::PropertyList& value) {
        return static_cast<int>(std::clamp<std::int64_t>(*value.integer(), 0, kMostPixels));
    };
    const QSize storedSize(side(sides->front()), side(sides->back()));
    // It may have been stored on a larger screen.
    resize(storedSize.boundedTo(screen()->availableGeometry().size()).expandedTo(kSmallestSize));
}

void MainPanel::closeEvent(QCloseEvent* event) {
    // Maximised is the window manager's affair; the size it returns to is the user's.
    const QSize size = isMaximized() || isFullScreen() ? normalGeometry().size() : this->size();
    const platform::PropertyList sides = platform::PropertyList::Array{size.width(), size.height()};
    auto& defaults = *platform::current().userDefaults;
    if (defaults.objectForKey(kPanelSize) != sides) {
        defaults.setObject(sides, kPanelSize);
    }
    QMainWindow::closeEvent(event);
}

void MainPanel::changeEvent(QEvent* event) {
    QMainWindow::changeEvent(event);
    if (event->type() == QEvent::FontChange) {
        layOutColumns();
    }
}

void MainPanel::layOutColumns() {
    table_->setColumnWidth(CatalogueModel::Icon, scaled(kIconColumnWidth));
    table_->setColumnWidth(CatalogueModel::Title, scaled(kTitleColumnWidth));
}
