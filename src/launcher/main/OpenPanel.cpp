#include "OpenPanel.h"

#include "ActivationToken.h"
#include "AfterFirstFrame.h"
#include "AppController.h"
#include "Bundle.h"
#include "BundleIcon.h"
#include "CommandLine.h"
#include "CrashHandler.h"
#include "DarkPalette.h"
#include "LinuxWorkspace.h"
#include "MainPanel.h"
#include "PanelAlerts.h"
#include "PanelSheets.h"
#include "PatientWait.h"
#include "QtApplication.h"
#include "QtLocalizedStrings.h"
#include "QtMainThread.h"
#include "TerminationSignals.h"
#include "VTBlackScroller.h"
#include "VTLocalPaths.h"
#include "linux/BasicServices.h"
#include "linux/BusNotifications.h"
#include "linux/FontConfiguration.h"
#include "linux/LinuxKeyTranslation.h"
#include "linux/LinuxUserDefaults.h"
#include "linux/PolkitAuthorization.h"
#include "linux/SingleInstance.h"

#include <QApplication>
#include <QImage>
#include <QPixmap>
#include <QTimer>
#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <malloc.h>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <unistd.h>
#include <utility>

namespace {

constexpr const char* kBundleIdentifier = "com.vantorel.Launcher";

// One for the main thread and one for all others, whose work is short: each thread's own would stay after it.
constexpr int kHeaps = 2;
constexpr std::chrono::seconds kUntilRest{1};

// Ends what the panel has begun; empty while there is none. False when a thread is stuck, which must then be
// left behind.
std::function<bool()> endInOrder;

// Qt ends the process from within the main loop when the display goes away, as it may at the session's end.
void endWithTheDisplay() {
    if (endInOrder) {
        endInOrder();
        std::_Exit(0);
    }
}

// Qt ends the process with a core dump when it finds no display; a sentence and a status do as well.
void reportFatalMessages(QtMsgType type, const QMessageLogContext&, const QString& message) {
    std::fprintf(stderr, "Launcher: %s\n", qUtf8Printable(message));
    if (type == QtFatalMsg) {
        ::_exit(1);
    }
}

// Image plugins take longer to load than the panel takes to appear, so the icon follows once it has.
void showWindowIcon() {
    constexpr int kPixels = 64;
    auto bundle = platform::Bundle::main();
    auto bitmap = bundle ? platform::BundleIcon(bundle->path).render(kPixels) : platform::Bitmap();
    if (!bitmap.pixels.empty()) {
        const QImage image(reinterpret_cast<const uchar*>(bitmap.pixels.data()), bitmap.width, bitmap.height,
                           QImage::Format_ARGB32_Premultiplied);
        QApplication::setWindowIcon(QPixmap::fromImage(image.copy())); // which outlives the bitmap
    }
}

bool hasDisplay(int argc, char** argv) {
    auto isSet = [](const char* variable) { return !qEnvironmentVariableIsEmpty(variable); };
    return isSet("DISPLAY") || isSet("WAYLAND_DISPLAY") || isSet("QT_QPA_PLATFORM") ||
           std::any_of(argv + 1, argv + argc,
                       [](std::string_view argument) { return argument == "-platform"; });
}

// Logs have the name of the bundle, which crash detection looks for.
void installCrashHandler() {
    const auto bundle = platform::Bundle::main();
    const auto name = bundle ? stringForKey(bundle->infoDictionary(), "CFBundleName") : std::nullopt;
    if (const auto folder = VTLocalPaths::appending(VTLocalPaths::logDirectory(true), "DiagnosticReports")) {
        platform::CrashHandler::install(name.value_or("Launcher"), VT_VERSION, *folder);
    }
}

// The user's choice for all programs.
std::optional<std::string> scrollerArrows(platform::UserDefaults& defaults) {
    const auto value = defaults.globalObjectForKey("AppleScrollBarVariant");
    const auto* text = value ? value->string() : nullptr;
    return text ? std::optional(*text) : std::nullopt;
}

// Brings the panel back when it is asked for from outside.
void serve(platform::SingleInstance& instance, const std::shared_ptr<platform::MainThread>& mainThread,
           const std::shared_ptr<AppController>& controller) {
    instance.serve(
        [mainThread, controller](const platform::SingleInstance::Activation& activation) {
            bool cameForward = false; // not any more, once the main loop has ended
            mainThread->perform(
                [&] {
                    controller->applicationShouldHandleReopen();
                    cameForward = true;
                },
                platform::Wait::UntilDone);
            if (cameForward && activation.token) {
                platform::useActivationToken(*activation.token);
            }
            return cameForward;
        },
        [mainThread, controller] {
            // Nobody could bring a hidden panel back any more.
            mainThread->perform(
                [controller] {
                    if (platform::current().application->isHidden()) {
                        controller->applicationShouldHandleReopen();
                    }
                },
                platform::Wait::UntilDone);
        });
}

void prepareProcess() {
    ::mallopt(M_ARENA_MAX, kHeaps);
    std::signal(SIGPIPE, SIG_IGN); // whoever read our messages may leave
    std::signal(SIGCHLD, SIG_DFL); // whoever started us may not care for its children, but we do
}

void describeApplication() {
    QApplication::setApplicationName(QStringLiteral("Launcher"));
    QApplication::setApplicationVersion(QStringLiteral(VT_VERSION));
    QApplication::setQuitOnLastWindowClosed(false); // the controller is asked
    QApplication::setDesktopFileName(QString::fromLatin1(kBundleIdentifier));
    DarkPalette::install();
    if (const auto bundle = platform::Bundle::main()) {
        platform::installTranslations(bundle->resourcePath() + "/translations");
    }
}

// The services that need the application object, as what they are; `all` has them and the others.
struct PanelServices {
    std::shared_ptr<platform::QtMainThread> mainThread = std::make_shared<platform::QtMainThread>();
    std::shared_ptr<PanelAlerts> alertPanels = std::make_shared<PanelAlerts>();
    std::shared_ptr<PanelSheets> alertSheets = std::make_shared<PanelSheets>();
    platform::Platform all = {};
};

PanelServices installPanelServices(platform::Platform basic, const platform::SingleInstance& instance,
                                   const std::shared_ptr<platform::LinuxWorkspace>& workspace) {
    PanelServices services{.all = std::move(basic)};
    services.all.mainThread = services.mainThread;
    services.all.alertPanels = services.alertPanels;
    services.all.alertSheets = services.alertSheets;
    services.all.application = std::make_shared<platform::QtApplication>(
        [&instance] { return instance.isReachable(); },
        [workspace](bool hidden) { workspace->setWatchesOthers(hidden); });
    services.all.keyTranslation = std::make_shared<platform::LinuxKeyTranslation>();
    services.all.localizedStrings = std::make_shared<platform::QtLocalizedStrings>();
    services.all.authorization = std::make_shared<platform::PolkitAuthorization>(platform::waitPatiently);
    services.all.distributedNotifications = std::make_shared<platform::BusNotifications>();
    services.all.userDefaults = std::make_shared<platform::LinuxUserDefaults>(
        VTLocalPaths::prefsDirectory(true).value_or(""), kBundleIdentifier);
    platform::install(services.all);
    return services;
}

void terminateAfterTheLastWindow(QApplication& application,
                                 const std::shared_ptr<AppController>& controller) {
    QObject::connect(&application, &QGuiApplication::lastWindowClosed, [controller] {
        auto& running = *platform::current().application;
        if (!running.isHidden() && controller->applicationShouldTerminateAfterLastWindowClosed()) {
            running.terminate();
        }
    });
}

bool endPanel(platform::SingleInstance& instance, const PanelServices& services,
              platform::LinuxWorkspace& workspace, AppController& controller) {
    constexpr std::chrono::milliseconds kWatcherPatience{500};
    instance.leave();
    services.mainThread->close();
    services.alertSheets->close(); // who waits for an answer gets one
    instance.waitUntilLeft();
    const bool threadsEnded = controller.applicationWillTerminate();
    const bool watcherEnded = workspace.stopWatching(kWatcherPatience);
    services.all.notificationCenter->post(
        {.name = platform::kApplicationWillTerminateNotification, .userInfo = {}});
    services.all.userDefaults->synchronize();
    return threadsEnded && watcherEnded;
}

} // namespace

