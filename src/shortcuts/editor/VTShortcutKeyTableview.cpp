#include "VTShortcutKeyTableview.h"

#include "InterfaceFont.h"
#include "Platform.h"
#include "ShortcutHeader.h"
#include "ShortcutModel.h"
#include "VTBlackScroller.h"
#include "VTShortcutKeyTableDelegate.h"

#include <QKeyEvent>

namespace {

constexpr double kRowHeight = 30;
constexpr double kShortcutWidth = 230;

// Whatever is held with it.
bool isDeleteKey(const QKeyEvent& event) {
    return event.key() == Qt::Key_Delete || event.key() == Qt::Key_Backspace;
}

} // namespace

VTShortcutKeyTableview::VTShortcutKeyTableview(QWidget* parent) : VTAlternateBlackTableView(parent) {
    setRowHeightInPoints(kRowHeight);
    setEditTriggers(DoubleClicked);
    setHorizontalHeader(new ShortcutHeader(this));
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setVerticalScrollBar(new VTBlackScroller);
    connect(this, &VTAlternateBlackTableView::enterPressed, this,
            &VTShortcutKeyTableview::editSelectedShortcut);
}

void VTShortcutKeyTableview::editSelectedShortcut() {
    const int row = selectedRow();
    const auto index = row < 0 ? QModelIndex() : model()->index(row, ShortcutModel::ShortcutKey);
    if (index.isValid()) {
        edit(index, AllEditTriggers, nullptr);
    }
}

void VTShortcutKeyTableview::layOutColumns() {
    auto* header = horizontalHeader();
    if (header->count() == ShortcutModel::ColumnCount) {
        header->setSectionResizeMode(ShortcutModel::Description, QHeaderView::Stretch);
        header->setSectionResizeMode(ShortcutModel::ShortcutKey, QHeaderView::Fixed);
        header->resizeSection(ShortcutModel::ShortcutKey, qRound(InterfaceFont::pixels(kShortcutWidth)));
    }
}

bool VTShortcutKeyTableview::edit(const QModelIndex& index, EditTrigger trigger, QEvent* event) {
    const bool begins = VTAlternateBlackTableView::edit(index, trigger, event);
    if (begins) {
        scrollTo(index);
    }
    return begins;
}

// The field editor is a child of the window: it does not move with the rows, and nothing cuts it off at the
// table's edge.
void VTShortcutKeyTableview::updateEditorGeometries() {
    VTAlternateBlackTableView::updateEditorGeometries();
    const auto index = model() ? model()->index(selectedRow(), ShortcutModel::ShortcutKey) : QModelIndex();
    auto* editor = index.isValid() ? indexWidget(index) : nullptr;
    const auto row = visualRect(index);
    if (editor && (row.top() < 0 || row.bottom() >= viewport()->height())) {
        closeEditor(editor, QAbstractItemDelegate::NoHint);
    }
}

void VTShortcutKeyTableview::scrollContentsBy(int dx, int dy) {
    VTAlternateBlackTableView::scrollContentsBy(dx, dy);
    updateEditorGeometries();
}

void VTShortcutKeyTableview::keyPressEvent(QKeyEvent* event) {
    if (isDeleteKey(*event)) {
        event->accept();
        platform::current().notificationCenter->post(
            {.name = VTShortcutKeyTableDelegate::kKeyCleared, .userInfo = {}});
        return;
    }
    if (event->key() == Qt::Key_F2) {
        event->accept();
        editSelectedShortcut();
        return;
    }
    VTAlternateBlackTableView::keyPressEvent(event);
}

void VTShortcutKeyTableview::changeEvent(QEvent* event) {
    VTAlternateBlackTableView::changeEvent(event);
    if (event->type() == QEvent::FontChange) {
        layOutColumns();
    }
}
