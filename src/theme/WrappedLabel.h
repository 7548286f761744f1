#pragma once

#include <QLabel>

class TextBlock;

// Plain text on as many lines as it takes. Unlike a QLabel's it breaks within a word that is wider than the
// label, so that no name or path makes a window wider than its screen. The text is its accessible name.
class WrappedLabel : public QLabel {
    Q_OBJECT

public:
    explicit WrappedLabel(QWidget* parent = nullptr);

    QSize sizeHint() const override; // all of it without wrapping
    QSize minimumSizeHint() const override;
    int heightForWidth(int width) const override;

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    TextBlock block(double width) const;
};
