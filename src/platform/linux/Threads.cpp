#include "Threads.h"

#include <unistd.h>

namespace platform {

bool isMainThread() {
    thread_local const bool isFirst = gettid() == getpid();
    return isFirst;
}

} // namespace platform
