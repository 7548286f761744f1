#include "VTAlternateBlackTableView.h"

#include "DarkPalette.h"
#include "ExpansionFrame.h"
#include "InterfaceFont.h"
#include "RowCellDelegate.h"

#include <QHeaderView>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QPaintEvent>
#include <QPainter>
#include <QScrollBar>
#include <algorithm>

namespace {

constexpr char16_t kEnterCharacter = 0x0003; // of the keypad's Enter
constexpr char16_t kReturnCharacter = 0x000d;

// The first character that the key gives without its modifiers, 0 for none. With Control held, the text
// of the event is a control character that belongs to the combination and not to the key.
char16_t characterIgnoringModifiers(const QKeyEvent& event) {
    switch (event.key()) {
    case Qt::Key_Return:
        return kReturnCharacter;
    case Qt::Key_Enter:
        return kEnterCharacter;
    default:
        break;
    }
    if (event.modifiers() & Qt::ControlModifier || event.text().isEmpty()) {
        return 0;
    }
    return event.text().front().unicode();
}

theme::Gradient bandGradient() {
    return {theme::Colour::calibratedHSB(0.314, 0, 0.3, 0.3),
            theme::Colour::calibratedHSB(0.314, 0, 0.4, 0.3)};
}

} // namespace

VTAlternateBlackTableView::VTAlternateBlackTableView(QWidget* parent)
    : QTableView(parent), expansionFrame_(new ExpansionFrame(this)) {
    setFrameShape(QFrame::NoFrame);
    viewport()->setAutoFillBackground(false);
    setShowGrid(false); // the style would choose the colour of its lines
    setSelectionBehavior(SelectRows);
    setSelectionMode(SingleSelection);
    setEditTriggers(NoEditTriggers);
    setTabKeyNavigation(false); // Tab leaves the table
    setHorizontalScrollMode(ScrollPerPixel);
    setVerticalScrollMode(ScrollPerPixel);
    setMouseTracking(true); // tells the expansion frame when the mouse leaves the cell
    setItemDelegate(new RowCellDelegate(this));
    horizontalHeader()->hide();
    horizontalHeader()->setMinimumSectionSize(1);
    verticalHeader()->hide();
    verticalHeader()->setMinimumSectionSize(1);
    verticalHeader()->setSectionResizeMode(QHeaderView::Fixed);
    applyRowHeight();
}

void VTAlternateBlackTableView::setSelectionHighlightStyle(SelectionHighlightStyle style) {
    selectionHighlightStyle_ = style;
    viewport()->update();
}

void VTAlternateBlackTableView::setGridColor(const QColor& colour) {
    gridColor_ = colour;
    viewport()->update();
}

void VTAlternateBlackTableView::setGridLinesVisible(bool visible) {
    gridLinesVisible_ = visible;
    viewport()->update();
}

void VTAlternateBlackTableView::setIntercellSpacing(QSizeF spacing) {
    intercellSpacing_ = spacing;
    viewport()->update();
}

QRectF VTAlternateBlackTableView::cellFrame(const QRect& visualRect) const {
    const double x = InterfaceFont::pixels(intercellSpacing_.width()) / 2;
    const double y = InterfaceFont::pixels(intercellSpacing_.height()) / 2;
    return QRectF(visualRect).adjusted(x, y, -x, -y);
}

void VTAlternateBlackTableView::setRowHeightInPoints(double points) {
    rowHeight_ = points;
    applyRowHeight();
}

void VTAlternateBlackTableView::applyRowHeight() {
    verticalHeader()->setDefaultSectionSize(qRound(InterfaceFont::pixels(rowHeight_)));
}

QRect VTAlternateBlackTableView::rectOfRow(int row) const {
    const int width = std::max(viewport()->width(), horizontalHeader()->length());
    const int left = isRightToLeft() ? viewport()->width() - width + horizontalHeader()->offset()
                                     : -horizontalHeader()->offset();
    return {left, rowViewportPosition(row), width, rowHeight(row)};
}

int VTAlternateBlackTableView::selectedRow() const {
    if (!selectionModel()) {
        return -1;
    }
    const QModelIndexList rows = selectionModel()->selectedRows();
    return rows.isEmpty() ? -1 : rows.front().row();
}

void VTAlternateBlackTableView::reset() {
    expansionFrame_->hide();
    QTableView::reset();
}

void VTAlternateBlackTableView::keyboardSearch(const QString& text) {
    const QModelIndex current = currentIndex();
    if (searchColumn_ >= 0 && current.isValid()) {
        selectionModel()->setCurrentIndex(current.siblingAtColumn(searchColumn_),
                                          QItemSelectionModel::NoUpdate);
    }
    QTableView::keyboardSearch(text);
}

