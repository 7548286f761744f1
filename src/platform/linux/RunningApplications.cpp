#include "RunningApplications.h"

#include "ApplicationProcesses.h"
#include "Bundle.h"
#include "DetachedProgram.h"
#include "Package.h"
#include "Platform.h"
#include "ResolvedPath.h"
#include "Spawn.h"
#include "Text.h"

#include <algorithm>
#include <chrono>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/wait.h>
#include <unistd.h>
#include <utility>

namespace platform {

namespace {

// How often others are looked for. An application that lives for less may be missed.
constexpr std::chrono::milliseconds kLookInterval{200};

// How long an application may be without a process before it has ended, and how often it is looked for then.
constexpr std::chrono::milliseconds kGrace{100};
constexpr std::chrono::milliseconds kGraceLook{10};

bool hasEnded(const FileDescriptor& process) {
    pollfd look{.fd = process.get(), .events = POLLIN, .revents = 0};
    return ::poll(&look, 1, 0) > 0;
}

std::string resolvedBundle(const std::string& path) {
    return resolvedPath(path).value_or(path);
}

} // namespace

RunningApplications::RunningApplications(
    std::function<void(const RunningApplication&)> applicationDidTerminate)
    : applicationDidTerminate_(std::move(applicationDidTerminate)),
      wake_(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {}

RunningApplications::~RunningApplications() {
    stop(std::chrono::milliseconds(0));
    if (thread_.joinable()) {
        thread_.join();
    }
}

bool RunningApplications::stop(std::chrono::milliseconds limit) {
    stops_ = true;
    wake();
    std::unique_lock lock(threadMutex_);
    if (!threadEnded_.wait_for(lock, limit, [this] { return !isWatching_; })) {
        return false;
    }
    if (thread_.joinable()) {
        thread_.join();
    }
    return true;
}

bool RunningApplications::open(const std::string& bundlePath, const std::vector<std::string>& environment,
                               const std::vector<std::string>& arguments) {
    const auto bundle = resolvedBundle(bundlePath);
    std::lock_guard lock(mutex_);
    startWatching();
    findProcesses(&bundle);
    if (arguments.empty() && isRunning(bundle)) {
        applications_[bundle].opened = ++openings_;
        wake();
        return false;
    }
    auto& application = applicationIn(bundle);
    application.opened = ++openings_;
    ended_.erase(bundle); // an earlier end that has not been told is none any more

    std::string problem;
    if (auto executable = Bundle{bundle}.executablePath(problem)) {
        std::error_code error;
        const auto home = current().users->homeDirectory();
        DetachedProgram program{.path = *executable,
                                .arguments = arguments,
                                .environment = environment,
                                .workingDirectory = home && resolvedPath(*home) ? *home : "/"};
        if (auto [process, handle] =
                spawnWithHandle([&](std::error_code& failure) { return program.start(failure); }, error);
            handle) {
            application.processes.emplace(process, std::move(handle));
            application.alone.reset();
            children_.insert(process);
            wake();
            return true;
        }
        problem = *executable + ": " + error.message();
    }
    current().consoleLog->log("Unable to start " + bundlePath + ": " + problem);
    if (application.processes.empty()) { // else the end of the last ones is about to be noticed
        end(bundle);
    }
    return true;
}

// Locked from here on, unless said otherwise.

bool RunningApplications::isRunning(const std::string& bundle) const {
    auto known = applications_.find(bundle);
    auto lives = [](const auto& process) { return !hasEnded(process.second); };
    return known != applications_.end() && std::ranges::any_of(known->second.processes, lives);
}

RunningApplications::Application& RunningApplications::applicationIn(const std::string& bundle) {
    auto [entry, isNew] = applications_.try_emplace(bundle);
    if (isNew) {
        entry->second.bundleIdentifier = stringForKey(Bundle{bundle}.infoDictionary(), "CFBundleIdentifier");
    }
    return entry->second;
}

// Watches the processes of all applications, or of one.
void RunningApplications::findProcesses(const std::string* onlyBundle) {
    visitApplicationProcesses([&](pid_t process, const std::string& bundle) {
        if (onlyBundle && bundle != *onlyBundle) {
            return;
        }
        auto known = applications_.find(bundle);
        if (known != applications_.end() && known->second.processes.contains(process)) {
            return;
        }
        // It may have ended since, and its number be somebody else's by now.
        auto descriptor = openProcess(process);
        if (descriptor && bundleOfProcess(process) == bundle) {
            applicationIn(bundle).processes.emplace(process, std::move(descriptor));
        }
    });
}

void RunningApplications::end(const std::string& bundle) {
    auto application = applications_.extract(bundle);
    ended_[bundle] = {bundle, application.mapped().bundleIdentifier};
    wake();
}

void RunningApplications::collectEnded(const std::vector<pid_t>& ended) {
    const auto now = std::chrono::steady_clock::now();
    for (auto& [bundle, application] : applications_) {
        std::erase_if(application.processes, [&](const auto& process) {
            return std::ranges::find(ended, process.first) != ended.end();
        });
        if (application.processes.empty() && !application.alone) {
            application.alone = now;
        }
    }
}

// What has ended may have been a wrapper: the application then goes on in a process of its own, which comes
// out of a helper such as setsid or env a moment later.
void RunningApplications::lookAfterAlone() {
    std::vector<std::string> alone;
    for (const auto& [bundle, application] : applications_) {
        if (application.alone) {
            alone.push_back(bundle);
        }
    }
    for (const auto& bundle : alone) {
        findProcesses(&bundle);
        auto& application = applications_[bundle];
        if (!application.processes.empty()) {
            application.alone.reset();
        } else if (std::chrono::steady_clock::now() - *application.alone >= kGrace) {
            end(bundle);
        }
    }
}

// How long the thread may sleep, in milliseconds; -1 for as long as nothing happens.
int RunningApplications::patience(Time nextLook) const {
    if (std::ranges::any_of(applications_,
                            [](const auto& entry) { return entry.second.alone.has_value(); })) {
        return static_cast<int>(kGraceLook.count());
    }
    if (!looksForOthers_) {
        return -1;
    }
    auto left = std::chrono::ceil<std::chrono::milliseconds>(nextLook - std::chrono::steady_clock::now());
    return static_cast<int>(std::max<std::int64_t>(left.count(), 0));
}

void RunningApplications::startWatching() {
    std::lock_guard lock(threadMutex_);
    if (isWatching_ || stops_) {
        return;
    }
    try {
        thread_ = std::thread([this] {
            run();
            std::lock_guard ending(threadMutex_);
            isWatching_ = false;
            threadEnded_.notify_all();
        });
        isWatching_ = true;
    } catch (const std::exception& error) {
        current().consoleLog->log(std::string("No thread to watch applications on: ") + error.what());
    }
}

void RunningApplications::wake() const {
    const std::uint64_t one = 1;
    [[maybe_unused]] auto written = ::write(wake_.get(), &one, sizeof one);
}

// Not locked.
void RunningApplications::run() {
    std::vector<pollfd> descriptors;
    std::vector<pid_t> processes;
    auto nextLook = std::chrono::steady_clock::now();
    for (std::unique_lock lock(mutex_); !stops_;) {
        descriptors.assign(1, {.fd = wake_.get(), .events = POLLIN, .revents = 0});
        processes.clear();
        for (const auto& [bundle, application] : applications_) {
            for (const auto& [process, descriptor] : application.processes) {
                descriptors.push_back({.fd = descriptor.get(), .events = POLLIN, .revents = 0});
                processes.push_back(process);
            }
        }
        const int longest = patience(nextLook);
        // Descriptors are closed on this thread alone, so these stay what they are.
        lock.unlock();
        ::poll(descriptors.data(), descriptors.size(), longest);
        std::uint64_t wakes = 0;
        [[maybe_unused]] auto drained = ::read(wake_.get(), &wakes, sizeof wakes);
        lock.lock();

        std::vector<pid_t> ended;
        for (std::size_t i = 0; i < processes.size(); ++i) {
            if (descriptors[i + 1].revents != 0) {
                if (children_.erase(processes[i]) > 0) {
                    ::waitpid(processes[i], nullptr, WNOHANG);
                }
                ended.push_back(processes[i]);
            }
        }
        collectEnded(ended);
        lookAfterAlone();
        if (looksForOthers_ && std::chrono::steady_clock::now() >= nextLook) {
            findProcesses(nullptr);
            nextLook = std::chrono::steady_clock::now() + kLookInterval;
        }
        std::vector<RunningApplication> reports;
        std::erase_if(ended_, [&](const auto& entry) {
            if (holds_.contains(entry.first)) {
                return false;
            }
            reports.push_back(entry.second);
            return true;
        });
        lock.unlock();
        for (const auto& report : reports) {
            applicationDidTerminate_(report);
        }
        lock.lock();
    }
}

std::vector<RunningApplication> RunningApplications::list() {
    std::map<std::string, std::optional<std::string>> found;
    visitApplicationProcesses([&](pid_t, const std::string& bundle) { found.try_emplace(bundle); });
    for (auto& [bundle, identifier] : found) {
        identifier = stringForKey(Bundle{bundle}.infoDictionary(), "CFBundleIdentifier");
    }
    {
        // Also those whose processes no longer show where they come from.
        std::lock_guard lock(mutex_);
        for (const auto& [bundle, application] : applications_) {
            if (!application.processes.empty()) {
                found.try_emplace(bundle, application.bundleIdentifier);
            }
        }
    }
    std::vector<RunningApplication> result;
    result.reserve(found.size());
    for (auto& [bundle, identifier] : found) {
        result.push_back({bundle, std::move(identifier)});
    }
    return result;
}

std::vector<pid_t> RunningApplications::processesIn(const std::string& bundlePath) {
    const auto wanted = resolvedBundle(bundlePath);
    return processesOf([&](const std::string& bundle) { return bundle == wanted; });
}

std::vector<pid_t> RunningApplications::processesNamed(const std::string& name) {
    const auto key = caseInsensitiveKey(name);
    return processesOf(
        [&](const std::string& bundle) { return caseInsensitiveKey(nameWithoutExtension(bundle)) == key; });
}

std::vector<pid_t> RunningApplications::processesOf(const std::function<bool(const std::string&)>& isMeant) {
    struct Found {
        std::uint64_t opened = 0;
        std::set<pid_t> processes;
    };
    std::map<std::string, Found> found;
    visitApplicationProcesses([&](pid_t process, const std::string& bundle) {
        if (isMeant(bundle)) {
            found[bundle].processes.insert(process);
        }
    });
    std::lock_guard lock(mutex_);
    for (const auto& [bundle, application] : applications_) {
        if (isMeant(bundle)) {
            found[bundle].opened = application.opened;
            for (const auto& [process, descriptor] : application.processes) {
                if (!hasEnded(descriptor)) {
                    found[bundle].processes.insert(process);
                }
            }
        }
    }
    std::vector<Found> order;
    order.reserve(found.size());
    for (auto& [bundle, entry] : found) {
        order.push_back(std::move(entry));
    }
    std::ranges::stable_sort(order, std::greater<>(), &Found::opened);
    std::vector<pid_t> result;
    for (const auto& entry : order) {
        result.insert(result.end(), entry.processes.begin(), entry.processes.end());
    }
    return result;
}

void RunningApplications::setLooksForOthers(bool looks) {
    looksForOthers_ = looks;
    if (looks) {
        startWatching();
    }
    wake();
}

std::shared_ptr<void> RunningApplications::holdTermination(const std::string& bundlePath) {
    auto bundle = resolvedBundle(bundlePath);
    {
        std::lock_guard lock(mutex_);
        ++holds_[bundle];
    }
    return {nullptr, [this, bundle](std::nullptr_t) { release(bundle); }};
}

void RunningApplications::release(const std::string& bundle) {
    std::lock_guard lock(mutex_);
    if (auto hold = holds_.find(bundle); --hold->second == 0) {
        holds_.erase(hold);
        wake();
    }
}

} // namespace platform
