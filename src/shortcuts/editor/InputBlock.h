#pragma once

#include <QObject>
#include <functional>

// Swallows what the user types and clicks in any window of the program for as long as it lives, and shows a
// busy pointer. Main thread.
class InputBlock : public QObject {
    Q_OBJECT

public:
    InputBlock();
    ~InputBlock() override;
    InputBlock(const InputBlock&) = delete;
    InputBlock& operator=(const InputBlock&) = delete;

protected:
    bool eventFilter(QObject* receiver, QEvent* event) override;
};

// Does the work on another thread and returns when it is done, or when the program ends or so many seconds
// have gone by and the work goes on by itself. Meanwhile windows repaint and take no input. Main thread.
void waitWithoutInput(const std::function<void()>& work, double seconds);