void VTAlternateBlackTableView::drawRow(int row, QPainter& painter) {
    const bool highlighted =
        row == selectedRow() && selectionHighlightStyle_ != SelectionHighlightStyle::None;
    if (highlighted) {
        drawSelection(row, painter);
    } else if (row % 2 == 0) {
        bandGradient().drawInRect(painter, rectOfRow(row), 90);
    }
}

void VTAlternateBlackTableView::drawSelection(int row, QPainter& painter) const {
    const auto activity = isActiveWindow() ? DarkPalette::Activity::Active : DarkPalette::Activity::Inactive;
    DarkPalette::selectionGradient(activity).drawInRect(painter, rectOfRow(row), 90);
}

void VTAlternateBlackTableView::drawGrid(QPainter& painter, int firstRow, int lastRow) const {
    for (int row = firstRow; row <= lastRow; ++row) {
        const QRect rectangle = rectOfRow(row);
        painter.fillRect(rectangle.left(), rectangle.bottom(), rectangle.width(), 1, gridColor_);
        for (int column = 0; column < horizontalHeader()->count(); ++column) {
            const QRect cell = visualRect(model()->index(row, column, rootIndex()));
            painter.fillRect(isRightToLeft() ? cell.left() : cell.right(), cell.top(), 1, cell.height() - 1,
                             gridColor_);
        }
    }
}

void VTAlternateBlackTableView::drawFocus(QPainter& painter) const {
    const QRect around = currentIndex().isValid() ? rectOfRow(currentIndex().row()) : viewport()->rect();
    painter.setPen(DarkPalette::focusColor());
    painter.drawRect(around.adjusted(0, 0, -1, -1));
}

void VTAlternateBlackTableView::initViewItemOption(QStyleOptionViewItem* option) const {
    QTableView::initViewItemOption(option);
    // The style would paint its own selection over the row's.
    option->palette.setBrush(QPalette::Highlight, Qt::transparent);
}

void VTAlternateBlackTableView::paintEvent(QPaintEvent* event) {
    {
        QPainter painter(viewport());
        const QRect area = event->rect();
        const int first = rowAt(area.top());
        int last = rowAt(area.bottom());
        if (last < 0) {
            last = verticalHeader()->count() - 1;
        }
        if (first >= 0) {
            for (int row = first; row <= last; ++row) {
                drawRow(row, painter);
            }
            if (gridLinesVisible_) {
                drawGrid(painter, first, last);
            }
        }
        if (hasFocus() && isActiveWindow()) {
            drawFocus(painter);
        }
    }
    QTableView::paintEvent(event);
}

// The base class reports those of all buttons.
void VTAlternateBlackTableView::mouseDoubleClickEvent(QMouseEvent* event) {
    if (event->button() == Qt::LeftButton) {
        QTableView::mouseDoubleClickEvent(event);
    }
}

void VTAlternateBlackTableView::keyPressEvent(QKeyEvent* event) {
    const char16_t character = characterIgnoringModifiers(*event);
    if (character == kEnterCharacter || character == kReturnCharacter) {
        event->accept();
        emit enterPressed();
        return;
    }
    // The first arrow key selects the row that has the focus line; only the next one moves on.
    const bool arrow = event->key() == Qt::Key_Up || event->key() == Qt::Key_Down;
    if (arrow && currentIndex().isValid() && selectedRow() < 0) {
        event->accept();
        selectionModel()->select(currentIndex(),
                                 QItemSelectionModel::ClearAndSelect | QItemSelectionModel::Rows);
        return;
    }
    QTableView::keyPressEvent(event);
}

QModelIndex VTAlternateBlackTableView::moveCursor(CursorAction action, Qt::KeyboardModifiers modifiers) {
    // Home and End go to the first and last row; in one row there is nowhere to go.
    if (action == MoveHome || action == MoveEnd) {
        modifiers |= Qt::ControlModifier;
    }
    return QTableView::moveCursor(action, modifiers);
}

void VTAlternateBlackTableView::changeEvent(QEvent* event) {
    QTableView::changeEvent(event);
    if (event->type() == QEvent::FontChange) {
        applyRowHeight();
    }
    if (event->type() == QEvent::ActivationChange) {
        viewport()->update();
    }
}

void VTAlternateBlackTableView::scrollContentsBy(int dx, int dy) {
    expansionFrame_->hide();
    QTableView::scrollContentsBy(dx, dy);
}

// The base class repaints the cells only; rows reach further.
void VTAlternateBlackTableView::selectionChanged(const QItemSelection& selected,
                                                 const QItemSelection& deselected) {
    QTableView::selectionChanged(selected, deselected);
    viewport()->update();
}

void VTAlternateBlackTableView::currentChanged(const QModelIndex& current, const QModelIndex& previous) {
    QTableView::currentChanged(current, previous);
    viewport()->update();
}
