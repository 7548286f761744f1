#pragma once

#include "FileDescriptor.h"
#include "Workspace.h"

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <sys/types.h>
#include <thread>
#include <vector>

namespace platform {

// Starts applications and watches for their ends. An application is a bundle that at least one process runs
// in; it has ended when its last process has. Bundles are named by any path to them. Any thread.
//
// A thread of its own sleeps until a watched process ends. Only while it has been asked to look for others
// does it wake by itself.
class RunningApplications {
public:
    // `applicationDidTerminate` is called on the watching thread, for one end at a time.
    explicit RunningApplications(std::function<void(const RunningApplication&)> applicationDidTerminate);
    ~RunningApplications();
    RunningApplications(const RunningApplications&) = delete;
    RunningApplications& operator=(const RunningApplications&) = delete;

    // Starts the application unless it runs; false when it ran already. With arguments it is started in any
    // case, as nothing could hand them over. One that cannot be started is told to the console and reported
    // as ended.
    bool open(const std::string& bundlePath, const std::vector<std::string>& environment,
              const std::vector<std::string>& arguments = {});

    // Those that run now, whoever started them.
    std::vector<RunningApplication> list();

    // The processes of one application, or of all with that name (the bundle's, less its extension), of which
    // the one that was opened last comes first. Empty when none runs.
    std::vector<pid_t> processesIn(const std::string& bundlePath);
    std::vector<pid_t> processesNamed(const std::string& name);

    // Whether applications that somebody else starts are to be found, and their ends reported.
    void setLooksForOthers(bool looks);

    // Watches no more, for good, and waits for the thread. False when it still runs at the end of the time.
    bool stop(std::chrono::milliseconds limit);

    // See Workspace.
    std::shared_ptr<void> holdTermination(const std::string& bundlePath);

private:
    using Time = std::chrono::steady_clock::time_point;

    struct Application {
        std::optional<std::string> bundleIdentifier; // as it was when the application was first seen
        std::map<pid_t, FileDescriptor> processes;   // pidfds
        std::uint64_t opened = 0;                    // counts up; 0 when somebody else started it
        std::optional<Time> alone;                   // since when it has no process that is known
    };

    bool isRunning(const std::string& bundle) const;
    Application& applicationIn(const std::string& bundle);
    std::vector<pid_t> processesOf(const std::function<bool(const std::string& bundle)>& isMeant);
    void findProcesses(const std::string* onlyBundle);
    void end(const std::string& bundle);
    void release(const std::string& bundle);
    void startWatching();
    void wake() const;
    void run();
    void collectEnded(const std::vector<pid_t>& ended);
    void lookAfterAlone();
    int patience(Time nextLook) const;

    const std::function<void(const RunningApplication&)> applicationDidTerminate_;
    FileDescriptor wake_;
    std::mutex mutex_;                                // guards what follows
    std::map<std::string, Application> applications_; // by the bundle's resolved path
    std::set<pid_t> children_;                        // started here, so nobody else collects them
    std::map<std::string, int> holds_;
    std::map<std::string, RunningApplication> ended_; // and not reported yet
    std::uint64_t openings_ = 0;
    std::atomic<bool> stops_ = false;
    std::atomic<bool> looksForOthers_ = false;
    std::mutex threadMutex_; // guards what follows
    std::condition_variable threadEnded_;
    bool isWatching_ = false;
    std::thread thread_; // once there is something to watch
};

} // namespace platform
