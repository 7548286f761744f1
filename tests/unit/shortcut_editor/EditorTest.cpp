#include "FieldEditorWindow.h"
#include "OffscreenApplication.h"
#include "Platform.h"
#include "QtMainThread.h"
#include "ShortcutFixture.h"
#include "ShortcutModel.h"
#include "VTShortcutKeyContainerView.h"
#include "VTShortcutKeyFieldEditor.h"
#include "VTShortcutKeyTableview.h"

#include <QAbstractButton>
#include <QApplication>
#include <QLabel>
#include <QScrollBar>
#include <QSignalSpy>
#include <QTest>
#include <algorithm>
#include <filesystem>

using testing::ElementsAre;
using testing::IsEmpty;
using Posted = platform::PropertyList::Dictionary;

namespace {

constexpr quint32 kK = 45;

class EditorTest : public ShortcutTest {
protected:
    // Work for the main thread waits for its loop, as in the program.
    static platform::Platform services() {
        auto all = platform::current();
        all.mainThread = std::make_shared<platform::QtMainThread>();
        return all;
    }
    platform::ScopedPlatform platform_{services()};

    EditorTest() {
        auto& controller = VTShortcutKeyTableDelegate::sharedController();
        controller.setBundle(bundle());
        controller.setOutlets({});
    }

    static void installInterfaceFile() {
        std::filesystem::copy_file(VT_RESOURCES "/VTShortcutKeyConfig.ui",
                                   bundle().resourcePath() + "/VTShortcutKeyConfig.ui",
                                   std::filesystem::copy_options::overwrite_existing);
    }

    static void type(QWidget& widget, Qt::Key key, Qt::KeyboardModifiers modifiers = {}, quint32 code = kK,
                     bool isRepeat = false) {
        QKeyEvent press(QEvent::KeyPress, key, modifiers, code, 0, 0, {}, isRepeat);
        QApplication::sendEvent(&widget, &press);
    }

    // A key by its keysym, of which Qt knows nothing.
    static void type(QWidget& widget, quint32 keysym) {
        QKeyEvent press(QEvent::KeyPress, 0, {}, kK, keysym, 0);
        QApplication::sendEvent(&widget, &press);
    }

    // What is posted from here on.
    std::vector<Posted> changes;
    int clears = 0;
    void listen() {
        auto& center = *platform::current().notificationCenter;
        observations_.push_back(
            center.addObserver("VTShortcutKeyChanged", [this](const platform::Notification& notification) {
                changes.push_back(notification.userInfo);
            }));
        observations_.push_back(
            center.addObserver("VTShortcutKeyCleared", [this](const platform::Notification& notification) {
                EXPECT_TRUE(notification.userInfo.empty());
                ++clears;
            }));
    }
    static Posted change(int keycode, bool shift, bool ctrl, bool opt, bool cmd) {
        return {{"keycode", keycode}, {"shift", shift}, {"ctrl", ctrl}, {"opt", opt}, {"cmd", cmd}};
    }

private:
    std::vector<platform::NotificationCenter::Observation> observations_;
};

// The whole editor in a window, on the interface file that is shipped.
class LoadedEditorTest : public EditorTest {
protected:
    LoadedEditorTest() {
        installInterfaceFile();
        container = new VTShortcutKeyContainerView(&window);
        container->setGeometry(0, 0, 500, 400);
        window.resize(500, 400);
        window.show();
        window.activateWindow();
        offscreen::settle();
        view = window.findChild<VTShortcutKeyTableview*>();
    }

    VTShortcutKeyFieldEditor* fieldEditor() { return window.findChild<VTShortcutKeyFieldEditor*>(); }
    bool edits() { return fieldEditor() && fieldEditor()->isVisible(); }
    QString shortcut(int row) {
        return view->model()->index(row, ShortcutModel::ShortcutKey).data().toString();
    }

    // To be called before a key is typed.
    void whileTheManagerRuns(const std::function<void()>& work) {
        QMetaObject::invokeMethod(
            &window,
            [work] {
                EXPECT_TRUE(QGuiApplication::overrideCursor()); // input is blocked
                work();
            },
            Qt::QueuedConnection);
    }

    // So that about two rows are seen at once.
    void makeLow() {
        container->resize(container->width(), container->height() - view->viewport()->height() + 75);
        offscreen::settle();
        ASSERT_GT(view->verticalScrollBar()->maximum(), 0);
    }
    QRect cell(int row) { return view->visualRect(view->model()->index(row, ShortcutModel::ShortcutKey)); }

