#include "PatientWait.h"

#include "Threads.h"

#include <QCoreApplication>
#include <QTimer>
#include <exception>
#include <memory>
#include <mutex>
#include <thread>

namespace platform {

namespace {

// Between the thread that works and the one that waits, whichever goes first.
struct Rendezvous {
    std::mutex mutex;
    QEventLoop* loop = nullptr; // of whoever still waits
    bool isDone = false;

    void finish() {
        std::lock_guard lock(mutex);
        isDone = true;
        if (loop) {
            // Queued, so that it counts also before the loop runs.
            QMetaObject::invokeMethod(loop, &QEventLoop::quit, Qt::QueuedConnection);
        }
    }
};

} // namespace

bool waitInLoop(const std::function<void()>& work, QEventLoop::ProcessEventsFlags events,
                std::optional<std::chrono::milliseconds> limit) {
    if (!isMainThread() || !QCoreApplication::instance()) {
        work();
        return true;
    }
    QEventLoop loop;
    const auto rendezvous = std::make_shared<Rendezvous>();
    rendezvous->loop = &loop;
    try {
        std::thread([rendezvous, work] {
            work();
            rendezvous->finish();
        }).detach();
    } catch (const std::exception&) {
        work(); // without a thread there is only this one
        return true;
    }
    if (limit) {
        QTimer::singleShot(*limit, &loop, &QEventLoop::quit);
    }
    loop.exec(events);
    std::lock_guard lock(rendezvous->mutex);
    rendezvous->loop = nullptr;
    return rendezvous->isDone;
}

bool waitPatiently(const std::function<void()>& work) {
    return waitInLoop(work, QEventLoop::ExcludeUserInputEvents);
}

} // namespace platform
