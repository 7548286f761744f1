#pragma once

#include "VTBlackButtonCell.h"

#include <QPushButton>

// The dark push button as a control. It is drawn by a VTBlackButtonCell and is a QPushButton in every
// other respect, except that Return and Enter press it also outside a dialog while it has the focus. A
// checkable one shows whether it is on; a default one is lit. Around the capsule there is room for the ring
// that shows the focus. Main thread.
class DarkButton : public QPushButton {
    Q_OBJECT

public:
    using ControlSize = ButtonCell::ControlSize;

    explicit DarkButton(QWidget* parent = nullptr);
    // As QPushButton's: an ampersand marks the mnemonic.
    explicit DarkButton(const QString& title, QWidget* parent = nullptr);

    // Sets a title that comes from data: an ampersand is an ampersand.
    void setPlainText(const QString& title);

    // Regular, small or mini; regular unless set.
    ControlSize controlSize() const { return controlSize_; }
    void setControlSize(ControlSize size);

    // The natural size of the cell and the room for the focus ring. A narrower button cuts its title.
    QSize sizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;

private:
    void configure(VTBlackButtonCell& cell) const;
    void drawFocusRing(const VTBlackButtonCell& cell, const QRectF& frame, QPainter& painter) const;

    ControlSize controlSize_ = ControlSize::Regular;
};
