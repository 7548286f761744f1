#include "OnDemand.h"

#include "Platform.h"

#include <dlfcn.h>
#include <memory>
#include <string>
#include <unistd.h>
#include <vector>

namespace platform {

namespace {

// The run path of the program, where its libraries lie. dlopen itself looks there as well, but not when a
// sanitizer stands between.
std::vector<std::string> searchPath(void* program) {
    Dl_serinfo size{};
    if (::dlinfo(program, RTLD_DI_SERINFOSIZE, &size) != 0) {
        return {};
    }
    const std::unique_ptr<char[]> memory(new char[size.dls_size]()); // NOLINT: as dlinfo wants it
    auto* list = reinterpret_cast<Dl_serinfo*>(memory.get());
    *list = size;
    std::vector<std::string> folders;
    if (::dlinfo(program, RTLD_DI_SERINFO, list) == 0) {
        for (unsigned i = 0; i < list->dls_cnt; ++i) {
            folders.emplace_back((&list->dls_serpath[0] + i)->dls_name);
        }
    }
    return folders;
}

} // namespace

void* functionOnDemand(const char* library, const char* function) {
    void* program = ::dlopen(nullptr, RTLD_NOW);
    std::string problem = "it is nowhere";
    for (const auto& folder : searchPath(program)) {
        const auto path = folder + "/" + library;
        if (::access(path.c_str(), F_OK) != 0) {
            continue;
        }
        void* handle = ::dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
        if (void* found = handle ? ::dlsym(handle, function) : nullptr) {
            return found;
        }
        const char* text = ::dlerror();
        problem = text ? text : function;
    }
    current().consoleLog->log(std::string("Unable to load ") + library + ": " + problem);
    return nullptr;
}

} // namespace platform
