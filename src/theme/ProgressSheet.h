#pragma once

#include "DarkDialog.h"

class DarkButton;
class IndeterminateBar;

// Something of unknown length is under way: a title, a bar and the button "Cancel", which Escape presses as
// well, and Return only once the focus has been moved there. It stays until it is done. Main thread.
class ProgressSheet : public DarkDialog {
    Q_OBJECT

public:
    explicit ProgressSheet(const QString& title, QWidget* parent = nullptr);

    IndeterminateBar& bar() { return *bar_; }

    // Asks for the end, once, rather than bringing it about.
    void reject() override;

signals:
    void cancelled();

protected:
    void windowDidClose() override { done(Rejected); } // which says nothing of what is under way

private:
    IndeterminateBar* bar_;
    DarkButton* cancel_;
};
