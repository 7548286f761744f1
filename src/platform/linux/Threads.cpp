#include "Threads.h"

#include <sys/resource.h>
#include <unistd.h>

namespace platform {

bool isMainThread() {
    thread_local const bool isFirst = gettid() == getpid();
    return isFirst;
}

void yieldToOthers() {
    constexpr int kNice = 10;
    ::setpriority(PRIO_PROCESS, static_cast<id_t>(::gettid()), kNice); // of this thread alone
}

} // namespace platform
