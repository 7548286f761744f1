#pragma once

#include <QAbstractTableModel>
#include <string_view>

class VTShortcutKeyTableDelegate;

// The controller's commands for a table of Qt's: what they do, and the shortcut that each is bound to.
class ShortcutModel : public QAbstractTableModel {
    Q_OBJECT

public:
    enum Column { Description, ShortcutKey, ColumnCount };

    // The controller must outlive the model.
    ShortcutModel(const VTShortcutKeyTableDelegate& controller, QObject* parent);

    // As the controller knows the column.
    static std::string_view identifier(int column);
    // -1 when there is no such column.
    static int columnWithIdentifier(std::string_view identifier);

    // Asks the controller for everything anew. The rows that are selected stay so unless their number
    // changes.
    void reload();

    int rowCount(const QModelIndex& parent = {}) const override;
    int columnCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role) const override;
    Qt::ItemFlags flags(const QModelIndex& index) const override;

private:
    const VTShortcutKeyTableDelegate& controller_;
    int rows_ = 0;
};
