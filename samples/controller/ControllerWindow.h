#pragma once

#include <QLabel>
#include <QPlainTextEdit>
#include <QProgressBar>
#include <QWidget>

// Shows how the workers are getting on.
class ControllerWindow : public QWidget {
public:
    // How many steps make a whole task.
    explicit ControllerWindow(int steps);

    void progressed();
    void finished();
    void failed(const QString& text, const QString& sender);
    void disconnected();
    void lost();

private:
    void taskHasEnded(const QString& how);

    bool hasEnded_ = false; // the next step is the first of another task
    QLabel* const state_;
    QProgressBar* const progress_;
    QPlainTextEdit* const errors_;
};
