#include "AppController.h"

#include "Bundle.h"
#include "Package.h"
#include "Platform.h"
#include "Text.h"
#include "VTException.h"
#include "VTLocalPaths.h"
#include "WebAddress.h"

namespace {

// The maker's pages.
constexpr const char* kHomePage = "https://www.vantorel.example/";
constexpr const char* kProductPage = "https://www.vantorel.example/ostendel/";
constexpr const char* kBugReportPage = "https://www.vantorel.example/support/report-a-bug";
constexpr const char* kFeatureRequestPage = "https://www.vantorel.example/support/suggest-a-feature";

constexpr const char* kApplicationName = "launcher";

std::optional<std::string> ostendelUserManual() {
    return VTLocalPaths::appending(VTLocalPaths::appSupportDirectory(false),
                                   "Vantorel/Ostendel/Documentation/Ostendel User Manual.pdf");
}

} // namespace

void AppController::populateUserManuals(std::stop_token stop) {
    try {
        const auto& services = platform::current();
        auto folder = VTLocalPaths::appending(VTLocalPaths::localDocumentationDirectory(), "Vantorel");
        if (!folder) {
            return;
        }
        std::error_code error; // a folder that is not there has no manuals
        for (const auto& entry :
             services.fileManager->openFolder(*folder)->entries(platform::Listing::Everything, error)) {
            if (stop.stop_requested()) {
                return;
            }
            if (platform::lowercase(platform::pathExtension(entry.name)) != "pdf") {
                continue;
            }
            services.mainThread->perform(
                [&] {
                    outlets_.userManualMenu->addItem(std::string(platform::nameWithoutExtension(entry.name)),
                                                     VTLocalPaths::appending(folder, entry.name));
                },
                platform::Wait::UntilDone);
        }
    } catch (const std::exception& exception) {
        VTException::logException(exception, "-[AppController populateUserManuals]");
    }
}

void AppController::showUserManual(const outlet::MenuItem& item) {
    if (auto path = item.representedPath()) {
        platform::current().workspace->openFile(*path);
    }
}

void AppController::helpUserManual() {
    auto manual = ostendelUserManual();
    if (manual && platform::current().fileManager->fileExists(*manual)) {
        platform::current().workspace->openFile(*manual);
    }
}

void AppController::helpOstendelHome() {
    platform::current().workspace->openURL(kProductPage);
}

void AppController::helpReportBug() {
    auto bundle = platform::Bundle::main();
    auto version = bundle ? platform::stringForKey(bundle->infoDictionary(), "CFBundleShortVersionString")
                          : std::nullopt;
    platform::current().workspace->openURL(
        webAddress(kBugReportPage, {{"app", kApplicationName}, {"version", version.value_or("")}}));
}

void AppController::helpSuggestFeature() {
    platform::current().workspace->openURL(webAddress(kFeatureRequestPage, {{"app", kApplicationName}}));
}

void AppController::helpVTHome() {
    platform::current().workspace->openURL(kHomePage);
}
