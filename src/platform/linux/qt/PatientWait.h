#pragma once

#include <functional>

namespace platform {

// Does work that may take as long as somebody takes to answer, on a thread of its own while the main thread
// goes on drawing and doing what it is handed. What the user types or clicks waits, since the caller is in
// the midst of something. On any other thread: at once, here.
//
// False when the program ends first; the work then goes on alone, with what it holds itself.
bool waitPatiently(const std::function<void()>& work);

} // namespace platform
