#include "VTWindowController.h"

#include "Platform.h"

VTWindowController::~VTWindowController() {
    window_.setAnimationDelegate(nullptr);
}

void VTWindowController::awakeFromNib() {
    window_.setAnimationDelegate([this] { animationDidStop(); });
}

void VTWindowController::showWindow() {
    bool wasClosing = windowIsClosing_;
    windowIsClosing_ = false;
    if (!window_.isVisible()) {
        window_.setAlphaValue(0.0);
        window_.animateAlphaValue(1.0);
    } else if (wasClosing) {
        window_.animateAlphaValue(1.0); // nobody wants an open window that cannot be seen
    }
    window_.orderFront();
}

bool VTWindowController::windowShouldClose() {
    windowIsClosing_ = true;
    fadeOutWindow();
    return false;
}

void VTWindowController::fadeOutWindow() {
    window_.animateAlphaValue(0.0);
}

void VTWindowController::animationDidStop() {
    if (windowIsClosing_ && window_.alphaValue() == 0.0) {
        window_.close();
    }
}

void VTWindowController::windowDidBecomeKey() {
    platform::current().notificationCenter->post(
        {.name = kWindowDidBecomeKey, .object = &window_, .userInfo = {}});
}
