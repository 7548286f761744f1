#pragma once

#include <QEvent>
#include <QObject>
#include <QTimer>
#include <QWidget>
#include <functional>
#include <utility>

// Does something once a window has been painted.
class AfterFirstFrame : public QObject {
public:
    AfterFirstFrame(QWidget& window, std::function<void()> work) : work_(std::move(work)) {
        window.installEventFilter(this);
    }

private:
    bool eventFilter(QObject* window, QEvent* event) override {
        if (event->type() == QEvent::Paint) {
            window->removeEventFilter(this);
            QTimer::singleShot(0, this, work_); // not before the frame is on the screen
        }
        return false;
    }

    std::function<void()> work_;
};
