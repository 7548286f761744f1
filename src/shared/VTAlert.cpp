#include "VTAlert.h"

#include "Format.h"
#include "Platform.h"
#include "Threads.h"
#include "VTException.h"

#include <chrono>
#include <system_error>
#include <thread>
#include <utility>

using platform::PropertyList;
using platform::Wait;

namespace {

// Instead of an answer.
constexpr std::int64_t kNoAnswer = -1;

constexpr const char* kAlertDidEnd = "alertDidEnd:returnCode:contextInfo:";

// Keys of a request.
constexpr const char* kMessageText = "messageText";
constexpr const char* kDefaultButtonTitle = "defaultButtonTitle";
constexpr const char* kAlternateButtonTitle = "alternateButtonTitle";
constexpr const char* kOtherButtonTitle = "otherButtonTitle";
constexpr const char* kInformativeText = "informativeText";
constexpr const char* kDidEndSelector = "didEndSelector";
constexpr const char* kSuppressionBinding = "suppressionBinding";

void add(PropertyList::Dictionary& request, const char* key, const VTAlert::Text& text) {
    if (text) {
        request.emplace(key, *text);
    }
}

// The preference shows in the box, and the box changes the preference.
platform::AlertContents::Suppression boundTo(const std::string& key) {
    const auto defaults = platform::current().userDefaults;
    return {.isOn = defaults->integerForKey(key) != 0,
            .didChange = [defaults, key](bool isOn) { defaults->setObject(isOn, key); }};
}

} // namespace

std::int64_t VTAlert::alertSheetWithMessageText(const Text& messageText, const Text& informativeText,
                                                Window* parentWindow) {
    return alertSheetWithMessageText(messageText, std::nullopt, std::nullopt, std::nullopt, informativeText,
                                     parentWindow, nullptr, std::nullopt, true);
}

std::int64_t VTAlert::alertSheetWithMessageText(const Text& messageText, const Text& defaultButton,
                                                const Text& alternateButton, const Text& otherButton,
                                                const Text& informativeText, Window* parentWindow,
                                                bool block) {
    return alertSheetWithMessageText(messageText, defaultButton, alternateButton, otherButton,
                                     informativeText, parentWindow, nullptr, std::nullopt, block);
}

std::int64_t VTAlert::alertSheetWithMessageText(const Text& messageText, const Text& defaultButton,
                                                const Text& alternateButton, const Text& otherButton,
                                                const Text& informativeText, Window* parentWindow,
                                                const std::shared_ptr<VTAlertDelegate>& /*delegate*/,
                                                const Text& /*didEndSelector*/, bool /*block*/) {
    return alertSheetWithMessageText(messageText, defaultButton, alternateButton, otherButton,
                                     informativeText, parentWindow, nullptr, std::nullopt, true, nullptr);
}

std::int64_t VTAlert::alertSheetWithMessageText(const Text& messageText, const Text& defaultButton,
                                                const Text& alternateButton, const Text& otherButton,
                                                const Text& informativeText, Window* parentWindow,
                                                const std::shared_ptr<VTAlertDelegate>& delegate,
                                                const Text& didEndSelector, bool block,
                                                const std::shared_ptr<VTAlert>& alertObject) {
    return alertSheetWithMessageText(messageText, defaultButton, alternateButton, otherButton,
                                     informativeText, parentWindow, delegate, didEndSelector, block,
                                     alertObject, std::nullopt);
}

std::int64_t VTAlert::alertSheetWithMessageText(const Text& messageText, const Text& defaultButton,
                                                const Text& alternateButton, const Text& otherButton,
                                                const Text& informativeText, Window* parentWindow,
                                                const std::shared_ptr<VTAlertDelegate>& delegate,
                                                const Text& didEndSelector, bool block,
                                                const std::shared_ptr<VTAlert>& alertObject,
                                                const Text& suppressionBinding) {
    const auto& services = platform::current();
    const auto self = alertObject ? alertObject : std::make_shared<VTAlert>();
    bool isFree = false;
    services.mainThread->perform(
        [&] { isFree = parentWindow && !services.alertSheets->hasAttachedSheet(*parentWindow); },
        Wait::UntilDone);
    const auto receiver = delegate ? delegate : self;
    self->begin(isFree ? parentWindow : nullptr, receiver);

    const auto selector = didEndSelector.value_or(kAlertDidEnd);
    if (!receiver->operationNamed(selector)) {
        services.consoleLog->log(format("Alert error: delegate does not respond to selector %@", selector));
        return kNoAnswer;
    }
    PropertyList::Dictionary request{{kDidEndSelector, selector}};
    add(request, kMessageText, messageText);
    add(request, kDefaultButtonTitle, defaultButton);
    add(request, kAlternateButtonTitle, alternateButton);
    add(request, kOtherButtonTitle, otherButton);
    add(request, kInformativeText, informativeText);
    add(request, kSuppressionBinding, suppressionBinding);
    services.mainThread->perform([&] { self->alertSheetWithDictionary(request); }, Wait::UntilDone);
    return block ? self->waitForAnswer() : kNoAnswer;
}

std::int64_t VTAlert::timedAlertSheetWithMessageText(const Text& messageText, const Text& defaultButton,
                                                     const Text& alternateButton, const Text& otherButton,
                                                     const Text& informativeText, Window* parentWindow,
                                                     std::int64_t interval) {
    const auto self = std::make_shared<VTAlert>();
    try {
        std::thread([self, interval] { self->defaultReturnAfterTimeInterval(interval); }).detach();
    } catch (const std::exception& exception) {
        VTException::logException(
            exception, "+[VTAlert timedAlertSheetWithMessageText:defaultButton:alternateButton:otherButton:"
                       "informativeText:parentWindow:interval:]");
    }
    return alertSheetWithMessageText(messageText, defaultButton, alternateButton, otherButton,
                                     informativeText, parentWindow, nullptr, std::nullopt, true, self);
}

