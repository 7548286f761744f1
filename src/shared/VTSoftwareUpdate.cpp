#include "VTSoftwareUpdate.h"

#include "Bundle.h"
#include "Platform.h"
#include "VTLocalPaths.h"
#include "VTLog.h"

#include <cstdint>

namespace {

constexpr const char* kUpdaterName = "Vantorel Software Update.app";
constexpr const char* kNoPath = "Unable to launch Software Update - path doesn't exist";

// 0 when there is no such bundle or it names none.
std::int64_t versionOf(const VTLocalPaths::Path& bundlePath) {
    if (!bundlePath || !platform::current().fileManager->fileExists(*bundlePath)) {
        return 0;
    }
    const auto information = platform::Bundle{*bundlePath}.infoDictionary();
    const auto version = information.find("CFBundleVersion");
    return version == information.end() ? 0 : platform::integerValue(version->second);
}

std::optional<std::string> updaterInside() {
    const auto bundle = platform::Bundle::main();
    return bundle ? std::optional(bundle->resourcePath() + "/" + kUpdaterName) : std::nullopt;
}

} // namespace

std::optional<std::string> VTSoftwareUpdate::updaterPath() {
    const auto installed = VTLocalPaths::appending(VTLocalPaths::applicationDirectory(false),
                                                   std::string("Vantorel/") + kUpdaterName);
    const auto inside = updaterInside();
    if (versionOf(installed) >= versionOf(inside)) {
        return installed;
    }
    const auto copy = VTLocalPaths::appending(VTLocalPaths::tempDirectory(), kUpdaterName);
    if (copy) {
        auto& fileManager = *platform::current().fileManager;
        if (fileManager.fileExists(*copy)) {
            fileManager.removeItem(*copy);
        }
        fileManager.copyItem(*inside, *copy);
    }
    return copy;
}

void VTSoftwareUpdate::launchSoftwareUpdate() {
    if (const auto path = updaterPath()) {
        platform::current().workspace->openFile(*path);
    } else {
        VTLog::appendLogAndPrint(kNoPath);
    }
}
