#include "ProgressPanel.h"

#include "IndeterminateBar.h"
#include "PanelWindow.h"
#include "Platform.h"

#include <QCoreApplication>

void ProgressPanel::beginSheet(outlet::Window& window) {
    endSheet();
    platform::current().application->unhide();
    window.makeKeyAndOrderFront();
    sheet_ = new ProgressSheet(QCoreApplication::translate("ProgressPanel", "Purgel is repairing…"));
    QObject::connect(sheet_, &ProgressSheet::cancelled, cancel_);
    sheet_->beginSheet(dynamic_cast<PanelWindow&>(window).widget());
}

void ProgressPanel::endSheet() {
    if (sheet_) {
        sheet_->done(QDialog::Accepted);
        sheet_->deleteLater();
        sheet_ = nullptr;
    }
}

void ProgressPanel::startAnimation() {
    if (sheet_) {
        sheet_->bar().start();
    }
}

void ProgressPanel::stopAnimation() {
    if (sheet_) {
        sheet_->bar().stop();
    }
}
