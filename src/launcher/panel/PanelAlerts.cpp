#include "PanelAlerts.h"

#include "DarkAlert.h"
#include "Platform.h"

#include <QEventLoop>

void PanelAlerts::runAlertPanel(const std::string& title, const std::string& message) {
    auto run = [&] {
        DarkAlert alert(QString::fromStdString(title), QString::fromStdString(message),
                        panel_ && panel_->isVisible() ? panel_.data() : nullptr);
        alert.setWindowModality(Qt::ApplicationModal);
        // Not exec(): hiding the program hides its alerts, and that is no answer.
        QEventLoop loop;
        QObject::connect(&alert, &QDialog::finished, &loop, &QEventLoop::quit);
        alert.show();
        loop.exec();
    };
    platform::current().mainThread->perform(run, platform::Wait::UntilDone);
}
