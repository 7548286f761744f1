#pragma once

#include "VTCenteredTextCell.h"

#include <QWidget>

class QAbstractScrollArea;

// A small frame over a cell, shown while the mouse rests on text that the cell cuts off. It shows the whole
// text in the cell's own type. The mouse works through it; it goes away when the mouse leaves the cell and
// at any key, click, turn of the wheel or change of window. The whole text is its accessible name.
//
// It is a part of the view and not a window, so it needs nothing of the window system.
class ExpansionFrame : public QWidget {
    Q_OBJECT

public:
    // The view owns the frame and has mouse tracking.
    explicit ExpansionFrame(QAbstractScrollArea* view);

    // `cell` is copied. `frame` is the cell's expansion frame and `source` the cell itself, both in the
    // coordinates of the view's viewport. The frame is moved and narrowed to stay inside the viewport.
    void showCell(const VTCenteredTextCell& cell, const QRectF& frame, const QRect& source);

protected:
    void paintEvent(QPaintEvent* event) override;
    void hideEvent(QHideEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    QWidget* viewport_;
    VTCenteredTextCell cell_;
    QRect source_; // leaving it hides the frame
};
