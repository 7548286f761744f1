// The real panel on the offscreen platform: how fast it appears, answers and scrolls, and what a hundred
// rebuilds leave behind. With QT_QPA_PLATFORM=xcb the same on an X display.

#include "AppController.h"
#include "DarkPalette.h"
#include "FakeConsoleLog.h"
#include "FakeUserDefaults.h"
#include "FakeUsers.h"
#include "LinuxWorkspace.h"
#include "MainPanel.h"
#include "Measure.h"
#include "Platform.h"
#include "QtMainThread.h"
#include "VTAlternateBlackTableView.h"
#include "VTLog.h"
#include "linux/LinuxFileManager.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QEvent>
#include <QLabel>
#include <QPixmap>
#include <QScrollBar>
#include <QTimer>
#include <algorithm>
#include <benchmark/benchmark.h>
#include <cstdlib>
#include <filesystem>
#include <fstream>

namespace fs = std::filesystem;

namespace {

std::string dictionary(const std::string& entries) {
    return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\"><dict>" + entries +
           "</dict></plist>\n";
}

std::string entry(const std::string& key, const std::string& text) {
    return "<key>" + key + "</key><string>" + text + "</string>";
}

// A machine root with tools and plain folders, which takes the place of VANTOREL_ROOT; removed at the end.
class Tree {
public:
    Tree(int tools, int folders) {
        std::string pattern = fs::temp_directory_path() / "panel-bench-XXXXXX";
        root_ = ::mkdtemp(pattern.data());
        ::setenv("VANTOREL_ROOT", root_.c_str(), 1);
        fs::create_directories(root_ / "home");
        for (int i = 0; i < folders; ++i) {
            fs::create_directories(root_ / "Applications" / ("f" + std::to_string(i / 1000)) /
                                   ("g" + std::to_string(i / 30 % 34)) / std::to_string(i));
        }
        fs::create_directories(root_ / "Applications");
        for (int i = 0; i < tools; ++i) {
            addTool(i);
        }
    }
    ~Tree() { fs::remove_all(root_); }
    Tree(const Tree&) = delete;
    Tree& operator=(const Tree&) = delete;

    std::string home() const { return root_ / "home"; }

private:
    void addTool(int number) {
        const auto name = "Tool " + std::to_string(number);
        const auto contents = root_ / "Applications" / (name + ".app") / "Contents";
        fs::create_directories(contents / "Resources");
        std::ofstream(contents / "Info.plist")
            << dictionary(entry("CFBundleName", name) +
                          entry("CFBundleIdentifier", "com.vantorel.Tool" + std::to_string(number)) +
                          entry("CFBundleIconFile", "Icon.png"));
        std::ofstream(contents / "Resources" / "VTApp.plist") << dictionary(
            entry("VTGroupName", "Group " + std::to_string(number % 7)) +
            entry("VTAppDescription", "Checks the databases and site settings of editor number " +
                                          std::to_string(number) + " and rebuilds what is broken."));
        QPixmap icon(128, 128);
        icon.fill(QColor::fromHsv(number % 360, 160, 200));
        icon.save(QString::fromStdString(contents / "Resources" / "Icon.png"));
    }

    fs::path root_;
};

// The program's services with a home of its own, and the panel on them.
class Program {
public:
    explicit Program(const Tree& tree) : mainThread_(std::make_shared<platform::QtMainThread>()) {
        auto users = std::make_shared<FakeUsers>();
        users->home = tree.home();
        platform::install({.consoleLog = std::make_shared<FakeConsoleLog>(),
                           .fileManager = std::make_shared<platform::LinuxFileManager>(),
                           .users = users,
                           .notificationCenter = std::make_shared<platform::NotificationCenter>(),
                           .userDefaults = std::make_shared<FakeUserDefaults>(),
                           .mainThread = mainThread_,
                           .workspace = std::make_shared<platform::LinuxWorkspace>()});
        controller = AppController::init();
        panel = std::make_unique<MainPanel>(controller);
    }
    ~Program() {
        VTLog::finishWriting();
        mainThread_->close();
        controller->threads().finish(std::chrono::minutes(1));
    }
    Program(const Program&) = delete;
    Program& operator=(const Program&) = delete;

    void open() {
        controller->awakeFromNib(panel->outlets());
        panel->show();
    }
    bool isShown() const { return !panel->findChild<QLabel*>(QStringLiteral("toolCount"))->text().isEmpty(); }
    void waitUntilShown() const {
        while (!isShown()) {
            QApplication::processEvents(QEventLoop::WaitForMoreEvents);
        }
    }
    VTAlternateBlackTableView& table() const { return *panel->findChild<VTAlternateBlackTableView*>(); }

