#pragma once

#include <QColor>
#include <QSizeF>
#include <QTableView>

class ExpansionFrame;

// The dark table: a soft grey band behind every other row, the selection across the whole row, and what
// lies behind the table seen through the rest. One row at most is selected. Return and Enter are reported
// by enterPressed(), and by doubleClicked() double clicks of the left button alone. Rows have one height, so
// that a long list scrolls as smoothly as a short one.
//
// Where the focus is, is always seen: as a line around the current row, or around an empty table.
class VTAlternateBlackTableView : public QTableView {
    Q_OBJECT

public:
    enum class SelectionHighlightStyle { None = -1, Regular = 0 };

    explicit VTAlternateBlackTableView(QWidget* parent = nullptr);

    // None: a selected row looks like any other.
    SelectionHighlightStyle selectionHighlightStyle() const { return selectionHighlightStyle_; }
    void setSelectionHighlightStyle(SelectionHighlightStyle style);

    // The colour of the lines between cells, seen only while they are shown. They are not at first.
    const QColor& gridColor() const { return gridColor_; }
    void setGridColor(const QColor& colour);
    void setGridLinesVisible(bool visible);

    // The room between two cells, in points of the interface font; a cell keeps half of it clear at each
    // of its edges. Rows are not higher for it.
    void setIntercellSpacing(QSizeF spacing);
    // What remains of an item's visual rectangle for its content.
    QRectF cellFrame(const QRect& visualRect) const;

    // The distance from one row to the next, in points of the interface font. 68 at first.
    void setRowHeightInPoints(double points);

    // Typing a name looks for it in this column. -1 at first: in the current item's column.
    void setSearchColumn(int column) { searchColumn_ = column; }

    // The row's rectangle in the viewport: as wide as the viewport, or as the columns when these are wider.
    QRect rectOfRow(int row) const;
    // The selected row, or -1.
    int selectedRow() const;

    // The frame that shows a cut-off text; one for the whole table.
    ExpansionFrame& expansionFrame() { return *expansionFrame_; }

    void reset() override;
    void keyboardSearch(const QString& text) override;

signals:
    // Return or Enter was pressed in the table.
    void enterPressed();

protected:
    // Paints what lies behind a row's cells: the band or the selection. The cells of all rows are drawn
    // afterwards, on top.
    virtual void drawRow(int row, QPainter& painter);

    void initViewItemOption(QStyleOptionViewItem* option) const override;
    void paintEvent(QPaintEvent* event) override;
    void mouseDoubleClickEvent(QMouseEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void changeEvent(QEvent* event) override;
    void scrollContentsBy(int dx, int dy) override;
    void selectionChanged(const QItemSelection& selected, const QItemSelection& deselected) override;
    void currentChanged(const QModelIndex& current, const QModelIndex& previous) override;
    QModelIndex moveCursor(CursorAction action, Qt::KeyboardModifiers modifiers) override;

private:
    void applyRowHeight();
    void drawSelection(int row, QPainter& painter) const;
    void drawGrid(QPainter& painter, int firstRow, int lastRow) const;
    void drawFocus(QPainter& painter) const;

    SelectionHighlightStyle selectionHighlightStyle_ = SelectionHighlightStyle::Regular;
    QColor gridColor_{Qt::gray};
    bool gridLinesVisible_ = false;
    QSizeF intercellSpacing_{3, 2};
    double rowHeight_ = 68;
    int searchColumn_ = -1;
    ExpansionFrame* expansionFrame_;
};
