#pragma once

#include "VTLaunchApp.h"

#include <QAbstractTableModel>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

class AppController;

// The controller's catalogue as the table's rows: icon, title, description. It holds the list that was
// shown by the last reload, so that rows never change between two resets.
class CatalogueModel : public QAbstractTableModel {
    Q_OBJECT

public:
    enum Column { Icon, Title, Description, ColumnCount };

    CatalogueModel(std::shared_ptr<const AppController> controller, QObject* parent);

    // Takes the controller's list as it is now.
    void reload();

    // Null for a row that does not exist.
    std::shared_ptr<VTLaunchApp> app(int row) const;
    int rowOfPath(const std::string& path) const; // -1 when no tool has the path

    int rowCount(const QModelIndex& parent = {}) const override;
    int columnCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role) const override;

    static std::string_view identifier(int column);

private:
    QString accessibleText(const QModelIndex& index) const;

    std::shared_ptr<const AppController> controller_;
    std::shared_ptr<const std::vector<std::shared_ptr<VTLaunchApp>>> apps_;
};
