#pragma once

#include "MainPanel.h"

#include "AppController.h"
#include "CatalogueModel.h"
#include "QtMainThread.h"
#include "TestSandbox.h"
#include "VTAlternateBlackTableView.h"
#include "Waiting.h"

#include "ToolTree.h"

#include <QAbstractItemModelTester>
#include <QAction>
#include <QLabel>
#include <QTest>
#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <vector>

// The panel on the offscreen platform, with tools that a test makes.
class PanelFixture : public testing::Test {
protected:
    PanelFixture() {
        auto services = platform::current();
        mainThread = std::make_shared<platform::QtMainThread>();
        services.mainThread = mainThread;
        platform::install(services);
    }
    ~PanelFixture() override {
        mainThread->close();
        EXPECT_TRUE(controller->threads().finish(std::chrono::minutes(1)));
    }

    // Makes the panel, which the controller shows, and waits until it has the catalogue.
    void open() {
        panel = std::make_unique<MainPanel>(controller);
        tester = std::make_unique<QAbstractItemModelTester>(table().model());
        controller->awakeFromNib(panel->outlets());
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
