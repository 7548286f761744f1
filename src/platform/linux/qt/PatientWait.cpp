#include "PatientWait.h"

#include "Threads.h"

#include <QCoreApplication>
#include <QEventLoop>
#include <exception>
#include <memory>
#include <mutex>
#include <system_error>
#include <thread>
#include <utility>

namespace platform {

namespace {

// Between the thread that works and the one that waits, whichever goes first.
struct Rendezvous {
    std::mutex mutex;
    QEventLoop* loop = nullptr; // of whoever still waits
    bool isDone = false;
    std::exception_ptr failure = nullptr;

    void finish(std::exception_ptr thrown) {
        std::lock_guard lock(mutex);
        isDone = true;
        failure = std::move(thrown);
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
            std::exception_ptr failure;
            try {
                work();
            } catch (...) {
                failure = std::current_exception();
            }
            rendezvous->finish(failure);
        }).detach();
    } catch (const std::system_error&) {
        work(); // without a thread there is only this one
        return true;
    }
    loop.exec(QEventLoop::ExcludeUserInputEvents);
    std::lock_guard lock(rendezvous->mutex);
    rendezvous->loop = nullptr;
    if (rendezvous->failure) {
        std::rethrow_exception(rendezvous->failure);
    }
    return rendezvous->isDone;
}

} // namespace platform