void VTAlert::begin(Window* parentWindow, const std::shared_ptr<VTAlertDelegate>& delegate) {
    std::lock_guard lock(mutex_);
    parentWindow_ = parentWindow;
    delegate_ = delegate;
    alert_ = nullptr;
    hasBegun_ = true;
    alertEnded_ = std::exchange(timeIsUp_, false);
    if (alertEnded_) {
        returnCode_ = platform::kAlertDefaultReturn;
    }
}

void VTAlert::alertSheetWithDictionary(const PropertyList::Dictionary& request) {
    const auto text = [&request](const char* key) { return platform::stringForKey(request, key); };
    const auto copy = format("%@", text(kInformativeText).value_or(""));
    platform::AlertContents contents{.messageText = text(kMessageText).value_or(""),
                                     .informativeText = format(copy),
                                     .defaultButtonTitle = text(kDefaultButtonTitle),
                                     .alternateButtonTitle = text(kAlternateButtonTitle),
                                     .otherButtonTitle = text(kOtherButtonTitle)};
    if (const auto key = text(kSuppressionBinding)) {
        contents.suppression = boundTo(*key);
    }
    auto& sheets = *platform::current().alertSheets;
    if (auto* window = parentWindow(); window && sheets.hasAttachedSheet(*window)) {
        setParentWindow(nullptr); // another thread was quicker
    }
    auto didEnd = [self = shared_from_this(), receiver = std::weak_ptr(delegate()),
                   selector = text(kDidEndSelector).value_or("")](platform::AlertSheet& sheet,
                                                                  std::int64_t answer) {
        const auto delegate = receiver.lock();
        if (const auto operation = delegate ? delegate->operationNamed(selector) : nullptr) {
            operation(sheet, answer);
        }
        self->end(answer); // whoever waits does so for a delegate of its own as well
    };
    setAlert(sheets.beginSheet(contents, parentWindow(), std::move(didEnd)));
    if (alertEnded()) { // a timer may be very short
        takeOffScreen();
    }
}

VTAlertDelegate::Operation VTAlert::operationNamed(const std::string& selector) {
    if (selector != kAlertDidEnd) {
        return nullptr;
    }
    return [this](platform::AlertSheet& sheet, std::int64_t answer) { alertDidEnd(sheet, answer); };
}

void VTAlert::alertDidEnd(platform::AlertSheet& /*alert*/, std::int64_t returnCode) {
    end(returnCode);
    takeOffScreen();
}

void VTAlert::end(std::int64_t returnCode) {
    std::lock_guard lock(mutex_);
    if (!alertEnded_) {
        returnCode_ = returnCode;
        alertEnded_ = true;
        ended_.notify_all();
    }
}

void VTAlert::defaultReturnAfterTimeInterval(std::int64_t seconds) {
    std::this_thread::sleep_for(std::chrono::seconds(seconds));
    {
        std::lock_guard lock(mutex_);
        timeIsUp_ = !hasBegun_;
    }
    end(platform::kAlertDefaultReturn);
    takeOffScreen();
}

// Which is what a wait on the main thread waits for.
void VTAlert::takeOffScreen() {
    if (const auto shown = alert()) {
        platform::current().mainThread->perform([shown] { shown->orderOut(); }, Wait::No);
    }
}

std::int64_t VTAlert::waitForAnswer() {
    const auto shown = alert();
    if (!shown) {
        return kNoAnswer;
    }
    if (!platform::isMainThread()) {
        std::unique_lock lock(mutex_);
        ended_.wait(lock, [this] { return alertEnded_; });
    } else if (!alertEnded()) {
        shown->waitUntilEnded();
    }
    platform::current().mainThread->perform([&] { shown->orderOut(); }, Wait::UntilDone);
    setAlert(nullptr);
    return returnCode();
}

VTAlert::Window* VTAlert::parentWindow() const {
    std::lock_guard lock(mutex_);
    return parentWindow_;
}
void VTAlert::setParentWindow(Window* parentWindow) {
    std::lock_guard lock(mutex_);
    parentWindow_ = parentWindow;
}
std::shared_ptr<VTAlertDelegate> VTAlert::delegate() const {
    std::lock_guard lock(mutex_);
    return delegate_.lock();
}
void VTAlert::setDelegate(const std::shared_ptr<VTAlertDelegate>& delegate) {
    std::lock_guard lock(mutex_);
    delegate_ = delegate;
}
bool VTAlert::alertEnded() const {
    std::lock_guard lock(mutex_);
    return alertEnded_;
}
void VTAlert::setAlertEnded(bool alertEnded) {
    {
        std::lock_guard lock(mutex_);
        alertEnded_ = alertEnded;
        ended_.notify_all();
    }
    if (alertEnded) {
        takeOffScreen();
    }
}
std::int64_t VTAlert::returnCode() const {
    std::lock_guard lock(mutex_);
    return returnCode_;
}
void VTAlert::setReturnCode(std::int64_t returnCode) {
    std::lock_guard lock(mutex_);
    returnCode_ = returnCode;
}
std::shared_ptr<platform::AlertSheet> VTAlert::alert() const {
    std::lock_guard lock(mutex_);
    return alert_;
}
void VTAlert::setAlert(std::shared_ptr<platform::AlertSheet> alert) {
    std::lock_guard lock(mutex_);
    alert_.swap(alert); // what was there goes after the lock
}
