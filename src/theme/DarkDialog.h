#pragma once

#include <QDialog>
#include <QPointer>

class QBoxLayout;
class SheetBackdrop;

// A dialog on the gradient of the dark windows: the program's icon, beside it what the dialog is about, and a
// row of buttons below. It is a window of its own, or a sheet: attached to a window, centred under its title,
// going where it goes and keeping the user from it. Main thread.
class DarkDialog : public QDialog {
    Q_OBJECT

public:
    explicit DarkDialog(QWidget* parent = nullptr);
    ~DarkDialog() override;
    DarkDialog(const DarkDialog&) = delete;
    DarkDialog& operator=(const DarkDialog&) = delete;

    // Shows it as a sheet on the window, which becomes its parent, over any other sheet. It stays one until
    // it is done, also while it is hidden.
    void beginSheet(QWidget& window);

    static bool hasSheet(const QWidget& window);

    void done(int result) override;

protected:
    // The smallest width of a button, and lengths of the look in pixels.
    static int buttonWidth();
    static int scaled(double points);

    // `content` beside the icon and `buttons` below it; to be called once.
    void setContent(QWidget* content, QBoxLayout* buttons);
    static int widthBesideContent(); // margins and icon

    // The window has been closed under its sheet.
    virtual void windowDidClose() { reject(); }

    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void place();
    void endSheet();

    QPointer<QWidget> window_; // that it is a sheet of
    QPointer<SheetBackdrop> backdrop_;
};
