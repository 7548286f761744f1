#include "PanelWindow.h"

#include "Platform.h"

#include <QWidget>

PanelWindow::PanelWindow(QWidget& window, bool hasOpacity) : window_(window), hasOpacity_(hasOpacity) {
    if (!hasOpacity_) {
        animation_.setDuration(1); // a tick, so that the end still comes after the call has returned
    }
    QObject::connect(&animation_, &QVariantAnimation::valueChanged, &animation_,
                     [this](const QVariant& value) { showAlphaValue(value.toDouble()); });
    QObject::connect(&animation_, &QVariantAnimation::finished, &animation_, [this] {
        showAlphaValue(animation_.endValue().toDouble());
        if (animationDidStop_) {
            animationDidStop_();
        }
    });
}

bool PanelWindow::isVisible() const {
    return window_.isVisible();
}

void PanelWindow::orderFront() {
    window_.show();
}

void PanelWindow::orderBack() {
    window_.lower();
}

void PanelWindow::makeKeyAndOrderFront() {
    window_.setWindowState(window_.windowState() & ~Qt::WindowMinimized);
    window_.show();
    window_.raise();
    window_.activateWindow();
}

void PanelWindow::close() {
    auto& application = *platform::current().application;
    if (!window_.isVisible() || application.isHidden()) {
        // Hidden while it was fading away, or closed while it was minimised: the user wants the program to
        // quit.
        application.terminate();
        return;
    }
    closing_ = true;
    window_.close();
    closing_ = false;
}

void PanelWindow::setAlphaValue(double alpha) {
    animation_.stop();
    showAlphaValue(alpha);
}

void PanelWindow::animateAlphaValue(double alpha) {
    animation_.stop();
    animation_.setStartValue(alpha_);
    animation_.setEndValue(alpha);
    animation_.start();
}

void PanelWindow::setAnimationDelegate(std::function<void()> animationDidStop) {
    animationDidStop_ = std::move(animationDidStop);
}

void PanelWindow::showAlphaValue(double alpha) {
    alpha_ = alpha;
    if (hasOpacity_) {
        window_.setWindowOpacity(alpha);
        platform::flushDisplay(); // an animation may run without the event loop's own
    }
}
