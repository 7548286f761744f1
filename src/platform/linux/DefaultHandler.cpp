#include "DefaultHandler.h"

#include "DetachedProgram.h"
#include "FileDescriptor.h"
#include "PercentEncoding.h"
#include "Platform.h"

#include <sys/wait.h>

namespace platform {

std::string fileAddress(const std::string& path) {
    return "file://" + percentEncoded(path, "/");
}

void openWithDefaultHandler(const std::string& address, const std::vector<std::string>& environment) {
    DetachedProgram opener{
        .path = "xdg-open", .arguments = {address}, .environment = environment, .workingDirectory = "/"};
    std::error_code error;
    auto process = opener.start(error);
    int status = 0;
    if (process != 0) {
        retrying([&] { return ::waitpid(process, &status, 0); });
    }
    if (process == 0 || status != 0) {
        current().consoleLog->log(
            "Unable to open " + address + ": " +
            (process == 0 ? "xdg-open: " + error.message() : "nothing is set up for it"));
    }
}

} // namespace platform
