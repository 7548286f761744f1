#include "VTTaskEx.h"

#include "Platform.h"
#include "VTException.h"
#include "VTLog.h"

#include <chrono>
#include <limits>
#include <thread>

namespace {

// Holds no child but that of the run that goes on.
class CurrentRun {
public:
    explicit CurrentRun(TaskReference& task) : task_(task) { task_.set(nullptr); }
    ~CurrentRun() { task_.set(nullptr); }
    CurrentRun(const CurrentRun&) = delete;
    CurrentRun& operator=(const CurrentRun&) = delete;

private:
    TaskReference& task_;
};

} // namespace

void VTTaskEx::runTask(const Path& path, const Arguments& arguments, double timeout) try {
    std::make_shared<VTTaskEx>()->runTaskWithTimeout(path, arguments, timeout);
} catch (const std::exception& exception) {
    logException(path, exception);
}

std::optional<std::string> VTTaskEx::dataFromTask(const Path& path, const Arguments& arguments,
                                                  double timeout) try {
    return std::make_shared<VTTaskEx>()->dataFromTaskWithTimeout(path, arguments, timeout);
} catch (const std::exception& exception) {
    tellConsole(path, exception);
    return std::nullopt;
}

std::optional<std::string> VTTaskEx::stringFromTask(const Path& path, const Arguments& arguments,
                                                    double timeout) {
    return stringFromTask(path, arguments, Encoding::Ascii, timeout);
}

std::optional<std::string> VTTaskEx::stringFromTask(const Path& path, const Arguments& arguments,
                                                    Encoding encoding, double timeout) {
    return text(dataFromTask(path, arguments, timeout), encoding);
}

long VTTaskEx::terminationCodeFromTask(const Path& path, const Arguments& arguments, double timeout) {
    return std::make_shared<VTTaskEx>()->terminationCodeFromTaskWithTimeout(path, arguments, timeout);
}

void VTTaskEx::runTaskWithTimeout(const Path& path, const Arguments& arguments, double timeout) {
    startTimeout(timeout);
    const CurrentRun run(theTask_);
    runTask(path, arguments, &theTask_);
}

std::optional<std::string> VTTaskEx::dataFromTaskWithTimeout(const Path& path, const Arguments& arguments,
                                                             double timeout) {
    startTimeout(timeout);
    const CurrentRun run(theTask_);
    return dataFromTask(path, arguments, &theTask_);
}

long VTTaskEx::terminationCodeFromTaskWithTimeout(const Path& path, const Arguments& arguments,
                                                  double timeout) {
    startTimeout(timeout);
    const CurrentRun run(theTask_);
    return terminationCodeFromTask(path, arguments, &theTask_);
}

int VTTaskEx::wholeSeconds(double timeout) {
    if (!(timeout >= 1)) { // no number counts as none
        return 0;
    }
    constexpr int kMost = std::numeric_limits<int>::max();
    return timeout < kMost ? static_cast<int>(timeout) : kMost;
}

void VTTaskEx::startTimeout(double timeout) {
    try {
        std::thread([self = shared_from_this(), seconds = wholeSeconds(timeout)] {
            self->setupTimeout(seconds);
        }).detach();
    } catch (const std::exception& error) {
        VTException::logException(error, "-[VTTaskEx setupTimeout:]");
    }
}

void VTTaskEx::setupTimeout(int seconds) {
    std::this_thread::sleep_for(std::chrono::seconds(seconds));
    const auto mainThread = platform::current().mainThread;
    try {
        mainThread->perform([this] { timeout(); }, platform::Wait::UntilDone);
    } catch (const std::exception& exception) { // it would end the program: nothing else is on this thread
        VTException::logException(exception, "-[VTTaskEx setupTimeout:]");
    }
}

void VTTaskEx::timeout() {
    const auto task = theTask();
    if (!task || !task->isRunning()) {
        return;
    }
    platform::current().consoleLog->log("Task timed out. Terminating...");
    VTLog::appendLog(format("Task %@ timed out. Terminating...", task->launchPath()));
    task->terminate();
}
