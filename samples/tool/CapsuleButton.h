#pragma once

#include <QPushButton>

// A dark button with round ends, as high as the font asks for.
class CapsuleButton : public QPushButton {
public:
    explicit CapsuleButton(const QString& title, QWidget* parent = nullptr);

    QSize sizeHint() const override;

protected:
    void enterEvent(QEnterEvent* event) override;
    void leaveEvent(QEvent* event) override;
    void paintEvent(QPaintEvent* event) override;
};
