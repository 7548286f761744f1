#include "VTTaskEx.h"

#include "Exception.h"
#include "Package.h"
#include "Platform.h"
#include "ToolPath.h"
#include "VTException.h"
#include "VTLog.h"

using platform::ChildProcess;
using Stream = ChildProcess::Stream;

namespace {

constexpr const char* kNotExecutable = "Error: %@ is not executable";
constexpr const char* kException = "Exception running task %@: %@";

void tellConsoleAndLog(const std::string& text) {
    platform::current().consoleLog->log(text);
    VTLog::appendLog(text);
}

std::shared_ptr<ChildProcess> makeSilentTask(const std::string& path, const VTTaskEx::Arguments& arguments,
                                             TaskReference* task) {
    auto child = std::make_shared<ChildProcess>(ChildProcess::Program{
        .path = path, .arguments = arguments, .output = Stream::Null, .errors = Stream::Null});
    if (task) {
        task->set(child);
    }
    return child;
}

} // namespace

bool VTTaskEx::isRunnable(const Path& path) {
    if (!path) {
        return false;
    }
    auto& files = *platform::current().fileManager;
    const auto tool = platform::toolPath(*path);
    return files.isExecutableFile(tool) && // which is one that exists
           !(platform::isPackageName(tool) && files.isDirectory(tool));
}

void VTTaskEx::logException(const Path& path, const std::exception& exception) noexcept {
    try {
        VTLog::appendLog(kException, path, exception.what());
    } catch (const std::exception&) {
        // Without memory for a line there is none.
    }
}

void VTTaskEx::tellConsole(const Path& path, const std::exception& exception) noexcept {
    try {
        platform::current().consoleLog->log(format(kException, path, exception.what()));
    } catch (const std::exception&) {
        // As above.
    }
}

bool VTTaskEx::runTask(const Path& path, const Arguments& arguments, TaskReference* task) {
    try {
        if (!isRunnable(path)) {
            VTLog::appendLogAndPrint(kNotExecutable, path);
            return false;
        }
        auto child = makeSilentTask(*path, arguments, task);
        child->launch();
        child->waitUntilExit();
    } catch (const std::exception& exception) {
        logException(path, exception);
        return false;
    }
    return true;
}

void VTTaskEx::runTaskAndReturn(const Path& path, const Arguments& arguments) {
    try {
        if (!isRunnable(path)) {
            tellConsoleAndLog(format(kNotExecutable, path));
            return;
        }
        makeSilentTask(*path, arguments, nullptr)->launch();
    } catch (const std::exception& exception) {
        VTException::logException(exception, "+[VTTaskEx runTaskAndReturn:arguments:]");
    }
}

std::optional<std::string> VTTaskEx::dataFromTask(const Path& path, const Arguments& arguments,
                                                  TaskReference* task,
                                                  const std::optional<Environment>& environment,
                                                  bool logOutput) {
    try {
        if (!isRunnable(path)) {
            VTLog::appendLogAndPrint(kNotExecutable, path);
            return std::nullopt;
        }
        auto child = std::make_shared<ChildProcess>(
            ChildProcess::Program{.path = *path,
                                  .arguments = arguments,
                                  .environment = environment,
                                  .input = Stream::Pipe,
                                  .output = logOutput ? Stream::Pipe : Stream::Inherited,
                                  .errors = Stream::Pipe});
        if (task) {
            task->set(child);
        }
        child->launch();
        auto collected = child->collect();
        return std::move(collected.output.empty() ? collected.errors : collected.output);
    } catch (const std::exception& exception) {
        tellConsole(path, exception);
        return std::nullopt;
    }
}

std::optional<std::string> VTTaskEx::stringFromTask(const Path& path, const Arguments& arguments,
                                                    TaskReference* task) {
    return stringFromTask(path, arguments, Encoding::Ascii, task);
}

std::optional<std::string> VTTaskEx::stringFromTask(const Path& path, const Arguments& arguments,
                                                    Encoding encoding, TaskReference* task) {
    return text(dataFromTask(path, arguments, task), encoding);
}

long VTTaskEx::terminationCodeFromTask(const Path& path, const Arguments& arguments, TaskReference* task) {
    if (!isRunnable(path)) {
        tellConsoleAndLog(format(kNotExecutable, path));
        return -1;
    }
    auto child = makeSilentTask(*path, arguments, task);
    child->launch();
    child->waitUntilExit();
    return child->terminationStatus();
}

std::optional<std::string> VTTaskEx::text(std::optional<std::string> bytes, Encoding encoding) {
    return bytes ? platform::decoded(std::move(*bytes), encoding) : std::string();
}
