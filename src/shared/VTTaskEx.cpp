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

bool VTTaskEx::runTask(const Path& path, const Arguments& arguments, TaskReference* task) {
    if (!isRunnable(path)) {
        VTLog::appendLogAndPrint(kNotExecutable, path);
        return false;
    }
    try {
        auto child = makeSilentTask(*path, arguments, task);
        child->launch();
        child->waitUntilExit();
    } catch (const std::exception& exception) {
        VTLog::appendLog(kException, path, exception.what());
        return false;
    }
    return true;
}

void VTTaskEx::runTaskAndReturn(const Path& path, const Arguments& arguments) {
    if (!isRunnable(path)) {
        tellConsoleAndLog(format(kNotExecutable, path));
        return;
    }
    try {
        makeSilentTask(*path, arguments, nullptr)->launch();
    } catch (const std::exception& exception) {
        VTException::logException(exception, "+[VTTaskEx runTaskAndReturn:arguments:]");
    }
}

std::optional<std::string> VTTaskEx::dataFromTask(const Path& path, const Arguments& arguments,
                                                  TaskReference* task,
                                                  const std::optional<Environment>& environment,
                                                  bool logOutput) {
    if (!isRunnable(path)) {
        VTLog::appendLogAndPrint(kNotExecutable, path);
        return std::nullopt;
    }
    try {
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
        platform::current().consoleLog->log(format(kException, path, exception.what()));
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
