// A progress message when no controller is there, against the look-ups that it takes, done by hand: a
// connection to the session bus, and the owners of two names. What is compared runs in turns within one
// benchmark. To be run with a session bus.

#include "Measure.h"
#include "VTTaskNotification.h"
#include "linux/BasicServices.h"

#include <algorithm>
#include <benchmark/benchmark.h>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <systemd/sd-bus.h>
#include <vector>

namespace {

template <typename Work>
double microseconds(Work work) {
    const auto start = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double, std::micro>(std::chrono::steady_clock::now() - start).count();
}

void lookUp(sd_bus* bus, const char* name) {
    sd_bus_error error = SD_BUS_ERROR_NULL;
    const int result = sd_bus_call_method(bus, "org.freedesktop.DBus", "/org/freedesktop/DBus",
                                          "org.freedesktop.DBus", "GetNameOwner", &error, nullptr, "s", name);
    require(result < 0 && sd_bus_error_has_name(&error, SD_BUS_ERROR_NAME_HAS_NO_OWNER), "finding nobody");
    sd_bus_error_free(&error);
}

void lookUpByHand() {
    sd_bus* bus = nullptr;
    require(sd_bus_open_user(&bus) >= 0, "the connection");
    lookUp(bus, "com.vantorel.VTVarnClientCallback");
    lookUp(bus, "com.vantorel.VTOSTLClientCallback");
    sd_bus_close_unref(bus);
}

void callWithoutAController(benchmark::State& state) {
    const int count = std::getenv("VT_BENCH_TINY") ? 5 : 2000;
    std::vector<double> calls;
    std::vector<double> byHand;
    while (state.KeepRunning()) {
        for (int run = 0; run < count; ++run) {
            calls.push_back(microseconds(VTTaskNotification::postIncrementProgress));
            byHand.push_back(microseconds(lookUpByHand));
        }
    }
    state.counters["call_us"] = median(calls);
    state.counters["by_hand_us"] = median(byHand);
    state.counters["ratio"] = median(calls) / median(byHand);
}

BENCHMARK(callWithoutAController)->Iterations(1)->Unit(benchmark::kMillisecond);

} // namespace

int main(int argc, char** argv) {
    auto services = platform::basicServices("progress_bench");
    services.users = nullptr; // the bus of whoever runs this
    platform::install(services);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
}
