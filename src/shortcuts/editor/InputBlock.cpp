#include "InputBlock.h"

#include "Platform.h"

#include <QCursor>
#include <QEvent>
#include <QEventLoop>
#include <QGuiApplication>
#include <QTimer>
#include <chrono>
#include <cmath>
#include <memory>
#include <system_error>
#include <thread>
#include <utility>

InputBlock::InputBlock() {
    QGuiApplication::setOverrideCursor(QCursor(Qt::BusyCursor));
    qApp->installEventFilter(this);
}

InputBlock::~InputBlock() {
    qApp->removeEventFilter(this);
    QGuiApplication::restoreOverrideCursor();
}

bool InputBlock::eventFilter(QObject* receiver, QEvent* event) {
    switch (event->type()) {
    case QEvent::ShortcutOverride: // taken: no menu gets the key
        event->accept();
        return true;
    case QEvent::Close: // asked for by the user; the program's own are let through
        if (!event->spontaneous()) {
            return QObject::eventFilter(receiver, event);
        }
        event->ignore();
        return true;
    case QEvent::KeyPress:
    case QEvent::KeyRelease:
    case QEvent::Shortcut:
    case QEvent::MouseButtonPress:
    case QEvent::MouseButtonRelease:
    case QEvent::MouseButtonDblClick:
    case QEvent::MouseMove:
    case QEvent::Wheel:
    case QEvent::ContextMenu:
    case QEvent::TouchBegin:
    case QEvent::TouchUpdate:
    case QEvent::TouchEnd:
    case QEvent::TabletPress:
    case QEvent::TabletMove:
    case QEvent::TabletRelease:
        return true;
    default:
        return QObject::eventFilter(receiver, event);
    }
}

void waitWithoutInput(const std::function<void()>& work, double seconds) {
    const InputBlock block;
    const auto loop = std::make_shared<QEventLoop>();
    try {
        std::thread([work, waiting = std::weak_ptr(loop)] {
            work();
            platform::current().mainThread->perform(
                [waiting] {
                    if (const auto stillThere = waiting.lock()) {
                        stillThere->quit();
                    }
                },
                platform::Wait::No);
        }).detach();
    } catch (const std::system_error&) {
        work(); // no thread is to be had
        return;
    }
    QTimer::singleShot(std::chrono::milliseconds(std::lround(seconds * 1000)), loop.get(), &QEventLoop::quit);
    loop->exec();
}
