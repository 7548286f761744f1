#include "OnDemand.h"

#include "Platform.h"

#include <dlfcn.h>
#include <string>

namespace platform {

// The folder stands in the program itself, as its run path.
void* functionOnDemand(const char* library, const char* function) {
    void* handle = ::dlopen(library, RTLD_NOW | RTLD_LOCAL);
    void* found = handle ? ::dlsym(handle, function) : nullptr;
    if (!found) {
        const char* problem = ::dlerror();
        current().consoleLog->log(std::string("Unable to load ") + library + ": " +
                                  (problem ? problem : function));
    }
    return found;
}

} // namespace platform
