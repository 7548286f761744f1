#pragma once

#include "AlertSheets.h"
#include "PropertyList.h"
#include "VTAlertDelegate.h"

#include <condition_variable>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

// A message that is shown as a sheet on a window, and its answer: 1 for the default button, 0 for the
// alternate one, -1 for the other. Any thread may show one. Whoever waits for the answer on the main thread
// keeps the interface alive meanwhile.
//
// Absent and empty button titles make no button, but there is always a default one. A null window, and one
// that shows a sheet already, let the alert stand on its own. The informative text is read as a format
// without arguments: a doubled percent sign shows as one.
//
// An alert whose window is closed, or that is up when the program ends, is answered with the button that
// cancels. -1 is also returned when nothing could be shown any more.
class VTAlert : public VTAlertDelegate, public std::enable_shared_from_this<VTAlert> {
public:
    using Text = std::optional<std::string>;
    using Window = platform::Window;

    // With a single button; waits for the answer.
    static std::int64_t alertSheetWithMessageText(const Text& messageText, const Text& informativeText,
                                                  Window* parentWindow);

    // Waits for the answer whatever `block` says.
    static std::int64_t alertSheetWithMessageText(const Text& messageText, const Text& defaultButton,
                                                  const Text& alternateButton, const Text& otherButton,
                                                  const Text& informativeText, Window* parentWindow,
                                                  bool block);

    // Waits for the answer, and calls no delegate, whatever the last three say.
    static std::int64_t alertSheetWithMessageText(const Text& messageText, const Text& defaultButton,
                                                  const Text& alternateButton, const Text& otherButton,
                                                  const Text& informativeText, Window* parentWindow,
                                                  const std::shared_ptr<VTAlertDelegate>& delegate,
                                                  const Text& didEndSelector, bool block);

    // As below, without a suppression check box.
    static std::int64_t alertSheetWithMessageText(const Text& messageText, const Text& defaultButton,
                                                  const Text& alternateButton, const Text& otherButton,
                                                  const Text& informativeText, Window* parentWindow,
                                                  const std::shared_ptr<VTAlertDelegate>& delegate,
                                                  const Text& didEndSelector, bool block,
                                                  const std::shared_ptr<VTAlert>& alertObject);

    // Shows the sheet and, with `block`, waits for the answer; without, returns -1 at once. `delegate` is not
    // owned; its operation `didEndSelector` is called when the user has answered. An absent delegate is the
    // alert object, an absent selector "alertDidEnd:returnCode:contextInfo:", an absent alert object a new
    // one. A delegate without that operation is told to the console; nothing is shown and -1 returned.
    // `suppressionBinding` is the preference that the check box "Do not show this message again" shows and
    // changes; there is no check box when it is absent.
    static std::int64_t alertSheetWithMessageText(const Text& messageText, const Text& defaultButton,
                                                  const Text& alternateButton, const Text& otherButton,
                                                  const Text& informativeText, Window* parentWindow,
                                                  const std::shared_ptr<VTAlertDelegate>& delegate,
                                                  const Text& didEndSelector, bool block,
                                                  const std::shared_ptr<VTAlert>& alertObject,
                                                  const Text& suppressionBinding);

    // Waits for the answer, and for no longer than `interval` seconds: then it is the default button's.
    static std::int64_t timedAlertSheetWithMessageText(const Text& messageText, const Text& defaultButton,
                                                       const Text& alternateButton, const Text& otherButton,
                                                       const Text& informativeText, Window* parentWindow,
                                                       std::int64_t interval);

    // The window that has the sheet; null when it stands on its own. Not owned.
    Window* parentWindow() const;
    void setParentWindow(Window* parentWindow);

    // Null when it is gone.
    std::shared_ptr<VTAlertDelegate> delegate() const;
    void setDelegate(const std::shared_ptr<VTAlertDelegate>& delegate);

    bool alertEnded() const;
    void setAlertEnded(bool alertEnded);

    std::int64_t returnCode() const;
    void setReturnCode(std::int64_t returnCode);

    // The sheet on the screen; null when there is none.
    std::shared_ptr<platform::AlertSheet> alert() const;
    void setAlert(std::shared_ptr<platform::AlertSheet> alert);

    // Builds and shows the sheet that a request describes: a dictionary of texts with the keys "messageText",
    // "defaultButtonTitle", "alternateButtonTitle", "otherButtonTitle", "informativeText", "didEndSelector"
    // and "suppressionBinding". Main thread.
    void alertSheetWithDictionary(const platform::PropertyList::Dictionary& request);

    // The end selector unless there is another. The first end of an alert decides its answer.
    void alertDidEnd(platform::AlertSheet& alert, std::int64_t returnCode);

    // Sleeps for so many seconds, then ends the alert as if the default button had been pressed. For a thread
    // of its own.
    void defaultReturnAfterTimeInterval(std::int64_t seconds);

    Operation operationNamed(const std::string& selector) override;

private:
    void begin(Window* parentWindow, const std::shared_ptr<VTAlertDelegate>& delegate);
    void end(std::int64_t returnCode); // unless it has ended already
    void takeOffScreen();
    std::int64_t waitForAnswer();

    mutable std::mutex mutex_; // for all that follows
    std::condition_variable ended_;
    Window* parentWindow_ = nullptr;
    std::weak_ptr<VTAlertDelegate> delegate_;
    bool alertEnded_ = false;
    bool hasBegun_ = false;
    bool timeIsUp_ = false; // before it has begun
    std::int64_t returnCode_ = 0;
    std::shared_ptr<platform::AlertSheet> alert_;
};
