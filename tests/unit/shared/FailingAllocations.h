#pragma once

// Memory that runs out on this thread: from its `after`th allocation on, while this object lives, operator
// new throws. Not with a sanitizer, whose own operator new must stay.
class FailingAllocations {
public:
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    static constexpr bool kArePossible = false;
#else
    static constexpr bool kArePossible = true;
#endif
    enum class Which { One, AllThatFollow };

    explicit FailingAllocations(int after, Which which = Which::One);
    ~FailingAllocations();
    FailingAllocations(const FailingAllocations&) = delete;
    FailingAllocations& operator=(const FailingAllocations&) = delete;

    static bool hasFailed();
};
