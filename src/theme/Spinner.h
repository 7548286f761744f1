#pragma once

#include <QBasicTimer>
#include <QWidget>

// A small wheel that turns while something of unknown length is under way, and is hidden otherwise (its
// place in a layout stays). Starts stopped. Main thread.
class Spinner : public QWidget {
    Q_OBJECT

public:
    explicit Spinner(QWidget* parent = nullptr);

    void start();
    void stop();
    bool isSpinning() const { return spinning_; }
    // Whether the timer runs: only while the wheel turns and can be seen.
    bool isTicking() const { return timer_.isActive(); }

    QSize sizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;
    void timerEvent(QTimerEvent* event) override;
    void showEvent(QShowEvent* event) override;
    void hideEvent(QHideEvent* event) override;
    void changeEvent(QEvent* event) override;

private:
    QBasicTimer timer_;
    bool spinning_ = false;
    int step_ = 0; // how many spokes the brightest one has advanced
};
