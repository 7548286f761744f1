// A scan of the Applications folder beside what a program could do at best: a bare loop that lists
// folders and reads each bundle's two files. Both run in turn in every iteration, so that what else
// the machine does falls on both; so does `find`, which only looks for names.
//
// Also what memory a scan needs when there are more folders and when there are more tools.

#include "AppController.h"
#include "FakeConsoleLog.h"
#include "FakeUsers.h"
#include "FakeWorkspace.h"
#include "Measure.h"
#include "Platform.h"
#include "linux/FileDescriptor.h"
#include "linux/LinuxFileManager.h"

#include <algorithm>
#include <array>
#include <benchmark/benchmark.h>
#include <charconv>
#include <cstdlib>
#include <ctime>
#include <dirent.h>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <map>
#include <plist/plist.h>
#include <spawn.h>
#include <sys/stat.h>
#include <sys/wait.h>

namespace fs = std::filesystem;
using platform::FileDescriptor;

namespace {

// --- The folders to scan

constexpr int kFoldersPerFolder = 10;

void writeFile(const fs::path& path, const std::string& bytes) {
    std::ofstream stream(path, std::ios::binary);
    stream << bytes;
    if (!stream.flush()) {
        throw std::runtime_error("cannot write " + path.string());
    }
}

std::string propertyList(const std::vector<std::pair<std::string, std::string>>& entries) {
    std::string text = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
                       "<!DOCTYPE plist PUBLIC \"-//Apple//DTD PLIST 1.0//EN\" "
                       "\"http://www.apple.com/DTDs/PropertyList-1.0.dtd\">\n"
                       "<plist version=\"1.0\">\n<dict>\n";
    for (const auto& [key, value] : entries) {
        text += "\t<key>" + key + "</key>\n\t<string>" + value + "</string>\n";
    }
    return text + "</dict>\n</plist>\n";
}

void makeTool(const fs::path& bundle, int number) {
    const auto name = "Tool " + std::to_string(number);
    fs::create_directories(bundle / "Contents/Resources");
    writeFile(bundle / "Contents/Info.plist",
              propertyList({{"CFBundleDevelopmentRegion", "en"},
                            {"CFBundleExecutable", name},
                            {"CFBundleIconFile", name + ".icns"},
                            {"CFBundleIdentifier", "com.vantorel.Tool" + std::to_string(number)},
                            {"CFBundleInfoDictionaryVersion", "6.0"},
                            {"CFBundleName", name},
                            {"CFBundlePackageType", "APPL"},
                            {"CFBundleShortVersionString", "1.0"}}));
    writeFile(bundle / "Contents/Resources/VTApp.plist",
              propertyList({{"VTAppDescription", "Does what tool " + std::to_string(number) + " does."},
                            {"VTGroupName", "Group " + std::to_string(number % 12)}}));
}

// An Applications folder in a temporary root, gone at the end of the program. Each folder holds ten
// others until there are enough; the bundles lie spread among them.
class Forest {
public:
    static const Forest& withSize(int folders, int tools) {
        static std::map<std::pair<int, int>, Forest> made;
        return made.try_emplace({folders, tools}, folders, tools).first->second;
    }

    Forest(int folders, int tools) {
        std::string pattern = fs::temp_directory_path() / "launcher-bench-XXXXXX";
        if (!::mkdtemp(pattern.data())) {
            throw std::runtime_error("no temporary folder");
        }
        root_ = pattern;
        std::vector<fs::path> paths{root_ / "Applications"};
        fs::create_directory(paths.front());
        for (int i = 1; i <= folders; ++i) {
            paths.push_back(paths[static_cast<std::size_t>((i - 1) / kFoldersPerFolder)] /
                            ("Folder " + std::to_string(i)));
            fs::create_directory(paths.back());
        }
        for (int i = 0; i < tools; ++i) {
            auto place = static_cast<std::size_t>(i) * paths.size() / static_cast<std::size_t>(tools);
            makeTool(paths[place] / ("Tool " + std::to_string(i) + ".app"), i);
        }
    }
    ~Forest() {
        std::error_code ignored;
        fs::remove_all(root_, ignored);
    }
    Forest(const Forest&) = delete;
    Forest& operator=(const Forest&) = delete;

