#include "QtApplication.h"

#include "Platform.h"
#include "Threads.h"
#include "linux/DesktopWindows.h"

#include <QGuiApplication>
#include <algorithm>
#include <chrono>
#include <exception>
#include <iterator>
#include <thread>
#include <unistd.h>
#include <utility>

namespace platform {

namespace {

void onMainThread(std::function<void()> work) {
    current().mainThread->perform(std::move(work), Wait::UntilDone);
}

bool isPassing(const QWindow& window) {
    return window.type() == Qt::Popup || window.type() == Qt::ToolTip;
}

// In the order in which they were made: a window comes before its dialogs.
std::vector<QWindow*> visibleWindows() {
    std::vector<QWindow*> visible;
    std::ranges::copy_if(QGuiApplication::topLevelWindows(), std::back_inserter(visible),
                         [](const QWindow* window) { return window->isVisible() && !isPassing(*window); });
    return visible;
}

void closePassingWindows() {
    for (auto* window : QGuiApplication::topLevelWindows()) {
        if (window->isVisible() && isPassing(*window)) {
            window->close();
        }
    }
}

// Its place is then the window manager's affair, and so is the place that it returns to.
bool fillsScreen(Qt::WindowStates states) {
    return states.testAnyFlags(Qt::WindowMaximized | Qt::WindowFullScreen);
}

bool isOnX() {
    return QGuiApplication::platformName() == QLatin1String("xcb");
}

// A window manager may not give a program that had nothing to do with the user lately what it asks for in its
// own name. The windows have to be on the screen for this, and that is waited for elsewhere.
void comeForward() {
    static constexpr std::chrono::seconds kPatience{2};
    if (!isOnX()) {
        return;
    }
    try {
        std::thread([] {
            activateWindow([] { return std::vector<pid_t>{::getpid()}; }, kPatience, {});
        }).detach();
    } catch (const std::exception&) {
        // Then as a program among others.
    }
}

} // namespace

// Forgets a hidden window that is closed, which hidden windows show in no other way.
class QtApplication::CloseFilter : public QObject {
public:
    explicit CloseFilter(std::vector<HiddenWindow>& windows) : windows_(windows) {}

protected:
    bool eventFilter(QObject* window, QEvent* event) override {
        if (event->type() == QEvent::Close) {
            for (auto& hidden : windows_) {
                if (hidden.window == window) {
                    hidden.window = nullptr;
                }
            }
        }
        return false;
    }

private:
    std::vector<HiddenWindow>& windows_;
};

QtApplication::QtApplication(std::function<bool()> canBeBroughtBack,
                             std::function<void(bool hidden)> hiddenDidChange)
    : closeFilter_(std::make_unique<CloseFilter>(windows_)), canBeBroughtBack_(std::move(canBeBroughtBack)),
      hiddenDidChange_(std::move(hiddenDidChange)) {}

QtApplication::~QtApplication() {
    takeWindows();
}

void QtApplication::hide() {
    std::vector<std::uint32_t> withdrawn;
    onMainThread([this, &withdrawn] {
        if (hidden_) {
            return;
        }
        closePassingWindows();
        for (auto* window : visibleWindows()) {
            windows_.push_back({window, window->windowStates(), window->framePosition(), {}});
            window->installEventFilter(closeFilter_.get());
        }
        if (canBeBroughtBack_()) {
            withdrawn = identifiersOnX(windows_);
            hideWindows();
        } else {
            minimiseWindows();
        }
        setHidden(true);
    });
    // The program may be asked back at once.
    constexpr std::chrono::milliseconds kPatience{500};
    if (!withdrawn.empty() && !isMainThread()) {
        waitUntilWithdrawn(withdrawn, kPatience);
    }
}

// As the X display knows the windows; none on other displays.
std::vector<std::uint32_t> QtApplication::identifiersOnX(const std::vector<HiddenWindow>& windows) {
    std::vector<std::uint32_t> identifiers;
    if (isOnX()) {
        for (const auto& hidden : windows) {
            identifiers.push_back(static_cast<std::uint32_t>(hidden.window->winId()));
        }
    }
    return identifiers;
}

void QtApplication::hideWindows() {
    // Dialogs before the windows they belong to.
    std::for_each(windows_.rbegin(), windows_.rend(), [](const HiddenWindow& hidden) {
        if (hidden.window) { // hiding one may have taken it along
            hidden.window->setVisible(false);
        }
    });
}

void QtApplication::minimiseWindows() {
    for (auto& hidden : windows_) {
        hidden.window->setWindowStates(hidden.states | Qt::WindowMinimized);
        auto noteState = [this](Qt::WindowState state) {
            if (state != Qt::WindowMinimized) {
                takeWindows();
                setHidden(false);
            }
        };
        hidden.restored = QObject::connect(hidden.window, &QWindow::windowStateChanged, noteState);
    }
}

void QtApplication::unhide() {
    onMainThread([this] {
        if (!hidden_) {
            return;
        }
        for (const auto& hidden : takeWindows()) {
            if (hidden.window) {
                putBack(hidden);
            }
        }
        setHidden(false);
    });
}

std::vector<QtApplication::HiddenWindow> QtApplication::takeWindows() {
    for (const auto& hidden : windows_) {
        QObject::disconnect(hidden.restored);
        if (hidden.window) {
            hidden.window->removeEventFilter(closeFilter_.get());
        }
    }
    return std::exchange(windows_, {});
}

void QtApplication::putBack(const HiddenWindow& hidden) {
    auto& window = *hidden.window;
    if (window.isVisible()) { // it was minimised
        window.setWindowStates(hidden.states);
        return;
    }
    // Before it is shown, so that it is placed there, and after, for window managers that place windows as
    // they see fit.
    const bool hasPlace = !fillsScreen(hidden.states);
    if (hasPlace) {
        window.setFramePosition(hidden.framePosition);
    }
    window.setVisible(true);
    if (hasPlace) {
        window.setFramePosition(hidden.framePosition);
    }
}

void QtApplication::setHidden(bool hidden) {
    hidden_ = hidden;
    hiddenDidChange_(hidden);
}

void QtApplication::activateIgnoringOtherApps() {
    onMainThread([] {
        auto windows = visibleWindows();
        for (auto* window : windows) {
            window->raise();
        }
        if (auto* front = QGuiApplication::modalWindow()) {
            front->requestActivate();
        } else if (!windows.empty()) {
            windows.front()->requestActivate();
        }
        comeForward();
    });
}

void QtApplication::terminate() {
    // Not quit(), which asks every window whether it would mind.
    current().mainThread->perform([] { QCoreApplication::exit(); }, Wait::No);
}

} // namespace platform
