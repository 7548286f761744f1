#include "MainPanel.h"

#include "CatalogueModel.h"
#include "ElidedLabel.h"
#include "QtMainThread.h"
#include "Spinner.h"
#include "TestSandbox.h"
#include "VTAlternateBlackTableView.h"

#include "ToolTree.h"

#include <QAbstractItemModelTester>
#include <QApplication>
#include <QLabel>
#include <QMenuBar>
#include <QScreen>
#include <QScrollBar>
#include <QTest>
#include <filesystem>
#include <gmock/gmock.h>

using namespace tooltree;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

constexpr int kLimit = 30'000; // ms

class MainPanelTest : public testing::Test {
protected:
    MainPanelTest() {
        auto services = platform::current();
        mainThread = std::make_shared<platform::QtMainThread>();
        services.mainThread = mainThread;
        platform::install(services);
    }
    ~MainPanelTest() override {
        mainThread->close();
        EXPECT_TRUE(controller->threads().finish(std::chrono::minutes(1)));
    }

    // Opens the panel and waits until it shows the catalogue.
    void open() {
        panel = std::make_unique<MainPanel>(controller);
        tester = std::make_unique<QAbstractItemModelTester>(table().model());
        controller->awakeFromNib(panel->outlets());
        panel->show();
        ASSERT_TRUE(QTest::qWaitFor([this] { return !count().isEmpty(); }, kLimit));
    }
    void waitForCount(const QString& text) {
        EXPECT_TRUE(QTest::qWaitFor([&] { return count() == text; }, kLimit)) << qPrintable(count());
    }

    VTAlternateBlackTableView& table() { return *panel->findChild<VTAlternateBlackTableView*>(); }
    QString count() { return panel->findChild<QLabel*>(QStringLiteral("toolCount"))->text(); }
    std::vector<std::string> column(int column, int role = Qt::DisplayRole) {
        std::vector<std::string> texts;
        const auto* model = table().model();
        for (int row = 0; row < model->rowCount(); ++row) {
            texts.push_back(model->index(row, column).data(role).toString().toStdString());
        }
        return texts;
    }
    std::vector<std::string> visibleLabels() {
        std::vector<std::string> texts;
        for (const auto* label : panel->findChildren<QLabel*>()) {
            if (label->isVisibleTo(panel.get()) && !label->text().isEmpty()) {
                EXPECT_EQ(label->textFormat(), Qt::PlainText) << qPrintable(label->text());
                texts.push_back(label->text().toStdString());
            }
        }
        return texts;
    }
    QAction* action(const QString& text) {
        for (auto* action : panel->findChildren<QAction*>()) {
            if (action->text().remove(u'&') == text) {
                return action;
            }
        }
        return nullptr;
    }

    std::shared_ptr<platform::QtMainThread> mainThread;
    std::shared_ptr<AppController> controller = AppController::init();
    std::unique_ptr<MainPanel> panel;
    std::unique_ptr<QAbstractItemModelTester> tester;
};

} // namespace

TEST_F(MainPanelTest, ShowsTheCatalogue) {
    addTool("1.app", "Purgel", "Kelvandor", "Repairs.");
    addTool("2.app", "Bevelet", "Pelliden", "Measures.");
    open();
    EXPECT_EQ(count(), "2 tools");
    EXPECT_THAT(column(CatalogueModel::Title), ElementsAre("Bevelet", "Purgel"));
    EXPECT_THAT(column(CatalogueModel::Description), ElementsAre("Measures.", "Repairs."));
    EXPECT_THAT(visibleLabels(), testing::Contains(applications()));
    EXPECT_TRUE(table().isVisible());
}

TEST_F(MainPanelTest, CountsOneToolAndHiddenGroups) {
    addTool("1.app", "Purgel", "Kelvandor");
    addTool("2.app", "Bevelet", "Pelliden");
    addTool("3.app", "Snathel", "Ostendel");
    open();
    action("Kelvandor")->trigger();
    waitForCount(QStringLiteral("2 tools · 1 group hidden"));
    action("Pelliden")->trigger();
    waitForCount(QStringLiteral("1 tool · 2 groups hidden"));
}

TEST_F(MainPanelTest, AnEmptyCatalogueSaysWhereItLooked) {
    open();
    EXPECT_EQ(count(), "0 tools");
    EXPECT_FALSE(table().isVisible());
    EXPECT_THAT(visibleLabels(),
                testing::IsSupersetOf({std::string("No tools found"), "in " + applications()}));
}

