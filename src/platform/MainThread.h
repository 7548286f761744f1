#pragma once

#include <chrono>
#include <functional>

namespace platform {

enum class Wait { No, UntilDone };

// Hands work to the thread that runs the interface. Work handed over without waiting runs in order.
class MainThread {
public:
    virtual ~MainThread() = default;

    // From the main thread with `UntilDone`: runs at once. Once the main loop has ended, work is
    // dropped and waiting calls return. An exception that the work throws is rethrown to a waiting caller
    // and otherwise told to the console.
    virtual void perform(std::function<void()> work, Wait wait) = 0;

    // Does the work once, so much later, unless the main loop has ended by then; returns at once. Any thread.
    virtual void performAfter(std::chrono::milliseconds delay, std::function<void()> work) = 0;
};

} // namespace platform
