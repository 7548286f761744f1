// The log against spdlog's asynchronous rotating logger and against a bare loop of one write per line:
// entries per second until all are on disk, and what a single call costs its caller. What is compared
// runs in turns within one benchmark, so that a busy machine slows down both.

#include "FakeUsers.h"
#include "Measure.h"
#include "Platform.h"
#include "VTLog.h"
#include "linux/LinuxFileManager.h"

#include <algorithm>
#include <benchmark/benchmark.h>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <functional>
#include <spdlog/async.h>
#include <spdlog/sinks/rotating_file_sink.h>
#include <spdlog/spdlog.h>
#include <string>
#include <thread>
#include <unistd.h>
#include <vector>

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::size_t kFileSize = 500'000;
constexpr int kFiles = 5;

std::string folder; // holds everything that is written; set in main

// Entries that are written in one go, by all callers together.
int entryCount() {
    return isTiny() ? 2'000 : 400'000;
}

double seconds(Clock::duration duration) {
    return std::chrono::duration<double>(duration).count();
}

double timed(const std::function<void()>& work) {
    const auto start = Clock::now();
    work();
    return seconds(Clock::now() - start);
}

// Calls `log(caller, entry)` from so many threads at once.
template <typename Log>
void fromCallers(int callers, const Log& log) {
    std::vector<std::jthread> threads;
    for (int caller = 0; caller < callers; ++caller) {
        threads.emplace_back([&log, caller, count = entryCount() / callers] {
            for (int entry = 0; entry < count; ++entry) {
                log(caller, entry);
            }
        });
    }
}

// 60 characters.
void logEntry(int caller, int entry) {
    VTLog::fastAppendLog("caller %d has written entry %07d of a text telling a lot.", caller, entry);
}

double ownRound(int callers) {
    VTLog::createNewLog();
    VTLog::finishWriting();
    return timed([&] {
        fromCallers(callers, logEntry);
        VTLog::finishWriting();
    });
}

std::shared_ptr<spdlog::logger> makeSpdlogLogger() {
    spdlog::init_thread_pool(8192, 1);
    auto logger =
        spdlog::rotating_logger_mt<spdlog::async_factory>("bench", folder + "/spdlog.log", kFileSize, kFiles);
    logger->set_pattern("%Y-%m-%d %H:%M:%S %z - %v");
    return logger;
}

void logEntry(spdlog::logger& logger, int caller, int entry) {
    logger.info("caller {} has written entry {:07} of a text telling a lot.", caller, entry);
}

double spdlogRound(int callers) {
    auto logger = makeSpdlogLogger();
    return timed([&] {
        fromCallers(callers, [&logger](int caller, int entry) { logEntry(*logger, caller, entry); });
        logger.reset();
        spdlog::shutdown(); // ends the worker when the queue is empty, and closes the file
    });
}

std::string generation(int number) {
    return folder + "/bare." + std::to_string(number) + ".log";
}

