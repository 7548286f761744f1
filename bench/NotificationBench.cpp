// Suite-wide notifications that are none of ours, ten thousand at once: what they cost the interface. A main
// loop runs as in the program while somebody else on the bus sends them.

#include "FakeConsoleLog.h"
#include "FakeUsers.h"
#include "Platform.h"
#include "QtMainThread.h"
#include "linux/BusNotifications.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QTimer>
#include <algorithm>
#include <array>
#include <benchmark/benchmark.h>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <stdexcept>
#include <string>
#include <systemd/sd-bus.h>
#include <thread>

namespace {

constexpr const char* kPath = "/com/vantorel/DistributedNotification";
constexpr const char* kInterface = "com.vantorel.DistributedNotification";
constexpr const char* kName = "VTKVDPurgelComplete";
constexpr const char* kLast = "Last";
constexpr double kLongestGap = 100; // ms; what an interface may take to answer
constexpr int kCount = 10'000;      // also as a test: it takes half a second

bool hasFailed = false; // for the exit status, to which an error of a benchmark is nothing

void fail(benchmark::State& state, const char* reason) {
    hasFailed = true;
    state.SkipWithError(reason);
}

// A session bus that ends with this object.
class Bus {
public:
    Bus() {
        std::array<char, 300> address{};
        if (!pipe_ || std::fscanf(pipe_, "%299s %d", address.data(), &process_) != 2) {
            throw std::runtime_error("dbus-daemon did not start");
        }
        ::setenv("DBUS_SESSION_BUS_ADDRESS", address.data(), 1);
    }
    ~Bus() {
        ::kill(process_, SIGTERM);
        ::pclose(pipe_);
    }
    Bus(const Bus&) = delete;
    Bus& operator=(const Bus&) = delete;

private:
    FILE* pipe_ = ::popen("exec dbus-daemon --session --nofork --nopidfile --address=unix:tmpdir=/tmp "
                          "--print-address=1 --print-pid=1 2>/dev/null",
                          "r");
    int process_ = 0;
};

// Each wrong in another respect, and one at the end that is right.
void flood() {
    sd_bus* bus = nullptr;
    bool sent = sd_bus_open_user(&bus) >= 0;
    for (int i = 0; sent && i < kCount; ++i) {
        switch (i % 3) {
        case 0:
            sent = sd_bus_emit_signal(bus, kPath, kInterface, "Posted", "ssa{sv}", "Another", "", 0) >= 0;
            break;
        case 1:
            sent = sd_bus_emit_signal(bus, "/elsewhere", kInterface, "Posted", "ssa{sv}", kName, "", 0) >= 0;
            break;
        default:
            sent = sd_bus_emit_signal(bus, kPath, kInterface, "Posted", "ss", kName, "") >= 0;
        }
    }
    sent = sent && sd_bus_emit_signal(bus, kPath, kInterface, "Posted", "ssa{sv}", kLast, "", 0) >= 0;
    sd_bus_flush_close_unref(bus);
    if (!sent) {
        std::fputs("the flood did not get through\n", stderr);
        std::exit(EXIT_FAILURE);
    }
}

// Until the last has been heard, which comes after all the others: how long the loop was away at most.
void BM_WrongNotifications(benchmark::State& state) {
    const Bus bus;
    auto users = std::make_shared<FakeUsers>();
    auto mainThread = std::make_shared<platform::QtMainThread>();
    platform::install(
        {.consoleLog = std::make_shared<FakeConsoleLog>(), .users = users, .mainThread = mainThread});
    platform::BusNotifications notifications;
    int heard = 0;
    bool isOver = false;
    auto wrong = notifications.addObserver(kName, [&heard](const auto&, const auto&) { ++heard; });
    auto last = notifications.addObserver(kLast, [&isOver](const auto&, const auto&) { isOver = true; });
    double longest = 0;
    for ([[maybe_unused]] auto _ : state) {
        QElapsedTimer clock;
        clock.start();
        QTimer pulse;
        pulse.setTimerType(Qt::PreciseTimer);
        QObject::connect(&pulse, &QTimer::timeout, [&] {
            longest = std::max(longest, static_cast<double>(clock.nsecsElapsed()) / 1e6);
            clock.restart();
        });
        pulse.start(1);
        isOver = false;
        std::jthread sender(flood);
        while (!isOver) {
            QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
        }
    }
    state.SetItemsProcessed(state.iterations() * kCount);
    state.counters["longest_gap_ms"] = longest;
    if (heard > 0) {
        fail(state, "a wrong notification was heard");
    } else if (longest > kLongestGap) {
        fail(state, "the interface was away for longer than it may be");
    }
    mainThread->close();
}

} // namespace

BENCHMARK(BM_WrongNotifications)->Iterations(3)->Unit(benchmark::kMillisecond)->UseRealTime();

int main(int argc, char** argv) {
    QCoreApplication application(argc, argv);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    return hasFailed ? EXIT_FAILURE : EXIT_SUCCESS;
}
