#pragma once

#include "ShortcutTextCell.h"

// The cells of shortcuts. The field that one is edited with is the one that the window's delegate hands out
// for `client`; when it has none, the standard one.
class VTShortcutKeyTextCell : public ShortcutTextCell {
    Q_OBJECT

public:
    VTShortcutKeyTextCell(const void* client, QObject* parent);

    // Ends the edit that goes on in this field.
    void endEditing(QWidget* editor) { emit closeEditor(editor); }

    QWidget* createEditor(QWidget* parent, const QStyleOptionViewItem& option,
                          const QModelIndex& index) const override;
    void destroyEditor(QWidget* editor, const QModelIndex& index) const override;
    void setEditorData(QWidget* editor, const QModelIndex& index) const override;
    void setModelData(QWidget* editor, QAbstractItemModel* model, const QModelIndex& index) const override;
    void updateEditorGeometry(QWidget* editor, const QStyleOptionViewItem& option,
                              const QModelIndex& index) const override;

protected:
    bool eventFilter(QObject* editor, QEvent* event) override;

private:
    const void* client_;
};
