#pragma once

#include <QLabel>

// One line of plain text that gives way in the middle when there is too little room; a path keeps its
// beginning and its end. The whole text is its accessible name, and its tool tip when it is cut.
class ElidedLabel : public QLabel {
    Q_OBJECT

public:
    explicit ElidedLabel(QWidget* parent = nullptr);

    QSize minimumSizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;
    bool event(QEvent* event) override;

private:
    QString shownText() const;
};
