#include "PanelFixture.h"

#include "ElidedLabel.h"
#include "Spinner.h"
#include "VTBlackScroller.h"

#include <QApplication>
#include <QHelpEvent>
#include <QScreen>
#include <QScrollBar>
#include <QTextDocument>
#include <QToolTip>
#include <cstdlib>
#include <filesystem>
#include <gmock/gmock.h>

using namespace tooltree;
using testing::ElementsAre;
using testing::IsEmpty;

class MainPanelTest : public PanelFixture {};

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
    action("Reload")->trigger();
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
    action("Reload")->trigger();
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
    EXPECT_FALSE(action("Launch")->isEnabled());
    table().selectRow(0);
    EXPECT_TRUE(action("Launch")->isEnabled());
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
    ASSERT_TRUE(QTest::qWaitFor([this] { return !panel->isVisible(); }, kLimit));
    MainPanel again(controller);
    EXPECT_EQ(again.size(), QSize(700, 500));
}

TEST_F(MainPanelTest, RemembersItsSizeWhenTheProgramQuits) {
    open();
    panel->resize(710, 510);
    emit qApp->aboutToQuit({});
    MainPanel again(controller);
    EXPECT_EQ(again.size(), QSize(710, 510));
}

TEST_F(MainPanelTest, RemembersTheSizeItHadWhenItClosed) {
    open();
    panel->resize(700, 500);
    panel->close();
    ASSERT_TRUE(QTest::qWaitFor([this] { return !panel->isVisible(); }, kLimit));
    sandbox::defaults().setObject(platform::PropertyList::Array{600, 400}, "panelSize");
    emit qApp->aboutToQuit({}); // nothing more to store
    MainPanel again(controller);
    EXPECT_EQ(again.size(), QSize(600, 400));
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

TEST_F(MainPanelTest, IsShownByTheControllerAlone) {
    panel = std::make_unique<MainPanel>(controller);
    EXPECT_FALSE(panel->isVisible());
    EXPECT_FALSE(panel->outlets().mainWindow->isVisible());
    controller->awakeFromNib(panel->outlets());
    EXPECT_TRUE(panel->isVisible());
    EXPECT_EQ(panel->outlets().mainWindow->alphaValue(), 0);
    EXPECT_TRUE(QTest::qWaitFor([this] { return panel->outlets().mainWindow->alphaValue() == 1; }, kLimit));
    EXPECT_TRUE(panel->isVisible());
}

TEST_F(MainPanelTest, SaysNothingOfToolsBeforeTheFirstScanHasEnded) {
    panel = std::make_unique<MainPanel>(controller);
    controller->awakeFromNib(panel->outlets()); // what the scan finds waits for the event loop
    EXPECT_EQ(count(), "");
    EXPECT_TRUE(table().isVisible());
    EXPECT_TRUE(QTest::qWaitFor([this] { return count() == "0 tools"; }, kLimit));
    EXPECT_FALSE(table().isVisible());
}

TEST_F(MainPanelTest, ClosesOnceItHasFadedOut) {
    open();
    EXPECT_FALSE(panel->close()); // not yet
    EXPECT_TRUE(panel->isVisible());
    EXPECT_TRUE(QTest::qWaitFor([this] { return !panel->isVisible(); }, kLimit));
    EXPECT_EQ(panel->outlets().mainWindow->alphaValue(), 0);
    EXPECT_TRUE(controller->applicationShouldTerminateAfterLastWindowClosed());
}

TEST_F(MainPanelTest, StaysWhenItIsShownAgainWhileItFades) {
    open();
    panel->close();
    panel->outlets().windowController->showWindow();
    EXPECT_TRUE(QTest::qWaitFor([this] { return panel->outlets().mainWindow->alphaValue() == 1; }, kLimit));
    EXPECT_TRUE(panel->isVisible());
    EXPECT_FALSE(controller->applicationShouldTerminateAfterLastWindowClosed());
}

TEST_F(MainPanelTest, TellsWhenItBecomesKey) {
    panel = std::make_unique<MainPanel>(controller);
    const void* key = nullptr;
    auto observation = platform::current().notificationCenter->addObserver(
        "VTWindowDidBecomeKey",
        [&key](const platform::Notification& notification) { key = notification.object; });
    controller->awakeFromNib(panel->outlets());
    panel->outlets().mainWindow->makeKeyAndOrderFront();
    EXPECT_TRUE(QTest::qWaitFor([&key] { return key != nullptr; }, kLimit));
    EXPECT_EQ(key, panel->outlets().mainWindow);
}

TEST_F(MainPanelTest, ADoubleClickLaunches) {
    addTool("1.app", "A");
    addTool("2.app", "B");
    open();
    const auto cell = table().visualRect(table().model()->index(1, CatalogueModel::Title)).center();
    QTest::mouseClick(table().viewport(), Qt::LeftButton, {}, cell);
    EXPECT_THAT(sandbox::workspace().events(), IsEmpty());
    QTest::mouseDClick(table().viewport(), Qt::LeftButton, {}, cell);
    EXPECT_TRUE(QTest::qWaitFor([] { return sandbox::application().isHidden(); }, kLimit));
    EXPECT_THAT(sandbox::workspace().events(), testing::Contains("open " + applications() + "/2.app"));
}

TEST_F(MainPanelTest, ADoubleClickWithAnotherButtonLaunchesNothing) {
    addTool("1.app", "A");
    addTool("2.app", "B");
    open();
    int launches = 0;
    QObject::connect(&table(), &QAbstractItemView::doubleClicked, panel.get(), [&launches] { ++launches; });
    const auto cell = table().visualRect(table().model()->index(1, CatalogueModel::Title)).center();
    for (auto button : {Qt::MiddleButton, Qt::RightButton, Qt::BackButton}) {
        QTest::mouseClick(table().viewport(), button, {}, cell);
        QTest::mouseDClick(table().viewport(), button, {}, cell);
        EXPECT_EQ(launches, 0) << button;
    }
    EXPECT_THAT(sandbox::workspace().events(), IsEmpty());
}

TEST_F(MainPanelTest, ReturnLaunches) {
    addTool("1.app", "A");
    open();
    table().selectRow(0);
    QTest::keyClick(&table(), Qt::Key_Return);
    EXPECT_TRUE(QTest::qWaitFor([] { return sandbox::application().isHidden(); }, kLimit));
    EXPECT_THAT(sandbox::workspace().events(), testing::Contains("open " + applications() + "/1.app"));
}

TEST_F(MainPanelTest, HasTheDarkScroller) {
    open();
    EXPECT_NE(qobject_cast<VTBlackScroller*>(table().verticalScrollBar()), nullptr);
}

// A path that looks like markup is shown as it is, wherever it is shown.
TEST_F(MainPanelTest, AFolderIsPlainText) {
    const auto root = sandbox::root() + "/<b>x</b> & y";
    sandbox::makeFolder(root + "/Applications");
    setenv("VANTOREL_ROOT", root.c_str(), 1);
    open();
    EXPECT_THAT(visibleLabels(),
                testing::IsSupersetOf({root + "/Applications", "in " + root + "/Applications"}));
    setenv("VANTOREL_ROOT", sandbox::root().c_str(), 1);
}

TEST(ElidedLabel, GivesWayInTheMiddle) {
    ElidedLabel label;
    label.setText(QStringLiteral("/a/long/path/that/does/not/fit/anywhere"));
    EXPECT_LT(label.minimumSizeHint().width(), label.sizeHint().width() / 3);
    EXPECT_EQ(label.textFormat(), Qt::PlainText);
}

TEST(ElidedLabel, ShowsItsTextAsItIsInItsToolTip) {
    ElidedLabel label;
    label.setText(QStringLiteral("<b>/a/long/path</b>/that/does/not/fit/anywhere"));
    label.resize(60, 20);
    label.show();
    QHelpEvent event(QEvent::ToolTip, QPoint(5, 5), label.mapToGlobal(QPoint(5, 5)));
    QApplication::sendEvent(&label, &event);
    ASSERT_TRUE(QTest::qWaitFor([] { return QToolTip::isVisible(); }, kLimit));
    QTextDocument shown;
    shown.setHtml(QToolTip::text());
    EXPECT_EQ(shown.toPlainText(), label.text());
    QToolTip::hideText();
}
