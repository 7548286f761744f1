#pragma once

#include <QPointer>
#include <QWidget>

// Holds the shortcut interface. It loads the interface file when it is made, with the shared controller as
// its owner, and shows it once it is in a window, whose delegate that controller becomes. Main thread.
class VTShortcutKeyContainerView : public QWidget {
    Q_OBJECT

public:
    // Without the file the console is told and the view stays empty.
    explicit VTShortcutKeyContainerView(QWidget* parent = nullptr);
    ~VTShortcutKeyContainerView() override;
    VTShortcutKeyContainerView(const VTShortcutKeyContainerView&) = delete;
    VTShortcutKeyContainerView& operator=(const VTShortcutKeyContainerView&) = delete;

    QSize sizeHint() const override;

protected:
    bool event(QEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

private:
    void viewDidMoveToWindow();

    QPointer<QWidget> loaded_;
};