int openPanel(int argc, char** argv) {
    if (!hasDisplay(argc, argv)) {
        std::fputs("Launcher: there is no X or Wayland display to open the panel on.\n"
                   "Launcher --list prints the tools without one.\n",
                   stderr);
        return 1;
    }
    prepareProcess();
    auto workspace = std::make_shared<platform::LinuxWorkspace>();
    platform::SingleInstance instance(kBundleIdentifier);
    if (instance.handOver()) {
        return 0;
    }
    platform::loadFontConfiguration();
    auto basic = platform::basicServices("Launcher");
    basic.workspace = workspace;
    platform::install(basic);
    installCrashHandler();
    qInstallMessageHandler(reportFatalMessages);
    QApplication application(argc, argv);
    if (argc > 1) {
        std::fprintf(stderr, "Launcher: unknown argument %s\n\n%s", argv[1], kUsage);
        return 2;
    }
    describeApplication();
    const auto services = installPanelServices(std::move(basic), instance, workspace);

    auto controller = AppController::init();
    TerminationSignals terminationSignals;
    VTBlackScroller::setArrowPositionSource(
        [defaults = services.all.userDefaults] { return scrollerArrows(*defaults); });
    MainPanel panel(controller);
    services.alertPanels->setPanel(&panel);
    terminateAfterTheLastWindow(application, controller);
    controller->awakeFromNib(panel.outlets());
    serve(instance, services.mainThread, controller);
    endInOrder = [&] { return endPanel(instance, services, *workspace, *controller); };
    std::atexit(endWithTheDisplay);
    AfterFirstFrame afterFirstFrame(panel, [&panel] {
        showWindowIcon();
        panel.softwareUpdate().awakeFromNib();
        // What the first list and its icons took to make is not needed again.
        QTimer::singleShot(kUntilRest, [] { ::malloc_trim(0); });
    });
    int status = QApplication::exec();
    if (!std::exchange(endInOrder, nullptr)()) {
        // A thread is stuck in the file system; nothing it may still use can be torn down.
        std::_Exit(status);
    }
    return status;
}
