// The least that Qt Widgets can do with a table: a window with a hundred rows. What the panel's start is
// measured against.

#include <QApplication>
#include <QStandardItemModel>
#include <QTableView>

int main(int argc, char** argv) {
    QApplication application(argc, argv);
    QStandardItemModel model(100, 3);
    for (int row = 0; row < model.rowCount(); ++row) {
        for (int column = 0; column < model.columnCount(); ++column) {
            model.setItem(row, column,
                          new QStandardItem(QStringLiteral("row %1, column %2").arg(row).arg(column)));
        }
    }
    QTableView table;
    table.setModel(&model);
    table.resize(780, 560);
    table.show();
    return QApplication::exec();
}