TEST_F(MainPanelTest, AHiddenCatalogueSaysSo) {
    addTool("1.app", "Purgel", "Kelvandor");
    open();
    action("Kelvandor")->trigger();
    waitForCount(QStringLiteral("0 tools · 1 group hidden"));
    EXPECT_THAT(visibleLabels(), testing::Contains("All tools are hidden"));
    action("Kelvandor")->trigger();
    waitForCount(QStringLiteral("1 tool"));
    EXPECT_TRUE(table().isVisible());
}

TEST_F(MainPanelTest, ToolsThatAreGoneAreNotHidden) {
    addTool("1.app", "Purgel", "Kelvandor");
    open();
    action("Kelvandor")->trigger();
    waitForCount(QStringLiteral("0 tools · 1 group hidden"));
    std::filesystem::remove_all(applications() + "/1.app");
    action("Reload Tools")->trigger();
    EXPECT_TRUE(QTest::qWaitFor(
        [this] { return testing::Matches(testing::Contains("No tools found"))(visibleLabels()); }, kLimit));
}

TEST_F(MainPanelTest, TheSpinnerTurnsUntilTheLastRebuildHasEnded) {
    open();
    auto* spinner = panel->findChild<Spinner*>();
    ASSERT_TRUE(QTest::qWaitFor([&] { return !spinner->isSpinning(); }, kLimit));
    auto& outlet = *panel->outlets().spinner;
    outlet.startAnimation();
    outlet.startAnimation();
    EXPECT_TRUE(spinner->isSpinning());
    outlet.stopAnimation();
    EXPECT_TRUE(spinner->isSpinning());
    outlet.stopAnimation();
    EXPECT_FALSE(spinner->isSpinning());
}

TEST_F(MainPanelTest, ReloadingKeepsThePlaceScrolledTo) {
    for (int i = 100; i < 140; ++i) {
        addTool(std::to_string(i) + ".app", "Tool " + std::to_string(i), "Kelvandor");
    }
    open();
    auto* bar = table().verticalScrollBar();
    ASSERT_TRUE(QTest::qWaitFor([bar] { return bar->maximum() > 500; }, kLimit));
    bar->setValue(500);
    action("Show Group Names")->trigger();
    EXPECT_EQ(table().verticalScrollBar()->value(), 500);
}

// What the controller says of a cell is what is drawn.
TEST_F(MainPanelTest, DrawsIconsTitlesAndSubtitles) {
    addTool("1.app", "Tallowby", "Kelvandor");
    open();
    table().clearFocus();
    auto cellPicture = [this](int column) {
        panel->repaint();
        const auto rectangle = table().visualRect(table().model()->index(0, column));
        return table().viewport()->grab(rectangle).toImage();
    };
    EXPECT_TRUE(QTest::qWaitFor(
        [&] {
            auto icon = cellPicture(CatalogueModel::Icon);
            return icon.pixel(icon.width() / 2, icon.height() / 2) == 0xFF336699; // the fake's colour
        },
        kLimit));
    auto without = cellPicture(CatalogueModel::Title);
    action("Show Group Names")->trigger();
    EXPECT_NE(cellPicture(CatalogueModel::Title), without);
    action("Show Group Names")->trigger();
    EXPECT_EQ(cellPicture(CatalogueModel::Title), without);
}

TEST_F(MainPanelTest, TheHideMenuIsThereOnceThereAreGroups) {
    open();
    EXPECT_FALSE(action("Hide Groups")->isEnabled());
    addTool("1.app", "Purgel", "Kelvandor");
    action("Reload Tools")->trigger();
    waitForCount(QStringLiteral("1 tool"));
    EXPECT_TRUE(action("Hide Groups")->isEnabled());
}

TEST_F(MainPanelTest, CellsHaveNamesForThoseWhoCannotSee) {
    addTool("1.app", "Tallowby", "Kelvandor", "New.");
    addTool("2.app", "Tallowby", "Ostendel", "Old.");
    addTool("3.app", "Bevelet", "Pelliden", "Measures.");
    open();
    EXPECT_EQ(table().accessibleName(), "Tools");
    EXPECT_THAT(column(CatalogueModel::Title, Qt::AccessibleTextRole),
                ElementsAre("Bevelet", "Tallowby, Kelvandor", "Tallowby, Ostendel"));
    EXPECT_THAT(column(CatalogueModel::Icon, Qt::AccessibleTextRole),
                ElementsAre("Icon of Bevelet", "Icon of Tallowby", "Icon of Tallowby"));
    EXPECT_THAT(column(CatalogueModel::Description, Qt::AccessibleTextRole),
                ElementsAre("Measures.", "New.", "Old."));
    const auto* model = table().model();
    EXPECT_EQ(model->headerData(CatalogueModel::Title, Qt::Horizontal), "Title");
    EXPECT_EQ(model->headerData(CatalogueModel::Description, Qt::Horizontal), "Description");
    EXPECT_EQ(model->headerData(CatalogueModel::Icon, Qt::Horizontal), "Icon");
}

