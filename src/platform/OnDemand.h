#pragma once

namespace platform {

// A function of a library of ours that is loaded with the first call, because few runs need it and it brings
// many others with it. Such libraries lie in the bundle's `PlugIns` folder and stay loaded. Null when it
// cannot be had, which is told to the console. Any thread.
void* functionOnDemand(const char* library, const char* function);

} // namespace platform
