#pragma once

#include "VTCenteredTextCell.h"

#include <QWidget>

// A small frame over a cell, shown while the mouse rests on text that the cell cuts off. It shows the whole
// text in the cell's own type, takes no input and no focus, and goes away when the mouse leaves the cell
// and at any key, click, turn of the wheel or change of window. The whole text is its accessible name.
class ExpansionFrame : public QWidget {
    Q_OBJECT

public:
    // `view` is what the mouse is watched over (a table's viewport); the frame belongs to it and hides
    // with it.
    explicit ExpansionFrame(QWidget* view);

    // `cell` is copied. `frame` is the cell's expansion frame and `source` the cell itself, both in the
    // view's coordinates. The frame is moved and narrowed to stay on the screen.
    void showCell(const VTCenteredTextCell& cell, const QRectF& frame, const QRect& source);

protected:
    void paintEvent(QPaintEvent* event) override;
    void hideEvent(QHideEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    QWidget* view_; // the parent
    VTCenteredTextCell cell_;
    QRect source_; // leaving it hides the frame
};
