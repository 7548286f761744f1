#include "ControllerWindow.h"

#include <QVBoxLayout>
#include <algorithm>
#include <utility>

ControllerWindow::ControllerWindow(int steps)
    : state_(new QLabel(tr("Waiting for a worker."))), progress_(new QProgressBar),
      errors_(new QPlainTextEdit) {
    setWindowTitle(tr("Sample Controller"));
    progress_->setRange(0, steps);
    progress_->setValue(0);
    progress_->setFormat(tr("%v of %m"));
    progress_->setAccessibleName(tr("Progress"));
    errors_->setReadOnly(true);
    errors_->setPlaceholderText(tr("No errors"));
    errors_->setAccessibleName(tr("Errors"));
    state_->setTextFormat(Qt::PlainText);

    auto* layout = new QVBoxLayout(this);
    layout->addWidget(state_);
    layout->addWidget(progress_);
    layout->addWidget(errors_, 1);
    resize(440, 260);
}

void ControllerWindow::progressed() {
    const int steps = std::exchange(hasEnded_, false) ? 0 : progress_->value();
    progress_->setValue(std::min(steps + 1, progress_->maximum()));
    state_->setText(tr("Working…"));
}

void ControllerWindow::finished() {
    progress_->setValue(progress_->maximum());
    taskHasEnded(tr("The task has ended."));
}

void ControllerWindow::failed(const QString& text, const QString& sender) {
    errors_->appendPlainText(sender.isEmpty() ? text : tr("%1: %2").arg(sender, text));
    state_->setText(tr("There was an error."));
}

void ControllerWindow::disconnected() {
    taskHasEnded(tr("The worker has left."));
}

void ControllerWindow::lost() {
    taskHasEnded(tr("The session bus has gone. Nobody will report any more."));
}

void ControllerWindow::taskHasEnded(const QString& how) {
    hasEnded_ = true;
    state_->setText(how);
}