TEST_F(MainPanelTest, ShowGroupNamesIsStoredAndShownAtOnce) {
    addTool("1.app", "Bevelet", "Pelliden");
    open();
    action("Show Group Names")->trigger();
    EXPECT_EQ(sandbox::defaults().integerForKey("showGroupName"), 1);
    EXPECT_THAT(column(CatalogueModel::Title, Qt::AccessibleTextRole), ElementsAre("Bevelet, Pelliden"));
    action("Show Group Names")->trigger();
    EXPECT_EQ(sandbox::defaults().integerForKey("showGroupName"), 0);
    EXPECT_THAT(column(CatalogueModel::Title, Qt::AccessibleTextRole), ElementsAre("Bevelet"));
}

TEST_F(MainPanelTest, TheSelectionStaysWithItsTool) {
    addTool("1.app", "A", "Kelvandor");
    addTool("2.app", "B", "Ostendel");
    addTool("3.app", "C", "Ostendel");
    open();
    table().selectRow(1);
    action("Kelvandor")->trigger();
    waitForCount(QStringLiteral("2 tools · 1 group hidden"));
    EXPECT_EQ(table().selectedRow(), 0);
    action("Ostendel")->trigger();
    waitForCount(QStringLiteral("0 tools · 2 groups hidden"));
    EXPECT_EQ(table().selectedRow(), -1);
    EXPECT_FALSE(action("Reveal in File Browser")->isEnabled());
}

TEST_F(MainPanelTest, RevealNeedsASelection) {
    addTool("folder/1.app", "A");
    open();
    EXPECT_FALSE(action("Reveal in File Browser")->isEnabled());
    table().selectRow(0);
    action("Reveal in File Browser")->trigger();
    EXPECT_THAT(sandbox::workspace().revealed(),
                ElementsAre(testing::Pair(applications() + "/folder/1.app", applications() + "/folder")));
}

TEST_F(MainPanelTest, EnterIsAnEventInsideTheProcess) {
    addTool("1.app", "A");
    open();
    int posted = 0;
    auto observation = platform::current().notificationCenter->addObserver(
        "VTEnterPressed", [&posted](const platform::Notification& notification) {
            EXPECT_EQ(notification.object, nullptr);
            EXPECT_TRUE(notification.userInfo.empty());
            ++posted;
        });
    QTest::keyClick(&table(), Qt::Key_Return);
    QTest::keyClick(&table(), Qt::Key_Enter, Qt::KeypadModifier);
    QTest::keyClick(&table(), Qt::Key_Space);
    EXPECT_EQ(posted, 2);
}

TEST_F(MainPanelTest, RemembersItsSize) {
    open();
    panel->resize(700, 500);
    panel->close();
    MainPanel again(controller);
    EXPECT_EQ(again.size(), QSize(700, 500));
}

TEST_F(MainPanelTest, IgnoresASizeThatIsNone) {
    open();
    const QSize first = panel->size();
    for (const auto& value :
         {platform::PropertyList("large"), platform::PropertyList(platform::PropertyList::Array{1}),
          platform::PropertyList(platform::PropertyList::Array{"a", "b"})}) {
        sandbox::defaults().setObject(value, "panelSize");
        EXPECT_EQ(MainPanel(controller).size(), first);
    }
    sandbox::defaults().setObject(platform::PropertyList::Array{9000, 9000}, "panelSize");
    EXPECT_EQ(MainPanel(controller).size(), panel->screen()->availableGeometry().size());
    sandbox::defaults().setObject(platform::PropertyList::Array{-5, 1}, "panelSize");
    EXPECT_EQ(MainPanel(controller).size(), panel->minimumSize());
}

TEST_F(MainPanelTest, TheSortMenuShowsTheStoredMode) {
    sandbox::defaults().setObject(1, "sortType");
    open();
    EXPECT_FALSE(action("Sort by Name")->isChecked());
    EXPECT_TRUE(action("Sort by Group")->isChecked());
    action("Sort by Name")->trigger();
    EXPECT_TRUE(action("Sort by Name")->isChecked());
    EXPECT_FALSE(action("Sort by Group")->isChecked());
}

TEST(ElidedLabel, GivesWayInTheMiddle) {
    ElidedLabel label(QStringLiteral("/a/long/path/that/does/not/fit/anywhere"));
    EXPECT_LT(label.minimumSizeHint().width(), label.sizeHint().width() / 3);
    EXPECT_EQ(label.textFormat(), Qt::PlainText);
}
