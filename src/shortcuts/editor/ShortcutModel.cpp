#include "ShortcutModel.h"

#include "VTShortcutKeyTableDelegate.h"

ShortcutModel::ShortcutModel(const VTShortcutKeyTableDelegate& controller, QObject* parent)
    : QAbstractTableModel(parent), controller_(controller) {}

std::string_view ShortcutModel::identifier(int column) {
    return column == Description   ? VTShortcutKeyTableDelegate::kDescriptionColumn
           : column == ShortcutKey ? VTShortcutKeyTableDelegate::kShortcutKeyColumn
                                   : std::string_view();
}

int ShortcutModel::columnWithIdentifier(std::string_view identifier) {
    for (int column = 0; column < ColumnCount; ++column) {
        if (ShortcutModel::identifier(column) == identifier) {
            return column;
        }
    }
    return -1;
}

void ShortcutModel::reload() {
    const auto rows = static_cast<int>(controller_.numberOfRowsInTableView());
    if (rows != rows_) {
        beginResetModel();
        rows_ = rows;
        endResetModel();
    } else if (rows > 0) {
        emit dataChanged(index(0, 0), index(rows - 1, ColumnCount - 1));
    }
}

int ShortcutModel::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : rows_;
}

int ShortcutModel::columnCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : ColumnCount;
}

QVariant ShortcutModel::data(const QModelIndex& index, int role) const {
    if (role != Qt::DisplayRole || !index.isValid()) {
        return {};
    }
    const auto text = controller_.objectValueForTableColumn(identifier(index.column()),
                                                            static_cast<std::size_t>(index.row()));
    return text ? QVariant(QString::fromStdString(*text)) : QVariant();
}

QVariant ShortcutModel::headerData(int section, Qt::Orientation orientation, int role) const {
    if (role != Qt::DisplayRole || orientation != Qt::Horizontal) {
        return {};
    }
    return section == Description ? tr("Command") : tr("Shortcut");
}

Qt::ItemFlags ShortcutModel::flags(const QModelIndex& index) const {
    const auto flags = QAbstractTableModel::flags(index);
    return index.column() == ShortcutKey ? flags | Qt::ItemIsEditable : flags;
}