int openBareFile() {
    for (int number = kFiles; number > 1; --number) {
        std::rename(generation(number - 1).c_str(), generation(number).c_str());
    }
    return ::open(generation(1).c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
}

// A finished line each time: neither a date nor a format nor another thread costs anything here.
double bareRound(int) {
    const auto line = "2024-01-01 00:00:00 +0000 - " + std::string(60, 'x') + "\n";
    return timed([&] {
        std::size_t written = 0;
        int file = openBareFile();
        for (int entry = 0, count = entryCount(); entry < count; ++entry) {
            if (::write(file, line.data(), line.size()) != static_cast<ssize_t>(line.size())) {
                std::perror("write");
                std::exit(EXIT_FAILURE);
            }
            written += line.size();
            if (written >= kFileSize) {
                ::close(file);
                file = openBareFile();
                written = 0;
            }
        }
        ::close(file);
    });
}

void compare(benchmark::State& state, const char* rival, double (*rivalRound)(int)) {
    const int callers = static_cast<int>(state.range(0));
    std::vector<double> own;
    std::vector<double> others;
    for (auto _ : state) {
        own.push_back(ownRound(callers));
        others.push_back(rivalRound(callers));
        state.SetIterationTime(own.back());
    }
    const double count = entryCount();
    state.counters["VTLog/s"] = count / median(own);
    state.counters[std::string(rival) + "/s"] = count / median(others);
    state.counters["ratio"] = median(others) / median(own);
}

void againstSpdlog(benchmark::State& state) {
    compare(state, "spdlog", spdlogRound);
}
void againstWritePerLine(benchmark::State& state) {
    compare(state, "write", bareRound);
}

// What `calls` calls cost, in nanoseconds and sorted, with a pause after each.
template <typename Log>
std::vector<double> callCosts(std::int64_t calls, std::chrono::microseconds pause, const Log& log) {
    std::vector<double> costs;
    costs.reserve(static_cast<std::size_t>(calls));
    for (int entry = 0; entry < calls; ++entry) {
        const auto start = Clock::now();
        log(entry);
        costs.push_back(seconds(Clock::now() - start) * 1e9);
        if (pause.count() > 0) {
            std::this_thread::sleep_for(pause);
        }
    }
    std::ranges::sort(costs);
    return costs;
}

void report(benchmark::State& state, const std::string& name, const std::vector<double>& costs) {
    auto quantile = [&costs](double part) {
        return costs[static_cast<std::size_t>(part * static_cast<double>(costs.size() - 1))];
    };
    state.counters[name + " p50_ns"] = quantile(0.5);
    state.counters[name + " p99_ns"] = quantile(0.99);
    state.counters[name + " p99.9_ns"] = quantile(0.999);
    state.counters[name + " max_ns"] = costs.back();
}

// What one call costs its caller. After a long pause the writer sleeps and must be woken.
void callCost(benchmark::State& state) {
    const auto pause = std::chrono::microseconds(state.range(0));
    const auto calls = isTiny() ? 100 : pause.count() > 0 ? 500'000 / pause.count() : 1'000'000;
    for (auto _ : state) {
        VTLog::createNewLog();
        VTLog::finishWriting();
        report(state, "VTLog", callCosts(calls, pause, [](int entry) { logEntry(0, entry); }));
        VTLog::finishWriting();
        auto logger = makeSpdlogLogger();
        report(state, "spdlog", callCosts(calls, pause, [&](int entry) { logEntry(*logger, 0, entry); }));
        logger.reset();
        spdlog::shutdown();
    }
}

// As many entries as the five files hold, counted there.
void fiveFiles(benchmark::State& state) {
    const int callers = static_cast<int>(state.range(0));
    constexpr int kEntries = 24'000;
    for (auto _ : state) {
        std::filesystem::remove_all(folder + "/Library/Logs");
        VTLog::createNewLog();
        {
            std::vector<std::jthread> threads;
            for (int caller = 0; caller < callers; ++caller) {
                threads.emplace_back([caller, callers] {
                    for (int entry = 0; entry < kEntries / callers; ++entry) {
                        logEntry(caller, entry);
                    }
                });
            }
        }
        VTLog::finishWriting();
        std::vector<int> next(static_cast<std::size_t>(callers));
        int found = 0;
        auto logs = VTLog::availableLogs();
        for (auto log = logs.rbegin(); log != logs.rend(); ++log) {
            std::ifstream stream(*log);
            for (std::string line; std::getline(stream, line);) {
                int caller = 0;
                int entry = 0;
                if (std::sscanf(line.c_str() + 28, "caller %d has written entry %d of a text", &caller,
                                &entry) != 2) {
                    continue; // a header
                }
                if (entry != next[static_cast<std::size_t>(caller)]++ ||
                    line.substr(28) !=
                        format("caller %d has written entry %07d of a text telling a lot.", caller, entry)) {
                    state.SkipWithError(("torn or out of order: " + line).c_str());
                    return;
                }
                ++found;
            }
        }
        if (found != kEntries) {
            state.SkipWithError(("lines found: " + std::to_string(found)).c_str());
            return;
        }
        state.counters["lines"] = found;
        state.counters["files"] = static_cast<double>(logs.size());
    }
}

void addBenchmarks() {
    const int rounds = isTiny() ? 1 : 15;
    for (int callers : {1, 4}) {
        benchmark::RegisterBenchmark("againstSpdlog/callers", againstSpdlog)
            ->Arg(callers)
            ->UseManualTime()
            ->Iterations(rounds);
    }
    benchmark::RegisterBenchmark("againstWritePerLine/callers", againstWritePerLine)
        ->Arg(1)
        ->UseManualTime()
        ->Iterations(rounds);
    for (int pause : {0, 50, 2000}) {
        benchmark::RegisterBenchmark("callCost/pause_us", callCost)->Arg(pause)->Iterations(1);
    }
    for (int callers : {1, 4}) {
        benchmark::RegisterBenchmark("fiveFiles/callers", fiveFiles)->Arg(callers)->Iterations(1);
    }
}

void enterOwnFolder() {
    std::string pattern = std::filesystem::temp_directory_path() / "log-bench-XXXXXX";
    if (!::mkdtemp(pattern.data())) {
        std::perror("mkdtemp");
        std::exit(EXIT_FAILURE);
    }
    folder = pattern;
    auto users = std::make_shared<FakeUsers>();
    users->home = folder;
    platform::Platform services;
    services.fileManager = std::make_shared<platform::LinuxFileManager>();
    services.users = users;
    services.notificationCenter = std::make_shared<platform::NotificationCenter>();
    platform::install(services);
}

} // namespace

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) {
        return EXIT_FAILURE;
    }
    enterOwnFolder();
    addBenchmarks();
    benchmark::RunSpecifiedBenchmarks();
    std::error_code ignored;
    std::filesystem::remove_all(folder, ignored);
}
