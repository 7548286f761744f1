#include "FontConfiguration.h"

#include <exception>
#include <fontconfig/fontconfig.h>
#include <thread>

namespace platform {

void loadFontConfiguration() {
    try {
        std::thread([] { FcInit(); }).detach();
    } catch (const std::exception&) {
        // Then it is read when the first font is asked for.
    }
}

} // namespace platform
