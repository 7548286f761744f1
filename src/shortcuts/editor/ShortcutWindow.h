#pragma once

#include "FieldEditorWindow.h"

// The window in which the user gives shortcuts to the Launcher's commands. Escape and Ctrl+W close it. Main
// thread.
class ShortcutWindow : public FieldEditorWindow {
    Q_OBJECT

public:
    // Stays in front of its parent. Not shown yet.
    explicit ShortcutWindow(QWidget* parent = nullptr);

    // Shows it, or brings it to the front, with the keyboard in the table.
    void present();

protected:
    void keyPressEvent(QKeyEvent* event) override;
};
