#include "InterfaceLoader.h"

#include <QUiLoader>

namespace {

class InterfaceLoader : public QUiLoader {
public:
    explicit InterfaceLoader(WidgetMaker maker) : maker_(maker) {}

    QWidget* createWidget(const QString& className, QWidget* parent, const QString& name) override {
        QWidget* widget = maker_(className, parent);
        if (!widget) {
            return QUiLoader::createWidget(className, parent, name);
        }
        widget->setObjectName(name);
        return widget;
    }

private:
    WidgetMaker maker_;
};

} // namespace

QWidget* vtLoadInterface(QIODevice* description, WidgetMaker maker) {
    return InterfaceLoader(maker).load(description);
}
