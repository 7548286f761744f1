#pragma once

#include <QBasicTimer>
#include <QElapsedTimer>
#include <QProgressBar>

// A bar for something of unknown length that is under way: a piece of light goes to and fro in a groove. It
// starts at rest, an empty groove. Main thread.
class IndeterminateBar : public QProgressBar {
    Q_OBJECT

public:
    explicit IndeterminateBar(QWidget* parent = nullptr);

    void start();
    void stop();
    bool isAnimating() const { return animating_; }
    // Whether the timer runs: only while the light moves and can be seen.
    bool isTicking() const { return timer_.isActive(); }

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override { return sizeHint(); }

protected:
    void paintEvent(QPaintEvent* event) override;
    void timerEvent(QTimerEvent* event) override;
    void showEvent(QShowEvent* event) override;
    void hideEvent(QHideEvent* event) override;

private:
    QBasicTimer timer_;
    QElapsedTimer clock_; // since the start
    bool animating_ = false;
};
