#pragma once

#include "Application.h"
#include "FakeWorkspace.h"

#include <atomic>

// Hides and comes back without a screen; what happens is noted among the workspace's events.
class FakeApplication : public platform::Application {
public:
    explicit FakeApplication(std::shared_ptr<FakeWorkspace> workspace) : workspace_(std::move(workspace)) {}

    void hide() override {
        hidden_ = true;
        workspace_->note("hide");
    }
    void unhide() override {
        hidden_ = false;
        workspace_->note("unhide");
    }
    bool isHidden() override { return hidden_; }
    void activateIgnoringOtherApps() override { workspace_->note("activate Launcher"); }
    void terminate() override { workspace_->note("terminate"); }

private:
    std::atomic<bool> hidden_ = false;
    std::shared_ptr<FakeWorkspace> workspace_;
};
