#include "VTTaskEx.h"

#include "VTException.h"
#include "VTLog.h"

#include <thread>
#include <utility>

using platform::ChildProcess;
using Stream = ChildProcess::Stream;

void VTTaskEx::asyncDataFromTask(const Path& path, const Arguments& arguments, Delegate delegate,
                                 std::shared_ptr<void> object,
                                 const std::optional<Environment>& environment) try {
    // An absent path is as missing as an empty one.
    auto task = std::make_shared<ChildProcess>(ChildProcess::Program{.path = path.value_or(""),
                                                                     .arguments = arguments,
                                                                     .environment = environment,
                                                                     .output = Stream::Pipe,
                                                                     .errors = Stream::Null});
    {
        // What was there before goes when the lock is gone: its owner may come back here.
        std::lock_guard lock(mutex_);
        delegate_.swap(delegate);
        object_.swap(object);
    }
    setTheTask(std::move(task));
    std::thread([self = shared_from_this()] { self->launchAsyncTask(); }).detach();
} catch (const std::exception& exception) {
    VTException::logException(exception, "-[VTTaskEx launchAsyncTask]");
}

void VTTaskEx::launchAsyncTask() try {
    const auto task = theTask();
    if (!task) {
        VTLog::appendLogAndPrint("Unable to launch async task - no task set");
        return;
    }
    if (!isRunnable(task->launchPath())) {
        VTLog::appendLog("Unable to launch async task - task does not exist or is not executable");
        return;
    }
    task->launch();
    for (bool atEnd = false; !atEnd;) {
        const auto chunk = task->readOutput();
        asyncTaskReturnData(chunk);
        atEnd = chunk.empty();
    }
} catch (const std::exception& exception) {
    VTException::logException(exception, "-[VTTaskEx launchAsyncTask]");
}

void VTTaskEx::asyncTaskReturnData(const std::string& chunk) {
    Delegate delegate;
    std::shared_ptr<void> object;
    {
        std::lock_guard lock(mutex_);
        delegate = delegate_;
        object = object_;
    }
    if (delegate) {
        delegate(chunk, *this, object);
    }
    if (chunk.empty()) {
        terminateAsyncTask();
    }
}

void VTTaskEx::terminateTask() {
    terminateAsyncTask();
}

void VTTaskEx::terminateAsyncTask() {
    const auto task = theTask_.set(nullptr);
    if (task) {
        task->closeOutput();
    }
    Delegate delegate;
    std::shared_ptr<void> object;
    {
        std::lock_guard lock(mutex_);
        delegate.swap(delegate_);
        object.swap(object_);
    }
    if (task && task->isRunning()) {
        task->terminate();
    }
}
