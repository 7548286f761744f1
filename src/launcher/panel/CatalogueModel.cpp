#include "CatalogueModel.h"

#include "AppController.h"

#include <algorithm>
#include <array>

namespace {

// Remembers what the controller says of a cell that is not drawn.
struct SubtitleReader : outlet::TextCell {
    std::optional<std::string> subtitle;

    void setHasShadow(bool) override {}
    void setSubtitle(const std::optional<std::string>& text) override { subtitle = text; }
    void setLineCount(int) override {}
};

} // namespace

CatalogueModel::CatalogueModel(std::shared_ptr<const AppController> controller, QObject* parent)
    : QAbstractTableModel(parent), controller_(std::move(controller)), apps_(controller_->dataArray()) {}

void CatalogueModel::reload() {
    beginResetModel();
    apps_ = controller_->dataArray();
    endResetModel();
}

std::shared_ptr<VTLaunchApp> CatalogueModel::app(int row) const {
    return row >= 0 && row < rowCount() ? (*apps_)[static_cast<std::size_t>(row)] : nullptr;
}

int CatalogueModel::rowOfPath(const std::string& path) const {
    auto found = std::ranges::find_if(*apps_, [&path](const auto& app) { return app->appPath() == path; });
    return found == apps_->end() ? -1 : static_cast<int>(found - apps_->begin());
}

int CatalogueModel::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : static_cast<int>(apps_->size());
}

int CatalogueModel::columnCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : ColumnCount;
}

std::string_view CatalogueModel::identifier(int column) {
    static constexpr std::array kIdentifiers{AppController::colIcon, AppController::colTitle,
                                             AppController::colDesc};
    return kIdentifiers.at(static_cast<std::size_t>(column));
}

QVariant CatalogueModel::data(const QModelIndex& index, int role) const {
    if (!index.isValid()) {
        return {};
    }
    if (role == Qt::AccessibleTextRole) {
        return accessibleText(index);
    }
    if (role != Qt::DisplayRole || index.column() == Icon) {
        return {};
    }
    auto value = controller_->objectValueForTableColumn(identifier(index.column()),
                                                        static_cast<std::size_t>(index.row()));
    const auto* text = value ? std::get_if<std::string>(&*value) : nullptr;
    return text ? QString::fromStdString(*text) : QString();
}

QString CatalogueModel::accessibleText(const QModelIndex& index) const {
    auto title = data(index.siblingAtColumn(Title), Qt::DisplayRole).toString();
    switch (index.column()) {
    case Icon:
        return tr("Icon of %1").arg(title);
    case Title: {
        SubtitleReader cell;
        controller_->willDisplayCell(cell, AppController::colTitle, static_cast<std::size_t>(index.row()));
        auto subtitle = QString::fromStdString(cell.subtitle.value_or(""));
        return subtitle.isEmpty() ? title : tr("%1, %2").arg(title, subtitle);
    }
    default:
        return data(index, Qt::DisplayRole).toString();
    }
}

QVariant CatalogueModel::headerData(int section, Qt::Orientation orientation, int role) const {
    if (role != Qt::DisplayRole) {
        return {};
    }
    if (orientation == Qt::Vertical) {
        return section + 1;
    }
    const std::array names{tr("Icon"), tr("Title"), tr("Description")};
    return names.at(static_cast<std::size_t>(section));
}
