#pragma once

#include <QLineEdit>

// The field that stands in a shortcut cell while it is edited. It takes one key press instead of text,
// whatever the key, and posts it as the event "VTShortcutKeyChanged"; a key alone counts as pressed with
// Shift and Command. While it is shown it has the whole keyboard, as far as the display server lets it: what
// the window manager would act on is captured, too. Main thread.
class VTShortcutKeyFieldEditor : public QLineEdit {
    Q_OBJECT

public:
    explicit VTShortcutKeyFieldEditor(QWidget* parent = nullptr);

    QVariant inputMethodQuery(Qt::InputMethodQuery query) const override;

protected:
    bool event(QEvent* event) override;
    void showEvent(QShowEvent* event) override;
    void hideEvent(QHideEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

private:
    void keyDown(const QKeyEvent& event);

    bool hasKey_ = false; // the hint goes once there is one
};
