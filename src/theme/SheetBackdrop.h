#pragma once

#include <QPainterPath>
#include <QWidget>

// Lies over all of a window that has a sheet: darkens it and draws the sheet's shadow, where the sheet's
// place is known: on Wayland the compositor chooses it and tells nobody. It takes no events.
class SheetBackdrop : public QWidget {
    Q_OBJECT

public:
    // Shown at once. Both must outlive it.
    SheetBackdrop(QWidget& window, const QWidget& sheet, bool isPlaceKnown);

    // Goes along with the window's size and the sheet's place.
    void follow();

    // A sheet's outline in its frame.
    static QPainterPath outline(const QRectF& frame);

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    const QWidget& sheet_;
    bool isPlaceKnown_;
};
