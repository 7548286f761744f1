#include "FontConfiguration.h"

#include <fontconfig/fontconfig.h>
#include <system_error>
#include <thread>

namespace platform {

void loadFontConfiguration() {
    try {
        std::thread([] { FcInit(); }).detach();
    } catch (const std::system_error&) {
        // Then it is read when the first font is asked for.
    }
}

} // namespace platform