    std::string root() const { return root_; }
    std::string applications() const { return root_ / "Applications"; }

private:
    fs::path root_;
};

// --- The peers

struct BareTool {
    std::string title;
    std::string identifier;
    std::string description;
    std::string group;
    std::string path;
};

class BareLoop {
public:
    std::vector<BareTool> run(const std::string& folder) {
        path_ = folder;
        FileDescriptor top(::open(folder.c_str(), kOpenFolder));
        list(top.get());
        return std::move(tools_);
    }

private:
    static constexpr int kOpenFolder = O_RDONLY | O_DIRECTORY | O_CLOEXEC;

    void list(int folder) {
        alignas(dirent64) std::array<char, std::size_t{32} << 10> buffer; // NOLINT: filled by the kernel
        for (;;) {
            const auto length = ::getdents64(folder, buffer.data(), buffer.size());
            if (length <= 0) {
                return;
            }
            for (ssize_t offset = 0; offset < length;) {
                const auto* entry = reinterpret_cast<const dirent64*>(buffer.data() + offset);
                offset += entry->d_reclen;
                const std::string_view name = entry->d_name;
                if (entry->d_type != DT_DIR || name == "." || name == "..") {
                    continue;
                }
                const auto parentLength = path_.size();
                path_.append("/").append(name);
                if (name.ends_with(".app")) {
                    takeBundle(folder, entry->d_name);
                } else {
                    FileDescriptor inner(::openat(folder, entry->d_name, kOpenFolder));
                    list(inner.get());
                }
                path_.resize(parentLength);
            }
        }
    }

    void takeBundle(int folder, const std::string& name) {
        plist_t descriptor = read(folder, name + "/Contents/Resources/VTApp.plist");
        plist_t info = read(folder, name + "/Contents/Info.plist");
        if (descriptor && info) {
            tools_.push_back({text(info, "CFBundleName"), text(info, "CFBundleIdentifier"),
                              text(descriptor, "VTAppDescription"), text(descriptor, "VTGroupName"), path_});
        }
        plist_free(descriptor);
        plist_free(info);
    }

    plist_t read(int folder, const std::string& path) {
        FileDescriptor file(::openat(folder, path.c_str(), O_RDONLY | O_CLOEXEC));
        const auto length = ::read(file.get(), bytes_.data(), bytes_.size());
        plist_t list = nullptr;
        if (length > 0) {
            plist_from_memory(bytes_.data(), static_cast<uint32_t>(length), &list);
        }
        return list;
    }

    static std::string text(plist_t dictionary, const char* key) {
        plist_t item = plist_dict_get_item(dictionary, key);
        std::uint64_t length = 0;
        const char* characters = item ? plist_get_string_ptr(item, &length) : nullptr;
        return characters ? std::string(characters, length) : std::string();
    }

    std::string path_;
    std::array<char, std::size_t{16} << 10> bytes_{};
    std::vector<BareTool> tools_;
};

// Starts the program without its output, or with what it writes in `output`. Waits for its end.
void runProgram(std::vector<std::string> arguments, const std::string& output = "/dev/null") {
    std::vector<char*> pointers;
    for (auto& argument : arguments) {
        pointers.push_back(argument.data());
    }
    pointers.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    ::posix_spawn_file_actions_init(&actions);
    ::posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, output.c_str(), O_WRONLY | O_CREAT | O_TRUNC,
                                       0600);
    pid_t child = 0;
    const int failure = ::posix_spawnp(&child, pointers.front(), &actions, nullptr, pointers.data(), environ);
    ::posix_spawn_file_actions_destroy(&actions);
    int status = 0;
    if (failure != 0 || ::waitpid(child, &status, 0) != child || status != 0) {
        throw std::runtime_error("cannot run " + arguments.front());
    }
}

// --- Time

void installServices() {
    platform::install({.consoleLog = std::make_shared<FakeConsoleLog>(),
                       .fileManager = std::make_shared<platform::LinuxFileManager>(),
                       .users = std::make_shared<FakeUsers>(),
                       .notificationCenter = nullptr,
                       .userDefaults = nullptr,
                       .mainThread = nullptr,
                       .workspace = std::make_shared<FakeWorkspace>()});
}

std::size_t scan(const std::string& root) {
    ::setenv("VANTOREL_ROOT", root.c_str(), 1);
    auto apps = AppController::appsForFolder(root + "/Applications");
    return apps ? apps->size() : 0;
}

double secondsOn(clockid_t clock) {
    timespec time{};
    ::clock_gettime(clock, &time);
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
}

