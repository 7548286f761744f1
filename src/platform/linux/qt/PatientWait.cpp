#include "PatientWait.h"

#include "Threads.h"

#include <QCoreApplication>
#include <QEventLoop>
#include <memory>
#include <mutex>
#include <system_error>
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

bool waitPatiently(const std::function<void()>& work) {
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
    } catch (const std::system_error&) {
        work(); // without a thread there is only this one
        return true;
    }
    loop.exec(QEventLoop::ExcludeUserInputEvents);
    std::lock_guard lock(rendezvous->mutex);
    rendezvous->loop = nullptr;
    return rendezvous->isDone;
}

} // namespace platform
