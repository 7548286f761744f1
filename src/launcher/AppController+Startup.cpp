#include "AppController.h"

#include "Platform.h"
#include "VTException.h"
#include "VTLog.h"

#include <chrono>

std::shared_ptr<AppController> AppController::init() {
    VTLog::createNewLog();
    platform::current().userDefaults->registerDefaults({{"unhideOnLaunchedAppExit", 1}, {"sortType", 0}});
    return std::shared_ptr<AppController>(new AppController);
}

void AppController::awakeFromNib(const Outlets& outlets) {
    try {
        outlets_ = outlets;
        startRebuild();
        auto sortType = platform::current().userDefaults->integerForKey("sortType");
        for (std::size_t i = 0; i < outlets_.sortMenu->numberOfItems(); ++i) {
            auto& item = outlets_.sortMenu->itemAtIndex(i);
            if (item.tag() == sortType) {
                item.setState(true);
            }
        }
    } catch (const std::exception& exception) {
        VTException::logException(exception, "-[AppController awakeFromNib]");
    }
}

bool AppController::applicationWillTerminate() {
    return threads_.finish(std::chrono::milliseconds(500));
}
