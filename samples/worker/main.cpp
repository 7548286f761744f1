// A worker: it reports to the controlling application what its arguments say, one after the other.
//
//   SampleWorker MESSAGE...
//
//   step            one more step is done
//   text=TEXT       an error, as text
//   error=TEXT      an error, as an object
//   finished        the task has ended
//   disconnect      the worker leaves

#include "VTLog.h"
#include "VTTaskNotification.h"
#include "linux/BasicServices.h"

#include <cstdio>
#include <string>
#include <string_view>

namespace {

// False when there is no such message.
bool report(std::string_view message) {
    constexpr std::string_view kText = "text=";
    constexpr std::string_view kError = "error=";
    if (message == "step") {
        VTTaskNotification::postIncrementProgress();
    } else if (message.starts_with(kText)) {
        VTTaskNotification::postTaskErrorString(std::string(message.substr(kText.size())));
    } else if (message.starts_with(kError)) {
        VTTaskNotification::postTaskError(
            platform::PropertyList::Dictionary{{"description", std::string(message.substr(kError.size()))}});
    } else if (message == "finished") {
        VTTaskNotification::postTaskFinished();
    } else if (message == "disconnect") {
        VTTaskNotification::postDisconnect();
    } else {
        return false;
    }
    return true;
}

} // namespace

int main(int argc, char** argv) {
    platform::install(platform::basicServices("SampleWorker"));
    VTLog::createNewLog("SampleWorker");
    bool isKnown = argc > 1;
    for (int index = 1; index < argc && isKnown; ++index) {
        isKnown = report(argv[index]);
    }
    if (!isKnown) {
        std::fputs("usage: SampleWorker step|text=TEXT|error=TEXT|finished|disconnect ...\n", stderr);
    }
    VTLog::finishWriting(); // what went wrong
    return isKnown ? 0 : 2;
}
