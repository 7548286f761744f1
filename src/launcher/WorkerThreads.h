#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <stop_token>

// Threads that are started, do one thing and end. Nothing waits for them but the program's end.
class WorkerThreads {
public:
    WorkerThreads();
    ~WorkerThreads();
    WorkerThreads(const WorkerThreads&) = delete;
    WorkerThreads& operator=(const WorkerThreads&) = delete;

    // Runs `work` on a thread of its own. It must own or share whatever it uses, since it may outlive
    // this object, and should give up when its stop token asks. No exception may leave it. False when no
    // thread could be started: the system has none or no memory left, or `finish` has been called. Any
    // thread.
    bool detachNewThread(std::function<void(std::stop_token)> work);

    // Asks all threads to stop and waits for them. False when some still run at the end of the time;
    // those go on alone.
    bool finish(std::chrono::milliseconds limit);

private:
    struct State;
    std::shared_ptr<State> state_;
};