    std::shared_ptr<AppController> controller;
    std::unique_ptr<MainPanel> panel;

private:
    std::shared_ptr<platform::QtMainThread> mainThread_;
};

double percentile(std::vector<double>& values, double part) {
    std::ranges::sort(values);
    return values[static_cast<std::size_t>(part * static_cast<double>(values.size() - 1))];
}

// Notes the moment at which a widget is painted for the first time.
class FirstPaint : public QObject {
public:
    FirstPaint(QWidget& widget, const QElapsedTimer& clock) : clock_(clock) {
        widget.installEventFilter(this);
    }

    double milliseconds = -1;

protected:
    bool eventFilter(QObject*, QEvent* event) override {
        if (event->type() == QEvent::Paint && milliseconds < 0) {
            milliseconds = static_cast<double>(clock_.nsecsElapsed()) / 1e6;
        }
        return false;
    }

private:
    const QElapsedTimer& clock_;
};

// Opening the panel on a large tree: when it is first painted, when the scan is done, and the longest
// time for which the event loop did not come round.
void BM_Opening(benchmark::State& state) {
    Tree tree(isTiny() ? 5 : 500, isTiny() ? 50 : 100'000);
    for (auto _ : state) {
        QElapsedTimer clock;
        clock.start();
        Program program(tree);
        FirstPaint painted(*program.panel, clock);
        program.open();
        double longest = 0;
        double last = -1;
        QTimer pulse;
        pulse.setTimerType(Qt::PreciseTimer);
        QObject::connect(&pulse, &QTimer::timeout, [&] {
            auto now = static_cast<double>(clock.nsecsElapsed()) / 1e6;
            // From the first picture on: what comes before is the opening itself.
            if (painted.milliseconds >= 0 && last >= 0) {
                longest = std::max(longest, now - last);
            }
            last = now;
        });
        pulse.start(5);
        program.waitUntilShown();
        state.counters["first_frame_ms"] = painted.milliseconds;
        state.counters["scan_done_ms"] = static_cast<double>(clock.nsecsElapsed()) / 1e6;
        state.counters["longest_gap_ms"] = longest;
        if (painted.milliseconds < 0) {
            state.SkipWithError("the scan was done before the panel was painted");
        }
    }
}

// Scrolling through a long catalogue, three rows a step, every step painted.
void BM_Scrolling(benchmark::State& state) {
    Tree tree(isTiny() ? 30 : 10'000, 0);
    Program program(tree);
    program.open();
    program.waitUntilShown();
    auto& table = program.table();
    auto& bar = *table.verticalScrollBar();
    const int step = 3 * table.rowHeight(0);
    std::vector<double> frames;
    for (auto _ : state) {
        QElapsedTimer clock;
        clock.start();
        bar.setValue(bar.value() + step > bar.maximum() ? 0 : bar.value() + step);
        QApplication::processEvents();
        table.viewport()->repaint();
        frames.push_back(static_cast<double>(clock.nsecsElapsed()) / 1e6);
    }
    state.counters["median_ms"] = percentile(frames, 0.5);
    state.counters["p99_ms"] = percentile(frames, 0.99);
    state.counters["frames_per_second"] = 1000 / percentile(frames, 0.99);
}

std::size_t residentBytes() {
    std::ifstream file("/proc/self/statm");
    std::size_t total = 0;
    std::size_t resident = 0;
    file >> total >> resident;
    return resident * 4096;
}

std::ptrdiff_t openDescriptors() {
    return std::distance(fs::directory_iterator("/proc/self/fd"), fs::directory_iterator());
}

// A hundred rebuilds in a row, after ten that warm up.
void BM_Rebuilds(benchmark::State& state) {
    Tree tree(isTiny() ? 5 : 200, 0);
    Program program(tree);
    program.open();
    program.waitUntilShown();
    auto rebuild = [&] {
        const auto before = program.controller->dataArray();
        program.controller->startRebuild();
        while (program.controller->dataArray() == before) {
            QApplication::processEvents(QEventLoop::WaitForMoreEvents);
        }
    };
    for (auto _ : state) {
        for (int i = 0; i < 10; ++i) {
            rebuild();
        }
        const auto memory = residentBytes();
        const auto descriptors = openDescriptors();
        for (int i = 0; i < 100; ++i) {
            rebuild();
        }
        state.counters["grown_KiB"] =
            (static_cast<double>(residentBytes()) - static_cast<double>(memory)) / 1024;
        state.counters["grown_descriptors"] = static_cast<double>(openDescriptors() - descriptors);
    }
}

} // namespace

BENCHMARK(BM_Opening)
    ->Iterations(1)
    ->Repetitions(isTiny() ? 1 : 3)
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();
BENCHMARK(BM_Scrolling)->Iterations(isTiny() ? 10 : 2000)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_Rebuilds)->Iterations(1)->Unit(benchmark::kMillisecond)->UseRealTime();

int main(int argc, char** argv) {
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) {
        qputenv("QT_QPA_PLATFORM", "offscreen");
    }
    QApplication application(argc, argv);
    DarkPalette::install();
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
}
