#include "QtApplication.h"

#include "QtMainThread.h"
#include "TestSandbox.h"

#include <QApplication>
#include <QDialog>
#include <QEventLoop>
#include <QMenu>
#include <QTest>
#include <QWindow>
#include <array>
#include <functional>
#include <gmock/gmock.h>
#include <memory>
#include <string>
#include <thread>
#include <vector>

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

constexpr int kLimit = 30'000; // ms

class QtApplicationTest : public testing::Test {
protected:
    QtApplicationTest() {
        auto services = platform::current();
        services.mainThread = std::make_shared<platform::QtMainThread>();
        platform::install(services);
    }

    // Runs the event loop until `work` has ended on a thread of its own.
    static void runWhile(const std::function<void()>& work) {
        QEventLoop loop;
        std::thread worker([&] {
            work();
            QMetaObject::invokeMethod(&loop, &QEventLoop::quit, Qt::QueuedConnection);
        });
        loop.exec();
        worker.join();
    }

    // Shown at this place.
    static std::unique_ptr<QWindow> window(const QPoint& position) {
        auto window = std::make_unique<QWindow>();
        window->setGeometry({position, QSize(300, 200)});
        window->show();
        return window;
    }

private:
    struct Environment {
        Environment() {
            qputenv("QT_QPA_PLATFORM", "offscreen");
            qputenv("XDG_RUNTIME_DIR", sandbox::home().c_str());
        }
    } environment_;
    int argumentCount_ = 1;
    std::string name_ = "test";
    std::array<char*, 2> arguments_{name_.data(), nullptr};
    QApplication qt_{argumentCount_, arguments_.data()};

protected:
    bool canBeBroughtBack = true;
    std::vector<bool> changes; // to hidden or back
    platform::QtApplication application{[this] { return canBeBroughtBack; },
                                        [this](bool hidden) {
                                            EXPECT_EQ(application.isHidden(), hidden);
                                            changes.push_back(hidden);
                                        }};
};

} // namespace

TEST_F(QtApplicationTest, HidesItsWindowsAndPutsThemBack) {
    auto first = window({40, 50});
    auto second = window({140, 150});
    QWindow never;
    const auto place = first->framePosition();
    application.hide();
    EXPECT_FALSE(first->isVisible());
    EXPECT_FALSE(second->isVisible());
    EXPECT_TRUE(application.isHidden());
    application.unhide();
    EXPECT_TRUE(first->isVisible());
    EXPECT_TRUE(second->isVisible());
    EXPECT_FALSE(never.isVisible());
    EXPECT_FALSE(application.isHidden());
    EXPECT_EQ(first->framePosition(), place);
    EXPECT_THAT(changes, ElementsAre(true, false));
}

TEST_F(QtApplicationTest, PutsWindowsWhereTheyWere) {
    auto moved = window({40, 50});
    const auto place = moved->framePosition();
    application.hide();
    moved->setFramePosition({0, 0}); // as a window manager may think fit
    application.unhide();
    EXPECT_EQ(moved->framePosition(), place);
}

TEST_F(QtApplicationTest, WhatIsSoAlreadyIsNotDoneAgain) {
    auto only = window({40, 50});
    application.unhide();
    EXPECT_THAT(changes, IsEmpty());
    application.hide();
    application.hide();
    EXPECT_THAT(changes, ElementsAre(true));
    application.unhide();
    EXPECT_TRUE(only->isVisible());
}

TEST_F(QtApplicationTest, MaximisedWindowsStayMaximised) {
    QWidget widget;
    widget.showMaximized();
    application.hide();
    EXPECT_FALSE(widget.isVisible());
    application.unhide();
    EXPECT_TRUE(widget.isVisible());
    EXPECT_TRUE(widget.isMaximized());
}

TEST_F(QtApplicationTest, HidesWidgets) {
    QWidget widget;
    widget.show();
    application.hide();
    EXPECT_FALSE(widget.isVisible());
    application.unhide();
    EXPECT_TRUE(widget.isVisible());
}

TEST_F(QtApplicationTest, ADialogThatEndsMeanwhileStaysAway) {
    for (const bool withdrawn : {true, false}) {
        canBeBroughtBack = withdrawn;
        QWidget widget;
        widget.show();
        auto* dialog = new QDialog(&widget);
        dialog->show();
        application.hide();
        dialog->done(QDialog::Accepted);
        dialog->deleteLater(); // which has to wait for the outer event loop
        application.unhide();
        EXPECT_FALSE(dialog->isVisible());
        EXPECT_TRUE(widget.isVisible());
        // One that is shown again is a window as before.
        dialog->show();
        application.hide();
        application.unhide();
        EXPECT_TRUE(dialog->isVisible());
    }
}

TEST_F(QtApplicationTest, OpenMenusClose) {
    QWidget widget;
    widget.show();
    QMenu menu;
    menu.addAction("Item");
    menu.popup({10, 10});
    application.hide();
    EXPECT_FALSE(menu.isVisible());
    application.unhide();
    EXPECT_FALSE(menu.isVisible());
}

