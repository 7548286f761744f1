#pragma once

#include "StringEncoding.h"
#include "TaskReference.h"

#include <exception>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

// Runs other programs. A path is absolute and names a program that may be executed and is no package such as
// an application; arguments follow the program's name. A run that waits holds up its caller until the child
// ends, however long that takes. Failures, a want of memory among them, are logged and, but for the exit code
// and the decoding of text, never thrown. Any thread.
//
// `task`, when given, is handed the child before it starts, and keeps it.
//
// A run with a time-out asks the child to end (SIGTERM) after so many whole seconds, if it runs then. That is
// done on the main thread, so only while its loop runs: callers that need the time-out are on another thread.
//
// An instance serves one run at a time; the time-out of an earlier run that has ended may end a later one. It
// is owned by shared pointers, of which its threads hold one each.
class VTTaskEx : public std::enable_shared_from_this<VTTaskEx> {
public:
    using Path = std::optional<std::string>; // absent is a program that cannot be run
    using Arguments = std::vector<std::string>;
    using Environment = std::map<std::string, std::string>;
    using Encoding = platform::StringEncoding;

    // Runs the program, its output and errors discarded, and waits. True when it was started, whatever its
    // exit status.
    static bool runTask(const Path& path, const Arguments& arguments, TaskReference* task = nullptr);

    // The same without waiting.
    static void runTaskAndReturn(const Path& path, const Arguments& arguments);

    // What the program writes on its standard output, or on standard error when that is nothing; empty when
    // it writes nothing at all, absent when it could not be run. Returns when nobody holds its streams any
    // more, with the program itself perhaps still running. It has nothing to read, and the given environment,
    // or else this program's. Unless `logOutput`, its output goes where this program's goes, and only its
    // errors are collected.
    static std::optional<std::string>
    dataFromTask(const Path& path, const Arguments& arguments, TaskReference* task = nullptr,
                 const std::optional<Environment>& environment = std::nullopt, bool logOutput = true);

    // The same as text; empty when it could not be run, absent when it is no text in that encoding.
    static std::optional<std::string> stringFromTask(const Path& path, const Arguments& arguments,
                                                     TaskReference* task = nullptr);
    static std::optional<std::string> stringFromTask(const Path& path, const Arguments& arguments,
                                                     Encoding encoding, TaskReference* task = nullptr);

    // Runs the program, its output and errors discarded. Its exit status, or the signal that ended it; -1
    // when it cannot be executed. Throws platform::Exception when starting it fails all the same.
    static long terminationCodeFromTask(const Path& path, const Arguments& arguments,
                                        TaskReference* task = nullptr);

    // With a time-out in seconds. What a run that is cut short returns is what it had: the output so far, or
    // the signal as the exit code.
    static void runTask(const Path& path, const Arguments& arguments, double timeout);
    static std::optional<std::string> dataFromTask(const Path& path, const Arguments& arguments,
                                                   double timeout);
    static std::optional<std::string> stringFromTask(const Path& path, const Arguments& arguments,
                                                     double timeout);
    static std::optional<std::string> stringFromTask(const Path& path, const Arguments& arguments,
                                                     Encoding encoding, double timeout);
    static long terminationCodeFromTask(const Path& path, const Arguments& arguments, double timeout);

    // The same on this instance.
    void runTaskWithTimeout(const Path& path, const Arguments& arguments, double timeout);
    std::optional<std::string> dataFromTaskWithTimeout(const Path& path, const Arguments& arguments,
                                                       double timeout);
    long terminationCodeFromTaskWithTimeout(const Path& path, const Arguments& arguments, double timeout);

    // What a time-out counts as: truncated towards zero, and never negative.
    static int wholeSeconds(double timeout);

    // Sleeps, then has `timeout` performed on the main thread and waits for that.
    void setupTimeout(int seconds);

    // Ends the child of the current run, if there is one and it runs. On the main thread.
    void timeout();

    // The child of the current run; null when there is none.
    std::shared_ptr<platform::ChildProcess> theTask() const { return theTask_.get(); }
    void setTheTask(std::shared_ptr<platform::ChildProcess> task) { theTask_.set(std::move(task)); }

    // Receives a chunk of output, which is empty at its end, on the reader thread. `object` is what was given
    // with it; null when nothing was.
    using Delegate =
        std::function<void(const std::string& chunk, VTTaskEx& runner, const std::shared_ptr<void>& object)>;

    // Starts the program on a reader thread, its errors discarded, and returns at once. The delegate gets the
    // output in order, then one empty chunk, unless the program cannot be started or is terminated before.
    // A second start replaces delegate and child but leaves the first reader at work.
    void asyncDataFromTask(const Path& path, const Arguments& arguments, Delegate delegate,
                           std::shared_ptr<void> object = nullptr,
                           const std::optional<Environment>& environment = std::nullopt);

    // Drops delegate and child, and asks the child to end if it runs. A reader that waits for output logs
    // that it has been closed, and ends. A call of the delegate that has begun is not waited for.
    void terminateTask();
    void terminateAsyncTask();

    // Starts the current child and hands its output on to its end; the reader thread's work.
    void launchAsyncTask();

    // Hands a chunk to the delegate; an empty one also ends the run.
    void asyncTaskReturnData(const std::string& chunk);

private:
    static bool isRunnable(const Path& path);

    // Of bytes that may be absent: what the text forms return.
    static std::optional<std::string> text(std::optional<std::string> bytes, Encoding encoding);

    // Tell of an exception of a run, one to the log, the other to the console alone.
    static void logException(const Path& path, const std::exception& exception) noexcept;
    static void tellConsole(const Path& path, const std::exception& exception) noexcept;

    void startTimeout(double timeout);

    TaskReference theTask_;

    std::mutex mutex_; // guards what follows
    Delegate delegate_;
    std::shared_ptr<void> object_;
};
