#pragma once

#include "MainThread.h"

#include <memory>

namespace platform {

// Queued calls into the Qt event loop. Made on the main thread, after the application object.
class QtMainThread : public MainThread {
public:
    QtMainThread();
    ~QtMainThread() override;
    QtMainThread(const QtMainThread&) = delete;
    QtMainThread& operator=(const QtMainThread&) = delete;

    void perform(std::function<void()> work, Wait wait) override;
    void performAfter(std::chrono::milliseconds delay, std::function<void()> work) override;

    // Once the event loop has ended, on the main thread: what still waits is dropped, its callers
    // return, and so does everyone who comes later.
    void close();

private:
    struct State;
    std::shared_ptr<State> state_;
};

} // namespace platform
