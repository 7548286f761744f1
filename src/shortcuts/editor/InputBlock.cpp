#include "InputBlock.h"

#include "PatientWait.h"

#include <QCursor>
#include <QEvent>
#include <QGuiApplication>
#include <cmath>

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
    platform::waitInLoop(work, QEventLoop::AllEvents, std::chrono::milliseconds(std::lround(seconds * 1000)));
}
