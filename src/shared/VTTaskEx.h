#pragma once

#include "StringEncoding.h"
#include "TaskReference.h"

#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

// Runs other programs. A path is absolute and names a program that may be executed and is no package such as
// an application; arguments follow the program's name. A run that waits holds up its caller until the child
// ends, however long that takes. Failures are logged and, but for the exit code, never thrown. Any thread.
//
// `task`, when given, is handed the child before it starts, and keeps it.
class VTTaskEx {
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
};
