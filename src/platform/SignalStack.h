#pragma once

#include <csignal>

namespace platform {

// Gives the calling thread a stack of its own for signal handlers, as long as this object lives, so that a
// crash can be logged when the thread's own stack has overflowed. Without memory for it there is none. To be
// destroyed on the thread that made it.
class SignalStack {
public:
    SignalStack();
    ~SignalStack();
    SignalStack(const SignalStack&) = delete;
    SignalStack& operator=(const SignalStack&) = delete;

private:
    void* memory_; // with a page in front that nobody may touch
    stack_t previous_{};
};

} // namespace platform