// What one piece of work took, measured many times. Processor time is that of all this process's
// threads: on a busy machine it says more than the clock on the wall.
class Timings {
public:
    template <typename Work>
    double measure(Work work) {
        const double wall = secondsOn(CLOCK_MONOTONIC);
        const double processor = secondsOn(CLOCK_PROCESS_CPUTIME_ID);
        work();
        processor_.push_back(secondsOn(CLOCK_PROCESS_CPUTIME_ID) - processor);
        wall_.push_back(secondsOn(CLOCK_MONOTONIC) - wall);
        return wall_.back();
    }
    double wall() const { return median(wall_); }
    double processor() const { return median(processor_); }

private:
    std::vector<double> wall_;
    std::vector<double> processor_;
};

void Scan(benchmark::State& state) {
    const auto& forest = Forest::withSize(static_cast<int>(state.range(0)), static_cast<int>(state.range(1)));
    const auto tools = static_cast<std::size_t>(state.range(1));
    // Once unmeasured: the system keeps the folders in memory from here on.
    if (scan(forest.root()) != tools || BareLoop().run(forest.applications()).size() != tools) {
        state.SkipWithError("not all tools were found");
        return;
    }
    Timings bareLoop;
    Timings scans;
    Timings find;
    for (auto _ : state) {
        bareLoop.measure([&] { benchmark::DoNotOptimize(BareLoop().run(forest.applications())); });
        state.SetIterationTime(scans.measure([&] { benchmark::DoNotOptimize(scan(forest.root())); }));
        find.measure([&] { runProgram({"find", forest.applications(), "-name", "*.app", "-prune"}); });
    }
    state.counters["median_ms"] = scans.wall() * 1000;
    state.counters["of_bare_loop"] = scans.wall() / bareLoop.wall();
    state.counters["of_bare_loop_cpu"] = scans.processor() / bareLoop.processor();
    state.counters["of_find"] = scans.wall() / find.wall();
}
// The size is tiny when the benchmark runs as a test.
void sizesOfScan(benchmark::internal::Benchmark* scan) {
    scan->ArgNames({"folders", "tools"})->Args({1'000, 50})->Iterations(isTiny() ? 1 : 15);
    if (!isTiny()) {
        scan->Args({100'000, 5'000});
    }
}
BENCHMARK(Scan)->Apply(sizesOfScan)->UseManualTime()->Unit(benchmark::kMillisecond);

// --- Memory

constexpr const char* kScanOnce = "--scan-once";

double peakMemoryInKibibytes() {
    std::ifstream status("/proc/self/status");
    std::string line;
    while (std::getline(status, line)) {
        if (line.starts_with("VmHWM:")) {
            return std::stod(line.substr(6));
        }
    }
    return 0;
}

// A process of its own: prints how much memory the scan took beyond what the process had before.
int scanOnce(const std::string& root) {
    installServices();
    std::ofstream("/proc/self/clear_refs") << "5"; // the peak starts again from the present size
    const double before = peakMemoryInKibibytes();
    ::setenv("VANTOREL_ROOT", root.c_str(), 1);
    const auto apps = AppController::appsForFolder(root + "/Applications");
    std::printf("%f\n", peakMemoryInKibibytes() - before);
    return apps ? 0 : 1;
}

double memoryOfScan(const Forest& forest) {
    const auto output = forest.root() + "/peak";
    runProgram({"/proc/self/exe", kScanOnce, forest.root()}, output);
    double kibibytes = 0;
    std::ifstream(output) >> kibibytes;
    return kibibytes;
}

void PeakMemory(benchmark::State& state) {
    const auto& forest = Forest::withSize(static_cast<int>(state.range(0)), static_cast<int>(state.range(1)));
    std::vector<double> kibibytes;
    for (auto _ : state) {
        kibibytes.push_back(memoryOfScan(forest));
    }
    state.counters["KiB"] = median(kibibytes);
}
void sizesOfPeakMemory(benchmark::internal::Benchmark* memory) {
    memory->ArgNames({"folders", "tools"})->Args({1'000, 50})->Iterations(isTiny() ? 1 : 5);
    if (!isTiny()) {
        memory->Args({10'000, 500})->Args({10'000, 5'000})->Args({100'000, 5'000});
    }
}
BENCHMARK(PeakMemory)->Apply(sizesOfPeakMemory)->Unit(benchmark::kMillisecond);

} // namespace

int main(int argc, char** argv) {
    if (argc == 3 && std::string_view(argv[1]) == kScanOnce) {
        return scanOnce(argv[2]);
    }
    installServices();
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) {
        return 1;
    }
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
