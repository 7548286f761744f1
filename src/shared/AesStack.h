#pragma once

#include <cstddef>
#include <cstring>

// Wipes the stack next to the caller's own frame: there the functions that it has called, and that are not
// inlined, had theirs. What the compiler kept in them when it ran out of registers has no name.
[[gnu::noinline]] inline void wipeFramesOfCallees() {
    std::byte frames[1024]; // more than the deepest of the cipher's
    ::explicit_bzero(frames, sizeof frames);
}
