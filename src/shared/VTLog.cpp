#include "VTLog.h"

#include "Bundle.h"
#include "Package.h"
#include "Text.h"
#include "Threads.h"
#include "VTException.h"

#include <cstdio>
#include <cstdlib>
#include <cxxabi.h>
#include <exception>

namespace {

constexpr std::size_t kShortEntry = 99;              // UTF-16 code units, the entry and the backlog each
constexpr std::size_t kMaximumEntriesToWaitFor = 19; // at the application's end

std::string replacingAll(std::string text, std::string_view what, std::string_view replacement) {
    for (auto place = text.find(what); place != std::string::npos;
         place = text.find(what, place + replacement.size())) {
        text.replace(place, what.size(), replacement);
    }
    return text;
}

std::terminate_handler previousTerminateHandler = nullptr; // set with the singleton

// The reason of the exception that nobody caught; absent when the process ends for another cause.
std::optional<std::string> uncaughtReason() {
    const auto exception = std::current_exception();
    if (!exception) {
        return std::nullopt;
    }
    try {
        std::rethrow_exception(exception);
    } catch (const std::exception& caught) {
        return caught.what();
    } catch (...) {
        return VTException::nameOfType(*abi::__cxa_current_exception_type());
    }
}

// Puts the reason on disk before the process ends as it would have.
[[noreturn]] void uncaughtExceptionHandler() {
    static std::atomic_flag entered;
    if (!entered.test_and_set()) {
        VTLog::appendLogAndPrint(uncaughtReason());
        VTLog::finishWriting();
    }
    previousTerminateHandler();
    std::abort();
}

} // namespace

VTLog& VTLog::sharedController() {
    static auto* const log = new VTLog;
    return *log;
}

VTLog::VTLog()
    : willTerminateObservation_(platform::current().notificationCenter->addObserver(
          platform::kApplicationWillTerminateNotification, &VTLog::willTerminate)),
      queue_([this](std::span<const Entry> waiting) { return appendLogOnThread(waiting); }) {
    previousTerminateHandler = std::get_terminate();
    std::set_terminate(&uncaughtExceptionHandler);
}

std::optional<std::string> VTLog::appName() const {
    {
        std::lock_guard lock(mutex_);
        if (appName_) {
            return appName_;
        }
    }
    const auto executable = platform::mainExecutablePath();
    auto name = platform::nameWithoutExtension(executable);
    return name.empty() ? std::nullopt : std::optional<std::string>(name);
}

void VTLog::setAppName(std::optional<std::string> name) {
    std::lock_guard lock(mutex_);
    appName_ = std::move(name);
}

std::shared_ptr<platform::FileHandle> VTLog::fileHandle() const {
    std::lock_guard lock(mutex_);
    return fileHandle_;
}

void VTLog::setFileHandle(std::shared_ptr<platform::FileHandle> file) {
    std::lock_guard lock(mutex_);
    fileHandle_.swap(file); // the old one is closed outside the lock
}

void VTLog::print(std::string_view text) {
    std::fwrite(text.data(), 1, text.size(), stdout);
    std::fflush(stdout);
}

void VTLog::append(std::string text) {
    auto& log = sharedController();
    const auto length = platform::isMainThread() ? 0 : platform::utf16Length(text);
    log.appendTextToLog(std::move(text));
    if (length >= 1 && length <= kShortEntry && log.bytesInQueue() <= kShortEntry) {
        finishWriting();
    }
}

void VTLog::appendAndPrint(const std::string& text) {
    std::string entry(platform::trimmed(text));
    appendLog(entry);
    entry = replacingAll(replacingAll(std::move(entry), "%@", ""), "%", "%%");
    std::erase(entry, '\0');
    print(entry + '\n');
}

void VTLog::appendTextToLog(std::string text) {
    const auto trimmed = platform::trimmed(text);
    if (trimmed.empty()) {
        return;
    }
    if (trimmed.size() != text.size()) {
        text = std::string(trimmed);
    }
    const auto length = platform::utf16Length(text);
    bytesInQueue_ += length;
    if (auto* queue = writeQueue()) {
        queue->addOperation({std::move(text), length});
    }
}

void VTLog::finishWriting() {
    if (auto* queue = sharedController().writeQueue()) {
        queue->waitUntilAllOperationsAreFinished();
    }
}

void VTLog::willTerminate(const platform::Notification&) {
    auto& log = sharedController();
    platform::NotificationCenter::Observation observation;
    {
        std::lock_guard lock(log.mutex_);
        std::swap(observation, log.willTerminateObservation_);
    }
    if (auto* queue = log.writeQueue(); queue && queue->operationCount() <= kMaximumEntriesToWaitFor) {
        finishWriting();
    }
    log.setAppName(std::nullopt);
    log.setWriteQueue(nullptr);
    log.setFileHandle(nullptr);
}
