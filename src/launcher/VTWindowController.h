#pragma once

#include "Outlets.h"

// Posted when a controller's window has become the key window; the object is the `outlet::Window`.
inline constexpr const char* kWindowDidBecomeKey = "VTWindowDidBecomeKey";

// Fades a window in when it is shown and out when it is closed, and tells when it becomes the key window.
// Main thread.
class VTWindowController {
public:
    // The window must outlive the controller.
    explicit VTWindowController(outlet::Window& window) : window_(window) {}
    VTWindowController(const VTWindowController&) = delete;
    VTWindowController& operator=(const VTWindowController&) = delete;
    ~VTWindowController();

    // Has every animated change of the window's alpha value report its end here.
    void awakeFromNib();

    // Shows the window, fading in unless it is visible already. A fade-out that was under way does not close
    // it any more and turns back.
    void showWindow();

    // The user wants to close the window. It fades out first and then closes by itself, so the answer is
    // always false.
    bool windowShouldClose();

    void fadeOutWindow();
    void animationDidStop();

    // Posts `VTWindowDidBecomeKey` with the window as its object.
    void windowDidBecomeKey();

private:
    outlet::Window& window_;
    bool windowIsClosing_ = false; // since the user asked to close it
};
