#include "ListCommand.h"

#include "AppController.h"
#include "ToolList.h"
#include "VTLocalPaths.h"
#include "VTLog.h"

#include <cstdio>
#include <unistd.h>

int runListCommand(bool asJson) {
    // Standard output is for the list alone; the log's own echo goes where messages go.
    FILE* output = ::fdopen(::dup(STDOUT_FILENO), "w");
    ::dup2(STDERR_FILENO, STDOUT_FILENO);
    VTLog::sharedController().setLoggingDisabled(true);

    auto folder = VTLocalPaths::applicationDirectory(false);
    auto apps = folder ? AppController::appsForFolder(*folder) : std::nullopt;
    auto list = apps.value_or(AppController::AppList());
    auto text = asJson ? toolListAsJson(list) : toolListAsLines(list);
    bool written = output && std::fwrite(text.data(), 1, text.size(), output) == text.size();
    if (!output || std::fclose(output) != 0 || !written) {
        std::perror("Launcher: cannot write the list");
        return 1;
    }
    return 0;
}
