#pragma once

#include "AlertSheets.h"

#include <memory>
#include <vector>

// Alerts in dark sheets on the program's windows.
class PanelSheets : public platform::AlertSheets {
public:
    PanelSheets();
    ~PanelSheets() override;
    PanelSheets(const PanelSheets&) = delete;
    PanelSheets& operator=(const PanelSheets&) = delete;

    bool hasAttachedSheet(const platform::Window& window) override;

    // The window must be a PanelWindow. A program in hiding comes back with it.
    std::shared_ptr<platform::AlertSheet> beginSheet(const platform::AlertContents& contents,
                                                     platform::Window* window, DidEnd didEnd) override;

    // The program is about to end: what is up is answered with the button that cancels, and nothing is shown
    // any more. Main thread.
    void close();

private:
    class Sheet;

    std::vector<std::weak_ptr<Sheet>> sheets_;
    bool closed_ = false;
};
