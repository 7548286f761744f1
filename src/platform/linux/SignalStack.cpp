#include "SignalStack.h"

#include <cstddef>
#include <sys/mman.h>
#include <unistd.h>

namespace platform {

namespace {

constexpr std::size_t kSize = std::size_t{256}
                              << 10; // bytes; the names of a stack's functions take much of it

std::size_t guardSize() {
    return static_cast<std::size_t>(::sysconf(_SC_PAGESIZE));
}

} // namespace

SignalStack::SignalStack()
    : memory_(::mmap(nullptr, guardSize() + kSize, PROT_READ | PROT_WRITE,
                     MAP_PRIVATE | MAP_ANONYMOUS | MAP_STACK, -1, 0)) {
    if (memory_ != MAP_FAILED) {
        ::mprotect(memory_, guardSize(), PROT_NONE);
        const stack_t stack{
            .ss_sp = static_cast<char*>(memory_) + guardSize(), .ss_flags = 0, .ss_size = kSize};
        ::sigaltstack(&stack, &previous_);
    }
}

SignalStack::~SignalStack() {
    if (memory_ != MAP_FAILED) {
        ::sigaltstack(&previous_, nullptr);
        ::munmap(memory_, guardSize() + kSize);
    }
}

} // namespace platform