    FieldEditorWindow window;
    VTShortcutKeyContainerView* container = nullptr;
    VTShortcutKeyTableview* view = nullptr;
};

} // namespace

// --- The field editor

TEST_F(EditorTest, AKeyAloneCountsAsPressedWithShiftAndCommand) {
    VTShortcutKeyFieldEditor editor;
    EXPECT_EQ(editor.text(), "");
    listen();
    type(editor, Qt::Key_K);
    EXPECT_THAT(changes, ElementsAre(change(45, true, false, false, true)));
    EXPECT_EQ(editor.text(), "");
}

TEST_F(EditorTest, EachModifierIsItsOwn) {
    VTShortcutKeyFieldEditor editor;
    listen();
    type(editor, Qt::Key_K, Qt::ShiftModifier);
    type(editor, Qt::Key_K, Qt::ControlModifier);
    type(editor, Qt::Key_K, Qt::AltModifier);
    type(editor, Qt::Key_K, Qt::MetaModifier);
    type(editor, Qt::Key_K, Qt::ShiftModifier | Qt::ControlModifier | Qt::AltModifier | Qt::MetaModifier);
    type(editor, Qt::Key_1, Qt::KeypadModifier | Qt::GroupSwitchModifier, 87); // these count for nothing
    EXPECT_THAT(changes,
                ElementsAre(change(45, true, false, false, false), change(45, false, true, false, false),
                            change(45, false, false, true, false), change(45, false, false, false, true),
                            change(45, true, true, true, true), change(87, true, false, false, true)));
}

TEST_F(EditorTest, KeysThatOthersWouldTakeAreCaptured) {
    VTShortcutKeyFieldEditor editor;
    listen();
    for (auto key : {Qt::Key_Escape, Qt::Key_Return, Qt::Key_Enter, Qt::Key_Tab, Qt::Key_Backtab,
                     Qt::Key_Delete, Qt::Key_Backspace, Qt::Key_Space, Qt::Key_Dead_Circumflex}) {
        QKeyEvent shortcut(QEvent::ShortcutOverride, key, {});
        shortcut.ignore();
        QApplication::sendEvent(&editor, &shortcut);
        EXPECT_TRUE(shortcut.isAccepted());
        type(editor, key, {}, 9);
    }
    EXPECT_EQ(changes.size(), 9U);
}

TEST_F(EditorTest, ModifiersAndRepeatsAreNoKeyPresses) {
    VTShortcutKeyFieldEditor editor;
    listen();
    // Shift, Control, Caps Lock, Meta, Alt, Super and Hyper, Num Lock, and what switches layouts and levels.
    for (quint32 keysym : {0xFFE1U, 0xFFE4U, 0xFFE5U, 0xFFE7U, 0xFFE9U, 0xFFEBU, 0xFFEEU, 0xFF7FU, 0xFE01U,
                           0xFE03U, 0xFE08U, 0xFE11U, 0xFE13U, 0xFF7EU}) {
        type(editor, keysym);
    }
    type(editor, Qt::Key_Return, {}, 36, true);
    EXPECT_THAT(changes, IsEmpty());
    // Their neighbours: Shift and Tab, Delete, F35, Scroll Lock.
    for (quint32 keysym : {0xFE20U, 0xFFFFU, 0xFFE0U, 0xFF14U}) {
        type(editor, keysym);
    }
    EXPECT_EQ(changes.size(), 4U);
}

TEST_F(EditorTest, OfAKeyCodeSixteenBitsCount) {
    VTShortcutKeyFieldEditor editor;
    listen();
    type(editor, Qt::Key_K, Qt::MetaModifier, 0x10000 + 45);
    EXPECT_THAT(changes, ElementsAre(change(45, false, false, false, true)));
}

TEST_F(EditorTest, NoInputMethodComposesInIt) {
    VTShortcutKeyFieldEditor editor;
    QInputMethodQueryEvent query(Qt::ImEnabled);
    QApplication::sendEvent(&editor, &query);
    EXPECT_FALSE(query.value(Qt::ImEnabled).toBool());
}

// --- The table

