#include "PanelFixture.h"

#include <QApplication>
#include <QContextMenuEvent>
#include <QDialog>
#include <QMenuBar>
#include <gmock/gmock.h>
#include <set>

using namespace tooltree;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

class PanelMenusTest : public PanelFixture {
protected:
    static std::string text(const QAction& action) {
        return action.isSeparator() ? "-" : action.text().remove(u'&').toStdString();
    }
    QMenu* menu(const QString& title) {
        for (auto* menu : panel->findChildren<QMenu*>()) {
            if (menu->title().remove(u'&') == title) {
                return menu;
            }
        }
        return nullptr;
    }
    std::vector<std::string> items(const QString& title) {
        std::vector<std::string> texts;
        for (const auto* action : menu(title)->actions()) {
            texts.push_back(text(*action));
        }
        return texts;
    }
    std::vector<std::string> shortcuts(const QString& title) {
        std::vector<std::string> texts;
        for (const auto& shortcut : action(title)->shortcuts()) {
            texts.push_back(shortcut.toString().toStdString());
        }
        return texts;
    }
    // The menu over the table, once it has been asked for.
    QMenu* toolMenu() {
        QContextMenuEvent event(QContextMenuEvent::Keyboard, QPoint(5, 5),
                                table().viewport()->mapToGlobal(QPoint(5, 5)));
        QApplication::sendEvent(table().viewport(), &event);
        return qobject_cast<QMenu*>(QApplication::activePopupWidget());
    }
};

} // namespace

TEST_F(PanelMenusTest, AreThese) {
    open();
    std::vector<std::string> titles;
    for (const auto* action : panel->menuBar()->actions()) {
        titles.push_back(text(*action));
    }
    EXPECT_THAT(titles, ElementsAre("Launcher", "View", "Manuals", "Help"));
    EXPECT_THAT(items("Launcher"),
                ElementsAre("About Launcher", "Check for Updates\u2026", "Keyboard Shortcuts\u2026", "-",
                            "Quit After Launching", "Show Again When a Tool Quits", "-", "Quit"));
    EXPECT_THAT(items("View"), ElementsAre("Sort by Name", "Sort by Group", "-", "Show Group Names",
                                           "Hide Groups", "-", "Reload", "Reveal in File Browser"));
    EXPECT_THAT(items("Help"), ElementsAre("Ostendel User Manual", "Ostendel Home Page", "Report a Bug…",
                                           "Suggest a Feature…", "Vantorel Home Page"));
}

TEST_F(PanelMenusTest, HaveTheseShortcuts) {
    open();
    EXPECT_THAT(shortcuts("Quit"), ElementsAre("Ctrl+Q"));
    EXPECT_THAT(shortcuts("Sort by Name"), ElementsAre("Ctrl+1"));
    EXPECT_THAT(shortcuts("Sort by Group"), ElementsAre("Ctrl+2"));
    EXPECT_THAT(shortcuts("Show Group Names"), ElementsAre("Ctrl+G"));
    EXPECT_THAT(shortcuts("Reload"), ElementsAre("F5", "Ctrl+R"));
    EXPECT_THAT(shortcuts("Reveal in File Browser"), ElementsAre("Ctrl+Shift+R"));
    EXPECT_THAT(shortcuts("Ostendel User Manual"), ElementsAre("F1"));
}

TEST_F(PanelMenusTest, HaveOneMnemonicPerItem) {
    open();
    auto mnemonicsDiffer = [](const QList<QAction*>& actions) {
        std::set<QString> seen;
        for (const auto* action : actions) {
            if (!action->isSeparator()) {
                const auto mnemonic = QKeySequence::mnemonic(action->text()).toString();
                EXPECT_TRUE(!mnemonic.isEmpty() && seen.insert(mnemonic).second) << text(*action);
            }
        }
    };
    mnemonicsDiffer(panel->menuBar()->actions());
    for (const char* title : {"Launcher", "View", "Help"}) {
        mnemonicsDiffer(menu(title)->actions());
    }
    auto* tools = toolMenu();
    ASSERT_NE(tools, nullptr);
    mnemonicsDiffer(tools->actions());
    tools->close();
}

TEST_F(PanelMenusTest, PreferencesAreCheckMarks) {
    open();
    EXPECT_FALSE(action("Quit After Launching")->isChecked());
    EXPECT_TRUE(action("Show Again When a Tool Quits")->isChecked()); // as registered
    action("Quit After Launching")->trigger();
    action("Show Again When a Tool Quits")->trigger();
    EXPECT_EQ(sandbox::defaults().objectForKey("quitAfterLaunching"), platform::PropertyList(1));
    EXPECT_EQ(sandbox::defaults().objectForKey("unhideOnLaunchedAppExit"), platform::PropertyList(0));
    const MainPanel again(controller);
    EXPECT_TRUE(again.findChild<QAction*>("quitAfterLaunching")->isChecked());
    EXPECT_FALSE(again.findChild<QAction*>("unhideOnLaunchedAppExit")->isChecked());
    action("Quit After Launching")->trigger();
    EXPECT_EQ(sandbox::defaults().objectForKey("quitAfterLaunching"), platform::PropertyList(0));
}

