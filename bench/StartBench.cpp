// From the start of the program to the first frame that it paints, and the memory it holds once it has come
// to rest, against the bare table. Both are watched from outside, on the X display that DISPLAY names: a
// frame has been painted when the display reports damage to a window of the program.
//
// LAUNCHER_PROGRAM and LAUNCHER_SAMPLE_SUITE say what to start, BARE_TABLE what to compare it with.

#include "Measure.h"

#include <algorithm>
#include <benchmark/benchmark.h>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <spawn.h>
#include <stdexcept>
#include <string>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>
#include <xcb/damage.h>
#include <xcb/xcb_ewmh.h>

namespace {

using Clock = std::chrono::steady_clock;

std::string required(const char* variable) {
    const char* value = std::getenv(variable);
    if (!value) {
        throw std::runtime_error(std::string(variable) + " is not set");
    }
    return value;
}

struct Freer {
    void operator()(void* memory) const { std::free(memory); } // NOLINT(cppcoreguidelines-no-malloc): xcb's
};

// Sees every window that is made on the display, and when it is first painted.
class Display {
public:
    Display() : connection_(xcb_connect(nullptr, nullptr)) {
        if (xcb_connection_has_error(connection_) != 0 ||
            !xcb_ewmh_init_atoms_replies(&hints_, xcb_ewmh_init_atoms(connection_, &hints_), nullptr)) {
            throw std::runtime_error("no X display to measure on");
        }
        auto damage = xcb_get_extension_data(connection_, &xcb_damage_id);
        firstEvent_ = damage->first_event;
        const std::unique_ptr<void, Freer> version(xcb_damage_query_version_reply(
            connection_, xcb_damage_query_version(connection_, 1, 1), nullptr));
        const std::uint32_t mask = XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY;
        xcb_change_window_attributes(connection_, hints_.screens[0]->root, XCB_CW_EVENT_MASK, &mask);
        xcb_flush(connection_);
    }

    // Returns when a window of the process has been painted.
    Clock::time_point waitForFrame(pid_t process) {
        for (;;) {
            std::unique_ptr<xcb_generic_event_t, Freer> event(xcb_wait_for_event(connection_));
            const auto now = Clock::now();
            if (!event) {
                throw std::runtime_error("the X display has gone");
            }
            const int type = event->response_type & 0x7f;
            if (type == XCB_CREATE_NOTIFY) {
                const auto window = reinterpret_cast<xcb_create_notify_event_t*>(event.get())->window;
                xcb_damage_create(connection_, xcb_generate_id(connection_), window,
                                  XCB_DAMAGE_REPORT_LEVEL_NON_EMPTY);
                xcb_flush(connection_);
            } else if (type == firstEvent_ + XCB_DAMAGE_NOTIFY) {
                const auto* painted = reinterpret_cast<xcb_damage_notify_event_t*>(event.get());
                std::uint32_t owner = 0;
                if (painted->area.width > 100 &&
                    xcb_ewmh_get_wm_pid_reply(&hints_, xcb_ewmh_get_wm_pid(&hints_, painted->drawable),
                                              &owner, nullptr) &&
                    static_cast<pid_t>(owner) == process) {
                    return now;
                }
            }
        }
    }

private:
    xcb_connection_t* connection_;
    xcb_ewmh_connection_t hints_{};
    int firstEvent_ = 0;
};

// The number behind "NAME:" in a file of /proc.
long field(const std::string& path, const std::string& name) {
    std::ifstream file(path);
    for (std::string line; std::getline(file, line);) {
        if (line.starts_with(name + ':')) {
            return std::stol(line.substr(name.size() + 1));
        }
    }
    return 0;
}

long contextSwitches(pid_t process) {
    long sum = 0;
    for (const auto& task :
         std::filesystem::directory_iterator("/proc/" + std::to_string(process) + "/task")) {
        sum += field(task.path() / "status", "voluntary_ctxt_switches");
    }
    return sum;
}

// At rest is who has slept through a second.
void waitForRest(pid_t process) {
    for (long before = -1, now = 0; before != now;) {
        before = contextSwitches(process);
        std::this_thread::sleep_for(std::chrono::seconds(1));
        now = contextSwitches(process);
    }
}

struct Start {
    double milliseconds = 0;
    double residentKiB = 0;
};

Start startOnce(Display& display, const std::string& program, bool measuresMemory) {
    std::string path = program;
    char* arguments[] = {path.data(), nullptr};
    pid_t process = 0;
    const auto begin = Clock::now();
    if (posix_spawn(&process, path.c_str(), nullptr, nullptr, arguments, environ) != 0) {
        throw std::runtime_error("cannot start " + program);
    }
    const std::chrono::duration<double, std::milli> time = display.waitForFrame(process) - begin;
    Start start{.milliseconds = time.count(), .residentKiB = 0};
    if (measuresMemory) {
        waitForRest(process);
        start.residentKiB =
            static_cast<double>(field("/proc/" + std::to_string(process) + "/status", "VmRSS"));
    }
    ::kill(process, SIGTERM);
    ::waitpid(process, nullptr, 0);
    return start;
}

void BM_Start(benchmark::State& state) {
    const auto launcher = required("LAUNCHER_PROGRAM");
    const auto bare = required("BARE_TABLE");
    ::setenv("VANTOREL_ROOT", required("LAUNCHER_SAMPLE_SUITE").c_str(), 1);
    Display display;
    startOnce(display, bare, false); // from here on the files are in memory
    startOnce(display, launcher, false);
    while (state.KeepRunning()) {
        std::vector<double> launcherTimes;
        std::vector<double> bareTimes;
        double launcherMemory = 0;
        double bareMemory = 0;
        const int rounds = isTiny() ? 1 : 15;
        for (int round = 0; round < rounds; ++round) {
            const bool isLast = round + 1 == rounds;
            const auto ofBare = startOnce(display, bare, isLast);
            const auto ofLauncher = startOnce(display, launcher, isLast);
            bareTimes.push_back(ofBare.milliseconds);
            launcherTimes.push_back(ofLauncher.milliseconds);
            bareMemory = ofBare.residentKiB;
            launcherMemory = ofLauncher.residentKiB;
        }
        state.counters["launcher_ms"] = median(launcherTimes);
        state.counters["bare_ms"] = median(bareTimes);
        state.counters["time_ratio"] = median(launcherTimes) / median(bareTimes);
        state.counters["launcher_KiB"] = launcherMemory;
        state.counters["bare_KiB"] = bareMemory;
        state.counters["memory_ratio"] = launcherMemory / bareMemory;
    }
}

} // namespace

BENCHMARK(BM_Start)->Iterations(1)->Unit(benchmark::kMillisecond)->UseRealTime();

BENCHMARK_MAIN();