TEST_F(EditorTest, DeleteKeysAskForClearing) {
    VTShortcutKeyTableview view;
    listen();
    type(view, Qt::Key_Delete);
    type(view, Qt::Key_Backspace);
    type(view, Qt::Key_Delete, Qt::ControlModifier | Qt::ShiftModifier);
    EXPECT_EQ(clears, 3);
    type(view, Qt::Key_Down);
    type(view, Qt::Key_Space);
    EXPECT_EQ(clears, 3);
    EXPECT_THAT(changes, IsEmpty());
}

// --- The container

TEST_F(EditorTest, WithoutTheInterfaceFileTheContainerIsEmptyAndTheDelegateSet) {
    FieldEditorWindow window;
    const auto* container = new VTShortcutKeyContainerView(&window);
    EXPECT_THAT(sandbox::console().lines(), ElementsAre("Error: unable to load keyboard shortcut interface"));
    EXPECT_THAT(container->children(), IsEmpty());
    EXPECT_EQ(window.delegate(), &VTShortcutKeyTableDelegate::sharedController());
}

TEST_F(EditorTest, ADamagedInterfaceFileIsNone) {
    sandbox::writeFile(bundle().resourcePath() + "/VTShortcutKeyConfig.ui", "<ui><widget");
    VTShortcutKeyContainerView container;
    EXPECT_THAT(sandbox::console().lines(), ElementsAre("Error: unable to load keyboard shortcut interface"));
}

TEST_F(EditorTest, InNoWindowNothingHappens) {
    installInterfaceFile();
    VTShortcutKeyContainerView container;
    EXPECT_THAT(sandbox::console().lines(), IsEmpty());
    EXPECT_TRUE(VTShortcutKeyTableDelegate::sharedController().parentView());
    EXPECT_THAT(container.children(), IsEmpty());
}

TEST_F(EditorTest, InAWindowItShowsTheInterfaceAndBecomesItsDelegate) {
    installInterfaceFile();
    FieldEditorWindow window;
    auto* container = new VTShortcutKeyContainerView;
    container->resize(480, 300);
    EXPECT_EQ(window.delegate(), nullptr);
    container->setParent(&window);
    window.show();
    container->show();
    EXPECT_EQ(window.delegate(), &VTShortcutKeyTableDelegate::sharedController());
    auto* top = container->findChild<QWidget*>("parentView");
    ASSERT_TRUE(top);
    EXPECT_EQ(top->geometry(), container->rect());
    container->resize(600, 400);
    EXPECT_EQ(top->geometry(), QRect(0, 0, 600, 400));
}

// --- Together

TEST_F(LoadedEditorTest, ShowsTheCommandsInTwoColumns) {
    ASSERT_TRUE(view);
    EXPECT_EQ(view->model()->rowCount(), 4);
    EXPECT_EQ(view->model()->columnCount(), 2);
    EXPECT_EQ(view->model()->index(2, 0).data().toString(), "Start Purgel");
    EXPECT_FALSE(view->model()->flags(view->model()->index(0, 0)).testFlag(Qt::ItemIsEditable));
    EXPECT_TRUE(view->model()->flags(view->model()->index(0, 1)).testFlag(Qt::ItemIsEditable));
    EXPECT_FALSE(window.findChild<QLabel*>("versionAlertText")->isVisible());
    EXPECT_TRUE(view->isEnabled());
}

TEST_F(LoadedEditorTest, ACapturedKeyIsStoredAndEndsTheEdit) {
    view->selectRow(1);
    view->editSelectedShortcut();
    ASSERT_TRUE(edits());
    type(*fieldEditor(), Qt::Key_K, Qt::MetaModifier);
    EXPECT_FALSE(edits());
    EXPECT_EQ(shortcut(1), "Cmd+K");
    EXPECT_EQ(watchlist(), Array{entry(kOwn, 45, 0x0100, "reload")});
    EXPECT_EQ(setups(), 1);
    EXPECT_EQ(reloadEvents(), 1);
}

TEST_F(LoadedEditorTest, TheKeyboardIsLetGoBeforeTheManagerRuns) {
    view->selectRow(1);
    view->editSelectedShortcut();
    EXPECT_EQ(QWidget::keyboardGrabber(), fieldEditor());
    bool isGrabbed = true;
    whileTheManagerRuns([&] { isGrabbed = QWidget::keyboardGrabber() != nullptr; });
    type(*fieldEditor(), Qt::Key_K);
    EXPECT_FALSE(isGrabbed);
}

