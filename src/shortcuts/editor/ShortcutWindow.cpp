#include "ShortcutWindow.h"

#include "InterfaceFont.h"
#include "VTShortcutKeyContainerView.h"
#include "VTShortcutKeyTableview.h"

#include <QKeyEvent>
#include <QVBoxLayout>

namespace {

constexpr QSizeF kSize(560, 432); // in points

} // namespace

ShortcutWindow::ShortcutWindow(QWidget* parent) : FieldEditorWindow(parent, Qt::Window) {
    setWindowTitle(tr("Keyboard Shortcuts"));
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(new VTShortcutKeyContainerView(this));
    const double point = InterfaceFont::pixels(1);
    resize((kSize * point).toSize());
    setMinimumSize((kSize * point * 0.7).toSize());
}

void ShortcutWindow::present() {
    setWindowState(windowState() & ~Qt::WindowMinimized);
    show();
    raise();
    activateWindow();
    if (auto* table = findChild<VTShortcutKeyTableview*>()) {
        table->setFocus();
    }
}

void ShortcutWindow::keyPressEvent(QKeyEvent* event) {
    if (event->matches(QKeySequence::Cancel) || event->matches(QKeySequence::Close)) {
        close();
    } else {
        FieldEditorWindow::keyPressEvent(event);
    }
}
