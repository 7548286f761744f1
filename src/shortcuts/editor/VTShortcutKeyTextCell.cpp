#include "VTShortcutKeyTextCell.h"

#include "FieldEditorOutlet.h"
#include "FieldEditorWindow.h"
#include "VTShortcutKeyTableDelegate.h"

#include <QAbstractItemView>
#include <QEvent>

namespace {

constexpr int kInset = 2;
constexpr int kEndInset = 8;

bool isShared(const QWidget* editor) {
    return qobject_cast<const VTShortcutKeyFieldEditor*>(editor) != nullptr;
}

} // namespace

VTShortcutKeyTextCell::VTShortcutKeyTextCell(const void* client, QObject* parent)
    : ShortcutTextCell(parent), client_(client) {}

QWidget* VTShortcutKeyTextCell::createEditor(QWidget* parent, const QStyleOptionViewItem& option,
                                             const QModelIndex& index) const {
    const auto* window = qobject_cast<const FieldEditorWindow*>(parent->window());
    const auto handedOut =
        window && window->delegate() ? window->delegate()->windowWillReturnFieldEditor(client_) : nullptr;
    const auto* outlet = dynamic_cast<const FieldEditorOutlet*>(handedOut.get());
    if (!outlet || !outlet->widget()) {
        return ShortcutTextCell::createEditor(parent, option, index);
    }
    // A table's own children are not in the accessibility tree.
    outlet->widget()->setParent(parent->window());
    return outlet->widget();
}

// The shared field stays for the next edit.
void VTShortcutKeyTextCell::destroyEditor(QWidget* editor, const QModelIndex& index) const {
    if (isShared(editor)) {
        editor->hide();
    } else {
        ShortcutTextCell::destroyEditor(editor, index);
    }
}

void VTShortcutKeyTextCell::setEditorData(QWidget* editor, const QModelIndex& index) const {
    if (!isShared(editor)) {
        ShortcutTextCell::setEditorData(editor, index);
    }
}

// What was captured has been stored by then, and nothing that was typed is.
void VTShortcutKeyTextCell::setModelData(QWidget*, QAbstractItemModel*, const QModelIndex&) const {}

void VTShortcutKeyTextCell::updateEditorGeometry(QWidget* editor, const QStyleOptionViewItem& option,
                                                 const QModelIndex& index) const {
    const auto* view = qobject_cast<const QAbstractItemView*>(option.widget);
    if (!view || !isShared(editor)) {
        ShortcutTextCell::updateEditorGeometry(editor, option, index);
        return;
    }
    const QRect room = option.rect.adjusted(0, kInset, -kEndInset, -kInset);
    editor->setGeometry({view->viewport()->mapTo(editor->parentWidget(), room.topLeft()), room.size()});
    editor->raise();
}

// The base class would take Tab, Return and Escape for itself.
bool VTShortcutKeyTextCell::eventFilter(QObject* editor, QEvent* event) {
    const bool isOfKey = event->type() == QEvent::KeyPress || event->type() == QEvent::ShortcutOverride;
    return isOfKey && qobject_cast<VTShortcutKeyFieldEditor*>(editor)
               ? false
               : ShortcutTextCell::eventFilter(editor, event);
}