TEST_F(QtApplicationTest, AWindowThatComesMeanwhileChangesNothing) {
    auto before = window({40, 50});
    application.hide();
    auto meanwhile = window({60, 70});
    EXPECT_TRUE(application.isHidden());
    EXPECT_TRUE(meanwhile->isVisible());
    application.unhide();
    EXPECT_TRUE(meanwhile->isVisible());
    EXPECT_TRUE(before->isVisible());
}

TEST_F(QtApplicationTest, AWindowThatIsGoneMeanwhileIsForgotten) {
    auto gone = window({40, 50});
    application.hide();
    gone.reset();
    application.unhide();
    EXPECT_FALSE(application.isHidden());
}

TEST_F(QtApplicationTest, ADialogThatRunsGoesOnRunning) {
    QWidget panel;
    panel.show();
    QDialog dialog(&panel);
    dialog.setWindowModality(Qt::ApplicationModal);
    QEventLoop loop;
    int finished = 0;
    QObject::connect(&dialog, &QDialog::finished, &loop, [&] {
        ++finished;
        loop.quit();
    });
    dialog.show();
    QMetaObject::invokeMethod(
        &dialog,
        [&] {
            application.hide();
            EXPECT_FALSE(dialog.isVisible());
            QCoreApplication::processEvents();
            application.unhide();
            EXPECT_TRUE(dialog.isVisible());
            EXPECT_EQ(QApplication::activeModalWidget(), &dialog);
            EXPECT_EQ(finished, 0);
            dialog.accept();
        },
        Qt::QueuedConnection);
    loop.exec();
    EXPECT_EQ(finished, 1);
}

TEST_F(QtApplicationTest, MinimisesWhatNothingCouldBringBack) {
    canBeBroughtBack = false;
    auto first = window({40, 50});
    QWidget second;
    second.showMaximized();
    application.hide();
    EXPECT_TRUE(first->isVisible());
    EXPECT_EQ(first->windowState(), Qt::WindowMinimized);
    EXPECT_EQ(second.windowHandle()->windowStates(), Qt::WindowMinimized | Qt::WindowMaximized);
    EXPECT_TRUE(application.isHidden());
    application.unhide();
    EXPECT_EQ(first->windowState(), Qt::WindowNoState);
    EXPECT_EQ(second.windowHandle()->windowStates(), Qt::WindowMaximized);
    EXPECT_FALSE(application.isHidden());
    EXPECT_THAT(changes, ElementsAre(true, false));
}

TEST_F(QtApplicationTest, AMinimisedWindowThatTheUserRestoresEndsTheHiding) {
    canBeBroughtBack = false;
    auto first = window({40, 50});
    auto second = window({140, 150});
    application.hide();
    first->showNormal();
    EXPECT_FALSE(application.isHidden());
    EXPECT_THAT(changes, ElementsAre(true, false));
    application.unhide(); // is not hidden
    EXPECT_EQ(second->windowState(), Qt::WindowMinimized);
    second->showNormal();
    EXPECT_THAT(changes, ElementsAre(true, false));
    application.hide(); // and once more
    EXPECT_EQ(first->windowState(), Qt::WindowMinimized);
    EXPECT_TRUE(application.isHidden());
}

TEST_F(QtApplicationTest, WorksFromAnyThread) {
    auto only = window({40, 50});
    runWhile([&] {
        application.hide();
        EXPECT_TRUE(application.isHidden());
        application.unhide();
        EXPECT_FALSE(application.isHidden());
        application.activateIgnoringOtherApps();
    });
    EXPECT_TRUE(only->isVisible());
}

TEST_F(QtApplicationTest, ActivatesItsMainWindow) {
    auto only = window({40, 50});
    auto other = window({60, 70});
    ASSERT_TRUE(QTest::qWaitForWindowActive(other.get(), kLimit));
    application.activateIgnoringOtherApps();
    EXPECT_TRUE(QTest::qWaitForWindowActive(only.get(), kLimit));
}

TEST_F(QtApplicationTest, TerminatesWhateverWindowsThink) {
    struct Stubborn : QWidget {
        void closeEvent(QCloseEvent* event) override {
            ++asked;
            event->ignore();
        }
        int asked = 0;
    } stubborn;
    stubborn.show();
    int told = 0;
    QObject::connect(qApp, &QCoreApplication::aboutToQuit, [&told] { ++told; });
    bool hasReturned = false;
    QMetaObject::invokeMethod(
        qApp,
        [&] {
            application.terminate();
            hasReturned = true;
        },
        Qt::QueuedConnection);
    EXPECT_EQ(QApplication::exec(), 0);
    EXPECT_TRUE(hasReturned);
    EXPECT_EQ(told, 1);
    EXPECT_EQ(stubborn.asked, 0);
}

TEST_F(QtApplicationTest, TerminatesFromAnyThread) {
    std::thread worker([this] { application.terminate(); });
    EXPECT_EQ(QApplication::exec(), 0);
    worker.join();
}
