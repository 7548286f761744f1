#include "WorkerThreads.h"

#include "SignalStack.h"

#include <condition_variable>
#include <cstddef>
#include <exception>
#include <mutex>
#include <thread>

struct WorkerThreads::State {
    std::stop_source stop;
    std::mutex mutex;
    std::condition_variable ended;
    std::size_t running = 0;
};

WorkerThreads::WorkerThreads() : state_(std::make_shared<State>()) {}

WorkerThreads::~WorkerThreads() {
    state_->stop.request_stop();
}

bool WorkerThreads::detachNewThread(std::function<void(std::stop_token)> work) {
    {
        std::lock_guard lock(state_->mutex);
        if (state_->stop.stop_requested()) {
            return false;
        }
        ++state_->running;
    }
    auto body = [state = state_, work = std::move(work)]() mutable {
        const platform::SignalStack signalStack;
        work(state->stop.get_token());
        work = nullptr; // what it holds goes before the end is told
        std::lock_guard lock(state->mutex);
        --state->running;
        state->ended.notify_all();
    };
    try {
        std::thread(std::move(body)).detach();
        return true;
    } catch (const std::exception&) {
        std::lock_guard lock(state_->mutex);
        --state_->running;
        return false;
    }
}

bool WorkerThreads::finish(std::chrono::milliseconds limit) {
    state_->stop.request_stop();
    std::unique_lock lock(state_->mutex);
    return state_->ended.wait_for(lock, limit, [this] { return state_->running == 0; });
}
