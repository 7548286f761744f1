#pragma once

#include <QWidget>

class VTShortcutKeyTableDelegate;

// A window whose delegate is asked for the field that a cell is edited with. Main thread.
class FieldEditorWindow : public QWidget {
    Q_OBJECT

public:
    using QWidget::QWidget;

    // Null at first. Must outlive the window.
    const VTShortcutKeyTableDelegate* delegate() const { return delegate_; }
    void setDelegate(const VTShortcutKeyTableDelegate* delegate) { delegate_ = delegate; }

private:
    const VTShortcutKeyTableDelegate* delegate_ = nullptr;
};
