#pragma once

#include <QEventLoop>
#include <chrono>
#include <functional>
#include <optional>

namespace platform {

// Does the work on a thread of its own while the main thread goes on drawing and doing what it is handed, as
// far as these events go. On any other thread: at once, here.
//
// False when the program ends or the limit is over first; the work then goes on alone, with what it holds
// itself.
bool waitInLoop(const std::function<void()>& work, QEventLoop::ProcessEventsFlags events,
                std::optional<std::chrono::milliseconds> limit = std::nullopt);

// For as long as somebody takes to answer. What the user types or clicks waits, since the caller is in the
// midst of something.
bool waitPatiently(const std::function<void()>& work);

} // namespace platform
