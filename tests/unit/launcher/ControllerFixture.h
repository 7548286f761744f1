#pragma once

#include "AppController.h"
#include "Exception.h"
#include "FakeOutlets.h"
#include "TestSandbox.h"
#include "VTWindowController.h"

#include <chrono>
#include <functional>
#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <vector>

// A controller with a panel that has no screen. The window's events are noted among the workspace's, as
// "window back" and so on.
class ControllerTest : public testing::Test {
protected:
    ControllerTest() {
        sortMenu.add("by name", AppController::kSortByName);
        sortMenu.add("by group", AppController::kSortByGroup);
        window.onEvent = [](const std::string& event) { sandbox::workspace().note("window " + event); };
    }
    ~ControllerTest() override { finish(); }

    Outlets outlets() {
        return {.mainWindow = &window,
                .windowController = &windowController,
                .tableView = &table,
                .spinner = &spinner,
                .progressPanel = &progressPanel,
                .progressBar = &progressBar,
                .hideMenu = &hideMenu,
                .sortMenu = &sortMenu,
                .userManualMenu = &userManualMenu};
    }

    // Starts the controller and waits for its first rebuild.
    void awake() {
        controller->awakeFromNib(outlets());
        spinner.waitUntilStopped(++rebuilds);
    }

    // Waits for the controller's threads; it starts no more after that.
    void finish() {
        if (controller) {
            EXPECT_TRUE(controller->threads().finish(std::chrono::minutes(1)));
        }
    }

    // What the workspace, the application and the window were asked to do since the last call.
    std::vector<std::string> events() {
        auto all = sandbox::workspace().events();
        std::vector<std::string> fresh(all.begin() + seen_, all.end());
        seen_ = static_cast<std::ptrdiff_t>(all.size());
        return fresh;
    }

    // The service that meets this event throws.
    static void throwOn(const std::string& failing) {
        sandbox::workspace().onEvent = [failing](const std::string& event) {
            if (event == failing) {
                throw platform::Exception("NSFailure", "it went wrong");
            }
        };
    }

    static std::string printedBy(const std::function<void()>& work) {
        testing::internal::CaptureStdout();
        work();
        return testing::internal::GetCapturedStdout();
    }

    FakeWindow window;
    VTWindowController windowController{window};
    FakeTable table;
    FakeSpinner spinner;
    FakePanel progressPanel;
    FakeProgressBar progressBar;
    FakeMenu hideMenu;
    FakeMenu sortMenu;
    FakeMenu userManualMenu;
    int rebuilds = 0;
    std::shared_ptr<AppController> controller = AppController::init();

private:
    std::ptrdiff_t seen_ = 0;
};
