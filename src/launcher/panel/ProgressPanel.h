#pragma once

#include "Outlets.h"
#include "ProgressSheet.h"

#include <QPointer>
#include <functional>

// The panel that is shown while Purgel runs, and the bar in it; made for each run.
class ProgressPanel : public outlet::Panel, public outlet::Spinner {
public:
    // `cancel` is called when the user wants the run to end.
    explicit ProgressPanel(std::function<void()> cancel) : cancel_(std::move(cancel)) {}

    void beginSheet(outlet::Window& window) override; // a PanelWindow
    void endSheet() override;

    void startAnimation() override;
    void stopAnimation() override;

private:
    std::function<void()> cancel_;
    QPointer<ProgressSheet> sheet_; // the window's; null while it is not shown
};
