// The program in every bundle of the sample suite. It finds out which tool it is from the bundle that
// it lies in.
//
//   (no argument)        opens the tool's window
//   FILE                 the same, and shows the file: how the bug reporter gets a crash log
//   -fix                 a repair without a window: how the Launcher runs Purgel
//   -checkpath BUNDLE    the updater's silent look for updates, which finds none
//
// Every start of the updater, silent or by hand, is recorded in ~/Library/Logs/Vantorel Software Update.log.

#include "Platform.h"
#include "Repair.h"
#include "Tool.h"
#include "ToolWindow.h"
#include "linux/LinuxFileManager.h"

#include <QApplication>
#include <QCoreApplication>
#include <QDateTime>
#include <QDir>
#include <QFile>

#include <cstdio>
#include <memory>
#include <string_view>

namespace {

// One line: when, and with what arguments.
int recordStart(int argc, char** argv) {
    const auto folder = QDir::homePath() + QStringLiteral("/Library/Logs");
    QDir().mkpath(folder);
    QFile log(folder + QStringLiteral("/Vantorel Software Update.log"));
    if (!log.open(QIODevice::Append)) {
        return 1;
    }
    auto line = QDateTime::currentDateTime().toString(Qt::ISODate).toUtf8();
    for (int i = 1; i < argc; ++i) {
        line.append(' ').append(argv[i]);
    }
    return log.write(line.append('\n')) == line.size() ? 0 : 1;
}

} // namespace

int main(int argc, char** argv) {
    auto bundle = platform::Bundle::main();
    if (!bundle) {
        std::fputs("sample tool: lies in no bundle\n", stderr);
        return 1;
    }
    std::string_view first = argc > 1 ? argv[1] : "";
    if (first == "-checkpath") {
        return recordStart(argc, argv);
    }
    if (first == "-fix") {
        return repair(bundle->path);
    }

    platform::Platform services;
    services.fileManager = std::make_shared<platform::LinuxFileManager>();
    platform::install(services);
    auto tool = Tool::ofBundle(*bundle);
    if (tool.bundleID == QStringLiteral("com.vantorel.SoftwareUpdate")) {
        recordStart(argc, argv); // the window is there to be looked at, recorded or not
    }
    // Window class and desktop file are the bundle identifier, so that the desktop tells the tools
    // apart although they are copies of one program.
    QCoreApplication::setApplicationName(tool.bundleID);
    QGuiApplication::setApplicationDisplayName(tool.title);
    QGuiApplication::setDesktopFileName(tool.bundleID);
    QApplication application(argc, argv);
    if (tool.title.isRightToLeft()) {
        QGuiApplication::setLayoutDirection(Qt::RightToLeft);
    }
    ToolWindow window(tool, QCoreApplication::arguments().value(1));
    window.show();
    return QApplication::exec();
}
