#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <vector>

// What the benchmarks have in common.

// Is this the run that only shows that the program has not rotted?
inline bool isTiny() {
    return std::getenv("VT_BENCH_TINY") != nullptr;
}

// Ends the program with an error when the condition, of which this is the name, does not hold.
inline void require(bool condition, const char* what) {
    if (!condition) {
        std::fprintf(stderr, "%s failed\n", what);
        std::exit(EXIT_FAILURE);
    }
}

// The upper one of the two in the middle of an even number.
inline double median(std::vector<double> values) {
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::ranges::nth_element(values, middle);
    return *middle;
}
