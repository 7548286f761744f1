#pragma once

#include "Application.h"

#include <QPointer>
#include <QWindow>
#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <vector>

namespace platform {

// The windows of the running QGuiApplication. Made and destroyed on the main thread, which the platform's
// `MainThread` must lead to.
class QtApplication : public Application {
public:
    // Both are called on the main thread. `canBeBroughtBack` is asked each time the program is about to
    // hide, and answers whether anything could bring hidden windows back. `hiddenDidChange` is told each
    // change of `isHidden`, once it has been made.
    QtApplication(std::function<bool()> canBeBroughtBack, std::function<void(bool hidden)> hiddenDidChange);
    ~QtApplication() override;
    QtApplication(const QtApplication&) = delete;
    QtApplication& operator=(const QtApplication&) = delete;

    // Open menus and tool tips close. A window that is shown anew meanwhile is shown.
    void hide() override;
    // Windows come back where they were, as large as they were, but for those that have been closed.
    void unhide() override;
    bool isHidden() override { return hidden_; }
    void activateIgnoringOtherApps() override;
    void terminate() override;

private:
    struct HiddenWindow {
        QPointer<QWindow> window;
        Qt::WindowStates states; // before
        QPoint framePosition;
        QMetaObject::Connection restored; // to what happens when the user restores it, if it is minimised
    };

    class CloseFilter;

    static std::vector<std::uint32_t> identifiersOnX(const std::vector<HiddenWindow>& windows);
    void hideWindows();
    void minimiseWindows();
    static void putBack(const HiddenWindow& hidden);
    std::vector<HiddenWindow> takeWindows(); // they are not watched any more
    void setHidden(bool hidden);

    // The main thread's.
    std::vector<HiddenWindow> windows_;
    std::unique_ptr<CloseFilter> closeFilter_;

    std::function<bool()> canBeBroughtBack_;
    std::function<void(bool)> hiddenDidChange_;
    std::atomic<bool> hidden_ = false;
};

} // namespace platform
