#include "QtMainThread.h"

#include "Platform.h"
#include "Threads.h"

#include <QCoreApplication>
#include <QTimer>
#include <condition_variable>
#include <exception>
#include <mutex>
#include <string>
#include <utility>

namespace platform {

namespace {

struct Task {
    enum class Stage { Waits, Runs, Ended };

    std::function<void()> work;
    bool hasWaitingCaller = false;
    Stage stage = Stage::Waits;
    std::exception_ptr failure;
};

// Nobody waits for it, so that only the console can be told.
void report(const std::exception_ptr& failure) {
    try {
        std::rethrow_exception(failure);
    } catch (const std::exception& exception) {
        current().consoleLog->log(std::string("Work on the main thread failed: ") + exception.what());
    } catch (...) {
        current().consoleLog->log("Work on the main thread failed.");
    }
}

} // namespace

// One lock and one condition for all tasks: waiting callers are few.
struct QtMainThread::State {
    std::mutex mutex;
    std::condition_variable changed;
    bool closed = false;

    // On the main thread.
    void run(Task& task) {
        {
            std::lock_guard lock(mutex);
            if (closed) {
                return;
            }
            task.stage = Task::Stage::Runs;
        }
        std::exception_ptr failure;
        try {
            task.work();
        } catch (...) {
            failure = std::current_exception();
        }
        task.work = nullptr; // what it holds goes before its caller does
        if (failure && !task.hasWaitingCaller) {
            report(failure);
        }
        std::lock_guard lock(mutex);
        task.failure = failure;
        task.stage = Task::Stage::Ended;
        changed.notify_all();
    }

    // On the caller's thread. Work that runs is waited for whatever happens, since it uses what its caller
    // holds.
    void waitFor(Task& task) {
        {
            std::unique_lock lock(mutex);
            changed.wait(lock, [&] {
                return task.stage == Task::Stage::Ended || (task.stage == Task::Stage::Waits && closed);
            });
        }
        task.work = nullptr; // when it was dropped
        if (task.failure) {
            std::rethrow_exception(task.failure);
        }
    }
};

QtMainThread::QtMainThread() : state_(std::make_shared<State>()) {}

QtMainThread::~QtMainThread() {
    close();
}

void QtMainThread::perform(std::function<void()> work, Wait wait) {
    if (wait == Wait::UntilDone && isMainThread()) {
        work();
        return;
    }
    auto task = std::make_shared<Task>();
    task->work = std::move(work);
    task->hasWaitingCaller = wait == Wait::UntilDone;
    {
        // The application object may go once `close` has run, not before.
        std::lock_guard lock(state_->mutex);
        if (state_->closed) {
            return;
        }
        QMetaObject::invokeMethod(
            QCoreApplication::instance(), [state = state_, task] { state->run(*task); },
            Qt::QueuedConnection);
    }
    if (wait == Wait::UntilDone) {
        state_->waitFor(*task);
    }
}

void QtMainThread::performAfter(std::chrono::milliseconds delay, std::function<void()> work) {
    auto task = std::make_shared<Task>();
    task->work = std::move(work);
    auto run = [state = state_, task] { state->run(*task); };
    perform([delay, run] { QTimer::singleShot(delay, Qt::PreciseTimer, QCoreApplication::instance(), run); },
            Wait::No);
}

void QtMainThread::close() {
    std::lock_guard lock(state_->mutex);
    state_->closed = true;
    state_->changed.notify_all();
}

} // namespace platform
