#include "FailingAllocations.h"

#include <cstddef>
#include <cstdlib>
#include <new>

namespace {

constexpr int kNever = -1;

struct Plan {
    int left = kNever;
    bool goesOn = false;
    bool failed = false;

    bool fails() {
        if (left == kNever) {
            return false;
        }
        if (left > 0) {
            --left;
            return false;
        }
        if (!goesOn) {
            left = kNever;
        }
        return failed = true;
    }
};

thread_local Plan plan;

} // namespace

FailingAllocations::FailingAllocations(int after, Which which) {
    plan = {.left = after, .goesOn = which == Which::AllThatFollow};
}

FailingAllocations::~FailingAllocations() {
    plan.left = kNever;
}

bool FailingAllocations::hasFailed() {
    return plan.failed;
}

#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)

void* operator new(std::size_t size) {
    void* memory = plan.fails() ? nullptr : std::malloc(size > 0 ? size : 1);
    if (!memory) {
        throw std::bad_alloc();
    }
    return memory;
}

void operator delete(void* memory) noexcept {
    std::free(memory);
}

void operator delete(void* memory, std::size_t) noexcept {
    std::free(memory);
}

#endif
