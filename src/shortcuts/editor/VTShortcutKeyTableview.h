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

    // Shortcuts have a column of one width, in points; commands take the rest.
    void layOutColumns();

protected:
    bool edit(const QModelIndex& index, EditTrigger trigger, QEvent* event) override;
    void updateEditorGeometries() override;
    void scrollContentsBy(int dx, int dy) override;
    void keyPressEvent(QKeyEvent* event) override;
    void changeEvent(QEvent* event) override;
};
