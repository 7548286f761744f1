#pragma once

#include <QDialog>

class QScrollArea;

// A message with the program's icon, a bold title, a text below it and the button "OK", which Return, Enter,
// Space and Escape press as well. Both texts are plain text. They wrap; what is higher than most of the
// screen scrolls, and far too long texts lose their middle. The title is also the window's. Main thread.
class DarkAlert : public QDialog {
    Q_OBJECT

public:
    DarkAlert(const QString& title, const QString& message, QWidget* parent = nullptr);

protected:
    void paintEvent(QPaintEvent* event) override;
    // Page Up, Page Down, Home and End scroll.
    void keyPressEvent(QKeyEvent* event) override;

private:
    QScrollArea* makeText(const QString& title, const QString& message);

    QScrollArea* text_;
};
