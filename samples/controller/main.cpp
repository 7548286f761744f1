// An application that workers report to: it shows steps, errors and the end in a window.
//
//   SampleController [STEPS]     how many steps make a whole task, 20 when not given

#include "ControllerPort.h"
#include "ControllerWindow.h"

#include <QApplication>
#include <cstdio>

int main(int argc, char** argv) {
    QApplication application(argc, argv);
    const int steps = argc > 1 ? QString::fromLocal8Bit(argv[1]).toInt() : 20;
    if (steps <= 0) {
        std::fputs("usage: SampleController [STEPS]\n", stderr);
        return 2;
    }
    ControllerWindow window(steps);
    const ControllerPort port(
        {[&] { window.progressed(); }, [&] { window.finished(); },
         [&](const QString& text, const QString& sender) { window.failed(text, sender); },
         [&] { window.disconnected(); }, [&] { window.lost(); }});
    if (!port.isPublished()) {
        std::fputs("SampleController: there is no session bus, or another controller has the port\n", stderr);
        return 1;
    }
    window.show();
    return QApplication::exec();
}
