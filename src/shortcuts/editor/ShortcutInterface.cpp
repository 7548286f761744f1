#include "ShortcutInterface.h"

#include "DarkButton.h"
#include "DarkPalette.h"
#include "DescriptionCell.h"
#include "FieldEditorOutlet.h"
#include "GradientBackground.h"
#include "InputBlock.h"
#include "InterfaceFont.h"
#include "OnDemand.h"
#include "PlainLabel.h"
#include "ShortcutModel.h"
#include "VTShortcutKeyTableDelegate.h"
#include "VTShortcutKeyTableview.h"
#include "VTShortcutKeyTextCell.h"
#include "interface-loader/InterfaceLoader.h"

#include <QFile>
#include <QHeaderView>

namespace {

constexpr double kTitleSize = 14;

const QColor kNoticeColour(0xE8, 0xC2, 0x7A);

// The classes of ours that an interface file may name.
QWidget* makeWidget(const QString& className, QWidget* parent) {
    if (className == QLatin1String("GradientBackground")) {
        return new GradientBackground(parent);
    }
    if (className == QLatin1String("DarkButton")) {
        return new DarkButton(parent);
    }
    return className == QLatin1String("VTShortcutKeyTableview") ? new VTShortcutKeyTableview(parent)
                                                                : nullptr;
}

class TableOutlet : public outlet::ShortcutTable {
public:
    TableOutlet(VTShortcutKeyTableview* table, ShortcutModel* model) : table_(table), model_(model) {}

    std::int64_t selectedRow() const override { return table_ ? table_->selectedRow() : -1; }
    void reloadData() override {
        if (model_) {
            model_->reload();
        }
    }
    void setEnabled(bool isEnabled) override {
        if (table_) {
            table_->setEnabled(isEnabled);
        }
    }
    void endEditing(std::string_view column, outlet::FieldEditor& editor) override {
        const auto* field = dynamic_cast<const FieldEditorOutlet*>(&editor);
        const int number = ShortcutModel::columnWithIdentifier(column);
        auto* cell = table_ && number >= 0
                         ? qobject_cast<VTShortcutKeyTextCell*>(table_->itemDelegateForColumn(number))
                         : nullptr;
        if (cell && field && field->widget() && field->widget()->isVisible()) {
            cell->endEditing(field->widget());
        }
    }

private:
    QPointer<VTShortcutKeyTableview> table_;
    QPointer<ShortcutModel> model_;
};

class NoticeOutlet : public outlet::Notice {
public:
    explicit NoticeOutlet(QWidget* notice) : notice_(notice) {}

    void setHidden(bool isHidden) override {
        if (notice_) {
            notice_->setHidden(isHidden);
        }
    }

private:
    QPointer<QWidget> notice_;
};

std::shared_ptr<outlet::ShortcutTable> setUpTable(VTShortcutKeyTableview& table,
                                                  VTShortcutKeyTableDelegate& controller) {
    auto* model = new ShortcutModel(controller, &table);
    auto outlet = std::make_shared<TableOutlet>(&table, model);
    table.setModel(model);
    table.setItemDelegateForColumn(ShortcutModel::Description, new DescriptionCell(controller, &table));
    table.setItemDelegateForColumn(ShortcutModel::ShortcutKey,
                                   new VTShortcutKeyTextCell(outlet.get(), &table));
    table.setSearchColumn(ShortcutModel::Description);
    table.horizontalHeader()->show();
    table.layOutColumns();
    return outlet;
}

void styleLabels(const QWidget& top) {
    const auto style = [&top](const char* name, const QFont& font, const QColor& colour) {
        if (auto* label = top.findChild<QLabel*>(QLatin1String(name))) {
            stylePlainLabel(*label, font, colour);
        }
    };
    style("title", InterfaceFont::bold(kTitleSize), DarkPalette::titleColor());
    style("hint", InterfaceFont::regular(InterfaceFont::kSecondarySize), DarkPalette::secondaryTextColor());
    style("versionAlertText", InterfaceFont::regular(), kNoticeColour);
}

} // namespace

QWidget* loadShortcutInterface(const std::string& file, VTShortcutKeyTableDelegate& controller) {
    QFile description(QFile::decodeName(file.c_str()));
    auto* load = description.open(QIODevice::ReadOnly)
                     ? reinterpret_cast<LoadInterface*>(
                           platform::functionOnDemand("vt_interface_loader.so", "vtLoadInterface"))
                     : nullptr;
    auto* top = load ? load(&description, makeWidget) : nullptr;
    if (!top) {
        return nullptr;
    }
    styleLabels(*top);
    ShortcutOutlets outlets;
    outlets.parentView = std::make_shared<WidgetView>(top);
    outlets.waitWithoutInput = waitWithoutInput;
    if (auto* table = top->findChild<VTShortcutKeyTableview*>(QStringLiteral("shortcutKeyTableView"))) {
        outlets.shortcutKeyTableView = setUpTable(*table, controller);
        outlets.makeFieldEditor = [table = QPointer(table)] {
            return std::make_shared<FieldEditorOutlet>(table ? new VTShortcutKeyFieldEditor(table->viewport())
                                                             : nullptr);
        };
    }
    if (auto* notice = top->findChild<QWidget*>(QStringLiteral("versionAlertText"))) {
        outlets.versionAlertText = std::make_shared<NoticeOutlet>(notice);
    }
    if (auto* button = top->findChild<QAbstractButton*>(QStringLiteral("clearShortcutKey"))) {
        QObject::connect(button, &QAbstractButton::clicked, button,
                         [&controller] { controller.clearShortcutKey(); });
    }
    controller.setOutlets(std::move(outlets));
    controller.awakeFromNib();
    return top;
}
