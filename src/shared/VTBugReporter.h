#pragma once

#include <functional>
#include <optional>
#include <string>

// Finds out at start whether the last run ended abnormally, and hands the newest crash log to the suite's
// "Bug Reporter".
//
// Two dates tell: "launch", of the last start, and "exit", of the last orderly end. They are kept in the user
// defaults, or in the property-list file at `plistPath`, whose other keys stay as they are. A launch without
// a later exit is a run that did not end in order. Nothing here throws or reports a failure; any thread.
class VTBugReporter {
public:
    // Is called on the main thread with the crash log's path; nobody waits for it.
    using Delegate = std::function<void(const std::string& log)>;

    VTBugReporter() = delete;

    // Checks for a crash, tells the delegate if one was given, and records the launch.
    static void startBugReporter(const std::optional<std::string>& appName = std::nullopt,
                                 const std::optional<std::string>& plistPath = std::nullopt,
                                 const Delegate& applicationDidCrashWithLog = nullptr);
    static void startBugReporterWithDelegate(const Delegate& applicationDidCrashWithLog);

    // Records the orderly end.
    static void stopBugReporter(const std::optional<std::string>& plistPath = std::nullopt);

    // Hands a file below "Users" back to the owner of the home that it lies in, in case root has written it.
    // Waits for at most five seconds.
    static void chownPlist(const std::string& path);

    // The crash log of the last run, which the "Bug Reporter" has then been asked to show; absent when that
    // run ended in order, or left no log that is younger than its launch. Logs are those whose names begin
    // with the application's name and "_", case ignored; without a name, with that of the main bundle. In
    // each folder only the last one in name order is looked at.
    //
    // The suite's preference "disable-crash-reporter" (the text "1", or a number equal to 1) keeps the log
    // from being shown.
    static std::optional<std::string>
    checkForCrashes(const std::optional<std::string>& appName = std::nullopt,
                    const std::optional<std::string>& plistPath = std::nullopt);
};
