#pragma once

#include "DarkAlert.h"

#include <QApplication>
#include <vector>

inline constexpr int kLimit = 30'000; // ms that a test waits for what must come

inline std::vector<DarkAlert*> shownAlerts() {
    std::vector<DarkAlert*> alerts;
    for (auto* widget : QApplication::topLevelWidgets()) {
        if (auto* alert = qobject_cast<DarkAlert*>(widget); alert && alert->isVisible()) {
            alerts.push_back(alert);
        }
    }
    return alerts;
}
