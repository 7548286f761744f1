#pragma once

#include "AlertPanels.h"

#include <QPointer>
#include <QWidget>

// Alerts in dark dialogs, application-modal. Several may be up at once: the newest is in front and takes the
// answers first. The end of the main loop ends all of them.
class PanelAlerts : public platform::AlertPanels {
public:
    // Alerts belong to this window while it is visible. Main thread.
    void setPanel(QWidget* panel) { panel_ = panel; }

    void runAlertPanel(const std::string& title, const std::string& message) override;

private:
    QPointer<QWidget> panel_;
};
