#pragma once

#include "Outlets.h"
#include "ProgressSheet.h"

#include <functional>

// The panel that is shown while Purgel runs, and the bar in it.
class ProgressPanel : public outlet::Panel, public outlet::Spinner {
public:
    // `cancel` is called when the user wants the run to end.
    ProgressPanel(QWidget& owner, std::function<void()> cancel);

    void beginSheet(outlet::Window& window) override; // a PanelWindow
    void endSheet() override;

    void startAnimation() override;
    void stopAnimation() override;

private:
    ProgressSheet* sheet_; // the owner's
};
