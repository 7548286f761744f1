#include "ProgressPanel.h"

#include "IndeterminateBar.h"
#include "PanelWindow.h"
#include "Platform.h"

#include <QCoreApplication>

ProgressPanel::ProgressPanel(QWidget& owner, std::function<void()> cancel)
    : sheet_(
          new ProgressSheet(QCoreApplication::translate("ProgressPanel", "Purgel is repairing…"), &owner)) {
    QObject::connect(sheet_, &ProgressSheet::cancelled, sheet_, std::move(cancel));
}

void ProgressPanel::beginSheet(outlet::Window& window) {
    platform::current().application->unhide();
    window.makeKeyAndOrderFront();
    sheet_->begin(dynamic_cast<PanelWindow&>(window).widget());
}

void ProgressPanel::endSheet() {
    sheet_->done(QDialog::Accepted);
}

void ProgressPanel::startAnimation() {
    sheet_->bar().start();
}

void ProgressPanel::stopAnimation() {
    sheet_->bar().stop();
}