// As a screen reader does it, without a click.
TEST_F(LoadedEditorTest, TheButtonDoesNothingWhileTheManagerRuns) {
    view->selectRow(1);
    view->editSelectedShortcut();
    whileTheManagerRuns([&] { window.findChild<QAbstractButton*>("clearShortcutKey")->click(); });
    type(*fieldEditor(), Qt::Key_K, Qt::MetaModifier);
    EXPECT_EQ(shortcut(1), "Cmd+K");
    EXPECT_EQ(watchlist(), Array{entry(kOwn, 45, 0x0100, "reload")});
    EXPECT_EQ(setups(), 1);
}

TEST_F(LoadedEditorTest, ReturnAndF2AndADoubleClickBeginAnEdit) {
    view->selectRow(0);
    for (int key : {Qt::Key_Return, Qt::Key_F2}) {
        QTest::keyClick(view, static_cast<Qt::Key>(key));
        ASSERT_TRUE(edits());
        type(*fieldEditor(), Qt::Key_K, Qt::MetaModifier);
        ASSERT_FALSE(edits());
    }
    const QPoint cell = view->visualRect(view->model()->index(2, 1)).center();
    QTest::mouseClick(view->viewport(), Qt::LeftButton, {}, cell);
    QTest::mouseDClick(view->viewport(), Qt::LeftButton, {}, cell);
    EXPECT_TRUE(edits());
}

TEST_F(LoadedEditorTest, WithoutASelectedRowThereIsNothingToEdit) {
    view->clearSelection();
    view->editSelectedShortcut();
    EXPECT_FALSE(edits());
}

TEST_F(LoadedEditorTest, AWindowWithAnotherDelegateEditsInTheStandardField) {
    window.setDelegate(nullptr);
    view->selectRow(0);
    view->editSelectedShortcut();
    EXPECT_FALSE(edits());
    const auto fields = view->viewport()->findChildren<QLineEdit*>();
    EXPECT_TRUE(std::ranges::any_of(fields, [](const QLineEdit* field) {
        return field->isVisible() && !qobject_cast<const VTShortcutKeyFieldEditor*>(field);
    }));
}

TEST_F(LoadedEditorTest, TheButtonClearsTheSelectedShortcut) {
    view->selectRow(1);
    view->editSelectedShortcut();
    type(*fieldEditor(), Qt::Key_K);
    window.findChild<QAbstractButton*>("clearShortcutKey")->click();
    EXPECT_EQ(shortcut(1), "");
    EXPECT_EQ(view->selectedRow(), 1); // still
    EXPECT_THAT(watchlist(), IsEmpty());
    EXPECT_EQ(setups(), 2);
}

TEST_F(LoadedEditorTest, TheFieldMovesWithItsRow) {
    makeLow();
    view->selectRow(1);
    view->editSelectedShortcut();
    view->verticalScrollBar()->setValue(cell(0).height());
    ASSERT_TRUE(edits());
    const QPoint middle = view->viewport()->mapTo(&window, cell(1).center());
    EXPECT_TRUE(fieldEditor()->geometry().contains(middle));
    EXPECT_FALSE(fieldEditor()->geometry().contains(middle + QPoint(0, cell(0).height())));
}

TEST_F(LoadedEditorTest, AnEditWhoseRowIsScrolledAwayEnds) {
    makeLow();
    listen();
    view->selectRow(0);
    view->editSelectedShortcut();
    ASSERT_TRUE(edits());
    view->verticalScrollBar()->setValue(view->verticalScrollBar()->maximum());
    EXPECT_FALSE(edits());
    EXPECT_THAT(changes, IsEmpty());
    view->editSelectedShortcut(); // brings its row back
    EXPECT_TRUE(edits());
    EXPECT_TRUE(view->viewport()->rect().contains(cell(0)));
}

TEST_F(LoadedEditorTest, AWindowThatIsClosedDuringAnEditOpensWithoutOne) {
    view->selectRow(0);
    view->editSelectedShortcut();
    window.close();
    window.show();
    offscreen::settle();
    EXPECT_FALSE(edits());
    view->editSelectedShortcut();
    EXPECT_TRUE(edits());
}

TEST_F(EditorTest, WithoutTheManagerTheNoticeIsSeen) {
    installInterfaceFile();
    std::filesystem::remove(managerPath());
    FieldEditorWindow window;
    new VTShortcutKeyContainerView(&window);
    window.show();
    EXPECT_TRUE(window.findChild<QLabel*>("versionAlertText")->isVisible());
    EXPECT_FALSE(window.findChild<VTShortcutKeyTableview*>()->isEnabled());
}
