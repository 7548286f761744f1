#include "QtMainThread.h"

#include "Threads.h"

#include <QCoreApplication>
#include <condition_variable>
#include <exception>
#include <mutex>

namespace platform {

namespace {

struct Task {
    std::function<void()> work;
    std::exception_ptr failure;
    bool done = false;
};

} // namespace

// One lock and one condition for all tasks: waiting callers are few.
struct QtMainThread::State {
    std::mutex mutex;
    std::condition_variable changed;
    bool closed = false;

    // On the main thread, which alone closes: what starts here cannot be closed in between.
    void run(Task& task) {
        {
            std::lock_guard lock(mutex);
            if (closed) {
                return;
            }
        }
        try {
            task.work();
        } catch (...) {
            task.failure = std::current_exception();
        }
        task.work = nullptr;
        std::lock_guard lock(mutex);
        task.done = true;
        changed.notify_all();
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
    auto task = std::make_shared<Task>(Task{std::move(work), nullptr, false});
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
    if (wait == Wait::No) {
        return;
    }
    std::unique_lock lock(state_->mutex);
    state_->changed.wait(lock, [&] { return task->done || state_->closed; });
    if (task->failure) {
        std::rethrow_exception(task->failure);
    }
}

void QtMainThread::close() {
    std::lock_guard lock(state_->mutex);
    state_->closed = true;
    state_->changed.notify_all();
}

} // namespace platform