TEST_F(PanelMenusTest, ChecksForUpdatesWithTheSuitesUpdater) {
    open();
    action("Check for Updates\u2026")->trigger();
    EXPECT_TRUE(QTest::qWaitFor([] { return !sandbox::workspace().events().empty(); }, kLimit));
    EXPECT_THAT(
        sandbox::workspace().events(),
        ElementsAre("open " + sandbox::root() + "/Applications/Vantorel/Vantorel Software Update.app"));
}

TEST_F(PanelMenusTest, QuitEndsTheProgramAtOnce) {
    open();
    action("Quit")->trigger();
    EXPECT_THAT(sandbox::workspace().events(), ElementsAre("terminate"));
    EXPECT_TRUE(panel->isVisible());
}

TEST_F(PanelMenusTest, ManualsComeFromTheController) {
    const auto folder = sandbox::root() + "/Library/Documentation/Vantorel/";
    open();
    EXPECT_FALSE(menu("Manuals")->menuAction()->isEnabled());
    sandbox::writeFile(folder + "Cut & Paste.pdf", "");
    controller->populateUserManuals();
    EXPECT_TRUE(menu("Manuals")->menuAction()->isEnabled());
    ASSERT_EQ(menu("Manuals")->actions().size(), 1);
    auto* manual = menu("Manuals")->actions().constFirst();
    EXPECT_EQ(manual->text(), "Cut && Paste");
    EXPECT_FALSE(manual->isCheckable());
    manual->trigger();
    EXPECT_THAT(sandbox::workspace().events(), ElementsAre("open " + folder + "Cut & Paste.pdf"));
}

TEST_F(PanelMenusTest, HelpAsksTheController) {
    const auto manual =
        sandbox::root() +
        "/Library/Application Support/Vantorel/Ostendel/Documentation/Ostendel User Manual.pdf";
    open();
    action("Ostendel User Manual")->trigger();
    EXPECT_THAT(sandbox::workspace().events(), IsEmpty()); // there is none
    sandbox::writeFile(manual, "");
    action("Ostendel User Manual")->trigger();
    EXPECT_THAT(sandbox::workspace().events(), ElementsAre("open " + manual));

    auto addressAfter = [this](const char* title) {
        action(title)->trigger();
        return sandbox::workspace().events().back();
    };
    const std::set<std::string> addresses{addressAfter("Ostendel Home Page"), addressAfter("Report a Bug…"),
                                          addressAfter("Suggest a Feature…"),
                                          addressAfter("Vantorel Home Page")};
    EXPECT_EQ(addresses.size(), 4U);
    EXPECT_THAT(addresses, testing::Each(testing::StartsWith("open https://")));
}

TEST_F(PanelMenusTest, TheTableHasAMenuForTheSelectedTool) {
    addTool("1.app", "A");
    open();
    auto* tools = toolMenu();
    ASSERT_NE(tools, nullptr);
    ASSERT_EQ(tools->actions().size(), 2);
    auto* launch = tools->actions().at(0);
    EXPECT_EQ(text(*launch), "Launch");
    EXPECT_EQ(launch->shortcut(), QKeySequence(Qt::Key_Return));
    EXPECT_EQ(text(*tools->actions().at(1)), "Reveal in File Browser");
    EXPECT_FALSE(launch->isEnabled());
    tools->close();

    table().selectRow(0);
    EXPECT_TRUE(launch->isEnabled());
    launch->trigger();
    EXPECT_TRUE(QTest::qWaitFor([] { return sandbox::application().isHidden(); }, kLimit));
    EXPECT_THAT(sandbox::workspace().events(), testing::Contains("open " + applications() + "/1.app"));
}

TEST_F(PanelMenusTest, AboutSaysWhatThisIs) {
    QApplication::setApplicationVersion("4.5.6");
    open();
    action("About Launcher")->trigger();
    auto* about = panel->findChild<QDialog*>();
    ASSERT_NE(about, nullptr);
    EXPECT_TRUE(about->isVisible());
    EXPECT_TRUE(about->isModal());
    EXPECT_EQ(about->windowTitle(), "About Launcher");
    std::vector<std::string> texts;
    for (const auto* label : about->findChildren<QLabel*>()) {
        if (!label->text().isEmpty()) {
            texts.push_back(label->text().toStdString());
        }
    }
    EXPECT_THAT(texts, ElementsAre("Launcher", "Version 4.5.6\nTools for editing workstations"));
    QTest::keyClick(about, Qt::Key_Escape);
    EXPECT_TRUE(QTest::qWaitFor([this] { return !panel->findChild<QDialog*>(); }, kLimit));
}
