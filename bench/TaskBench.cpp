// Running tasks against a bare loop of posix_spawn and waitpid and against QProcess: runs per second, and
// bytes per second when a child's output is collected. What is compared runs in turns within one benchmark,
// so that a busy machine slows down both. And how late a time-out is, with the main loop running.

#include "Measure.h"
#include "Platform.h"
#include "QtMainThread.h"
#include "VTLog.h"
#include "VTTaskEx.h"
#include "linux/LinuxConsoleLog.h"
#include "linux/LinuxFileManager.h"

#include <QCoreApplication>
#include <QEventLoop>
#include <QProcess>
#include <algorithm>
#include <array>
#include <benchmark/benchmark.h>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <functional>
#include <spawn.h>
#include <string>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace {

constexpr const char* kProgram = "/bin/true";
constexpr std::size_t kMebibyte = 1 << 20;

double timed(const std::function<void()>& work) {
    const auto start = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

void runBare() {
    std::string path = kProgram;
    std::array<char*, 2> words{path.data(), nullptr};
    pid_t process = 0;
    require(::posix_spawn(&process, kProgram, nullptr, nullptr, words.data(), ::environ) == 0, "posix_spawn");
    require(::waitpid(process, nullptr, 0) == process, "waitpid");
}

void runQProcess() {
    QProcess process;
    process.setStandardOutputFile(QProcess::nullDevice());
    process.setStandardErrorFile(QProcess::nullDevice());
    process.start(kProgram, QStringList());
    require(process.waitForFinished(), "QProcess");
}

void runsPerSecond(benchmark::State& state) {
    const int count = isTiny() ? 5 : 500;
    std::vector<double> own;
    std::vector<double> bare;
    std::vector<double> qprocess;
    for (auto _ : state) {
        // A few at a time, in turns.
        double ownTime = 0;
        double bareTime = 0;
        double qprocessTime = 0;
        for (int run = 0; run < count; ++run) {
            ownTime += timed([] { require(VTTaskEx::runTask(kProgram, {}), "runTask"); });
            bareTime += timed(runBare);
            qprocessTime += timed(runQProcess);
        }
        own.push_back(ownTime);
        bare.push_back(bareTime);
        qprocess.push_back(qprocessTime);
        state.SetIterationTime(ownTime);
    }
    state.counters["runTask/s"] = count / median(own);
    state.counters["posix_spawn/s"] = count / median(bare);
    state.counters["QProcess/s"] = count / median(qprocess);
    state.counters["ratio posix_spawn"] = median(bare) / median(own);
    state.counters["ratio QProcess"] = median(qprocess) / median(own);
}

// Resident bytes: now, or the most since `forgetPeak`.
std::size_t residentBytes(const std::string& key) {
    std::ifstream status("/proc/self/status");
    for (std::string line; std::getline(status, line);) {
        if (line.starts_with(key)) {
            return std::stoul(line.substr(key.size())) * 1024;
        }
    }
    return 0;
}

void forgetPeak() {
    std::ofstream("/proc/self/clear_refs") << "5";
}

void collectedBytesPerSecond(benchmark::State& state) {
    const std::size_t mebibytes = isTiny() ? 1 : 1024;
    const auto size = mebibytes * kMebibyte;
    const std::vector<std::string> arguments{"if=/dev/zero", "bs=1M", "count=" + std::to_string(mebibytes),
                                             "status=none"};
    const QStringList words{"if=/dev/zero", "bs=1M", QString::fromStdString(arguments[2]), "status=none"};
    std::vector<double> own;
    std::vector<double> qprocess;
    std::size_t most = 0;
    for (auto _ : state) {
        forgetPeak();
        const auto before = residentBytes("VmRSS:");
        own.push_back(timed([&] {
            const auto bytes = VTTaskEx::dataFromTask("/bin/dd", arguments);
            require(bytes && bytes->size() == size, "dataFromTask");
        }));
        most = std::max(most, residentBytes("VmHWM:") - before);
        qprocess.push_back(timed([&] {
            QProcess process;
            process.start("/bin/dd", words);
            require(process.waitForFinished(-1), "QProcess");
            require(static_cast<std::size_t>(process.readAll().size()) == size, "readAll");
        }));
        state.SetIterationTime(own.back());
    }
    state.counters["dataFromTask GB/s"] = static_cast<double>(size) / median(own) / 1e9;
    state.counters["QProcess GB/s"] = static_cast<double>(size) / median(qprocess) / 1e9;
    state.counters["ratio"] = median(qprocess) / median(own);
    state.counters["memory/size"] = static_cast<double>(most) / static_cast<double>(size);
}

// A run on a thread of its own that would take a minute, and is to end after a second.
void timeoutLateness(benchmark::State& state) {
    std::vector<double> late;
    for (auto _ : state) {
        QEventLoop loop;
        long code = 0;
        const double seconds = timed([&] {
            const std::jthread caller([&] {
                code = VTTaskEx::terminationCodeFromTask("/bin/sleep", {"60"}, 1.0);
                QMetaObject::invokeMethod(&loop, &QEventLoop::quit, Qt::QueuedConnection);
            });
            loop.exec();
        });
        require(code == SIGTERM, "the time-out");
        late.push_back(seconds - 1);
        state.SetIterationTime(seconds);
    }
    require(median(late) <= 0.1, "ending the child within 100 ms of the second");
    state.counters["late ms"] = median(late) * 1e3;
    state.counters["latest ms"] = *std::ranges::max_element(late) * 1e3;
}

BENCHMARK(runsPerSecond)->UseManualTime()->Unit(benchmark::kMillisecond)->Iterations(5);
BENCHMARK(collectedBytesPerSecond)->UseManualTime()->Unit(benchmark::kMillisecond)->Iterations(5);
BENCHMARK(timeoutLateness)->UseManualTime()->Unit(benchmark::kMillisecond)->Iterations(isTiny() ? 5 : 10);

} // namespace

int main(int argc, char** argv) {
    const QCoreApplication application(argc, argv);
    platform::install({.consoleLog = std::make_shared<platform::LinuxConsoleLog>("task_bench"),
                       .fileManager = std::make_shared<platform::LinuxFileManager>(),
                       .notificationCenter = std::make_shared<platform::NotificationCenter>(),
                       .mainThread = std::make_shared<platform::QtMainThread>()});
    VTLog::sharedController().setLoggingDisabled(true);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
}
