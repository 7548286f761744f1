#pragma once

#include "VTAlternateBlackTableView.h"

// The table of commands and their shortcuts. A delete key asks for the selected row's shortcut to be cleared,
// by the event "VTShortcutKeyCleared"; a double click on a shortcut, and Return or F2 on the selected row,
// begin an edit. Main thread.
class VTShortcutKeyTableview : public VTAlternateBlackTableView {
    Q_OBJECT

public:
    explicit VTShortcutKeyTableview(QWidget* parent = nullptr);

    // Begins to edit the selected row's shortcut; nothing happens when no row is selected.
    void editSelectedShortcut();

    // As wide as the columns' contents need.
    void layOutColumns();

protected:
    void keyPressEvent(QKeyEvent* event) override;
    void changeEvent(QEvent* event) override;
};
