#pragma once

#include "DarkDialog.h"

#include <optional>

class QPushButton;
class QScrollArea;

// A message: a bold title, a text below it, up to three buttons and, if wanted, a check box with which the
// user asks not to be shown it again. Both texts are plain text. They wrap; what is higher than most of the
// screen scrolls, and far too long texts lose their middle. The title is also the window's.
//
// Return and Enter press the default button until another one has the focus. Escape presses the button that
// cancels: the one called "Cancel", else the alternate button, the other one, the only one.
class DarkAlert : public DarkDialog {
    Q_OBJECT

public:
    // Results of the dialog.
    enum Answer { Default = 1, Alternate = 0, Other = -1 };

    struct Options {
        // Plain text. There is no button without a title, except the default one: that is "OK".
        QString defaultTitle = {};
        QString alternateTitle = {};
        QString otherTitle = {};
        std::optional<bool> suppressed = {}; // the check box, on or off
    };

    // With the button "OK" alone.
    DarkAlert(const QString& title, const QString& message, QWidget* parent = nullptr);
    DarkAlert(const QString& title, const QString& message, const Options& options,
              QWidget* parent = nullptr);

    // What Escape and the window's end answer.
    Answer cancellingAnswer() const { return cancelling_; }
    void reject() override { done(cancelling_); }

signals:
    void suppressedChanged(bool suppressed);

protected:
    // Page Up, Page Down, Home and End scroll.
    void keyPressEvent(QKeyEvent* event) override;

private:
    QWidget* makeContent(const QString& title, const QString& message, std::optional<bool> suppressed);
    QScrollArea* makeText(const QString& title, const QString& message);
    QBoxLayout* makeButtons(const Options& options);

    QScrollArea* text_ = nullptr;
    QPushButton* defaultButton_ = nullptr;
    Answer cancelling_;
};
