#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace platform {

// A window of the interface, of which nothing more is known here than that sheets can be attached to it.
class Window {
public:
    virtual ~Window() = default;
};

// What an alert says. Texts are plain, whatever they look like.
struct AlertContents {
    // The check box with which the user asks not to be shown this again.
    struct Suppression {
        bool isOn = false;                   // at first
        std::function<void(bool)> didChange; // on the main thread
    };

    std::string messageText;
    std::string informativeText;
    // A title that is absent or empty makes no button, but there is always a default one.
    std::optional<std::string> defaultButtonTitle = std::nullopt;
    std::optional<std::string> alternateButtonTitle = std::nullopt;
    std::optional<std::string> otherButtonTitle = std::nullopt;
    std::optional<Suppression> suppression = std::nullopt;
};

// What the user can answer.
inline constexpr std::int64_t kAlertDefaultReturn = 1;
inline constexpr std::int64_t kAlertAlternateReturn = 0;
inline constexpr std::int64_t kAlertOtherReturn = -1;

// An alert on the screen. Main thread, but for its destruction.
class AlertSheet {
public:
    virtual ~AlertSheet() = default;

    // Keeps the interface alive and returns once the alert has left the screen, for whatever reason; at once
    // when it has.
    virtual void waitUntilEnded() = 0;

    // Takes it off the screen without an answer, if it is still there.
    virtual void orderOut() = 0;
};

// Alerts that belong to a window and leave the others alone. Main thread.
class AlertSheets {
public:
    using DidEnd = std::function<void(AlertSheet& sheet, std::int64_t answer)>;

    virtual ~AlertSheets() = default;

    // Whether a sheet of any kind is attached to the window.
    virtual bool hasAttachedSheet(const Window& window) = 0;

    // Brings the window to the front, attaches an alert to it and returns; without a window the alert is one
    // of its own. The window must have no sheet yet. Null when the program is about to end.
    //
    // `didEnd` is called when the user has answered, once the alert is off the screen. An alert whose window
    // is closed, or that is there when the program ends, counts as answered with the button that cancels. One
    // that is ordered out is not answered. Whatever happens, `didEnd` is called at most once and then let go.
    virtual std::shared_ptr<AlertSheet> beginSheet(const AlertContents& contents, Window* window,
                                                   DidEnd didEnd) = 0;
};

} // namespace platform
